#pragma once
// Wave output: the classic waveOut operations over pluggable backends (ALSA, null).
//
// Threading contract
// - Any thread may call these functions. Calls on one handle that change its queue (write, pause,
//   restart, reset, close) must come from one thread at a time; waveOutSetVolume/GetVolume and
//   waveOutGetStatistics may come from any thread at any moment (the control's UI thread sets the
//   volume while the decoding thread streams). Handles are looked up in a table, so a handle that was closed meanwhile gives
//   MMSYSERR_INVALHANDLE instead of touching freed memory.
// - Each open device runs a thread of its own. The completion callback (WOM_DONE, param1 = the
//   header, param2 = how many more blocks follow in the same hand-back, 0 on its last) runs on that
//   thread, once per block, in queue order, never with a device lock held. The callback must not
//   call waveOut functions on the same handle.
// - Blocks come back as they have been heard, or, with a hand-back interval set, in bursts at most
//   that far apart; waveOutHandBackHeard brings the burst forward for a caller that needs the
//   position now. The untimed null device plays a block as soon as it takes it and hands back in
//   bursts. At a pause every device hands back what was heard, so the position stands where the
//   sound stopped.
// - waveOutReset returns after every queued block has been handed back through the callback.
// - Locks: the handle table lock is never held while a device is called; a device's own lock is never
//   held while the callback runs. No lock is held across two of these calls.
// - The device thread does no allocation while streaming; blocks are the caller's memory, queued
//   through the header's lpNext link.

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "audio/WaveTypes.h"
#include "tunivox_export.h"

struct HWAVEOUT__;
using HWAVEOUT = HWAVEOUT__*;

using WaveOutCallback = void (*)(HWAVEOUT device, UINT message, DWORD_PTR instance, DWORD_PTR param1,
                                 DWORD_PTR param2);

// deviceId: WAVE_MAPPER (the backend chosen with SetWaveMapper). flags: CALLBACK_FUNCTION with
// callback = a WaveOutCallback, or 0 for no callback.
TUNIVOX_EXPORT MMRESULT waveOutOpen(HWAVEOUT* device, UINT deviceId, const WAVEFORMATEX* format,
                                    DWORD_PTR callback, DWORD_PTR instance, DWORD flags);
TUNIVOX_EXPORT MMRESULT waveOutPrepareHeader(HWAVEOUT device, WAVEHDR* header, UINT headerSize);
TUNIVOX_EXPORT MMRESULT waveOutUnprepareHeader(HWAVEOUT device, WAVEHDR* header, UINT headerSize);
TUNIVOX_EXPORT MMRESULT waveOutWrite(HWAVEOUT device, WAVEHDR* header, UINT headerSize);
TUNIVOX_EXPORT MMRESULT waveOutPause(HWAVEOUT device);
TUNIVOX_EXPORT MMRESULT waveOutRestart(HWAVEOUT device);
TUNIVOX_EXPORT MMRESULT waveOutReset(HWAVEOUT device);
TUNIVOX_EXPORT MMRESULT waveOutClose(HWAVEOUT device);
// Volume: left level in the low word, right level in the high word, 0xFFFF = full. The last value
// set also becomes the starting volume of devices opened later, as a system mixer would keep it.
// A null handle addresses the default device: its level is read or set without an open device.
TUNIVOX_EXPORT MMRESULT waveOutSetVolume(HWAVEOUT device, DWORD volume);
TUNIVOX_EXPORT MMRESULT waveOutGetVolume(HWAVEOUT device, DWORD* volume);

// What a device went through since it was opened (zero for devices that cannot lose a stream).
struct WaveOutStatistics
{
    std::uint64_t nUnderruns = 0;    // the device ran dry while blocks were waiting, and was restarted
    std::uint64_t nStreamStarts = 0; // streams started: one per play, and one more per seek or underrun
    std::uint64_t nRecoveries = 0;   // the device failed and was opened again
    std::uint64_t nSwitches = 0;     // waveOutSwitchDevice moved the sound to another device
};
TUNIVOX_EXPORT MMRESULT waveOutGetStatistics(HWAVEOUT device, WaveOutStatistics* statistics);

// How long a device may keep blocks that have been heard before it hands them back: 0 (the default)
// hands each back as it has been heard; more lets the device thread and its writer sleep between
// bursts (the device still wakes often enough to keep itself fed). The interval counts from when the
// sound starts or resumes, as from a burst: nothing heard is held longer. Any thread, at any moment.
TUNIVOX_EXPORT MMRESULT waveOutSetHandBackInterval(HWAVEOUT device, DWORD milliseconds);
// Hands back every block heard by now and returns once their callbacks ran. Any thread but the
// callback's; waits at most kHandBackHeardWaitMs (a device busy reconnecting answers later).
inline constexpr DWORD kHandBackHeardWaitMs = 100;
TUNIVOX_EXPORT MMRESULT waveOutHandBackHeard(HWAVEOUT device);

// The device an open names, and what it does when it fails.
struct WaveOutTarget
{
    std::string strDevice;    // ALSA device name; empty: the wave mapper's (the null backend ignores it)
    unsigned nRecoveryMs = 0; // 0: a failed device is dead (waveOutWrite fails). Else it is opened
                              // again, backing off, for up to this long; queued blocks wait and play
                              // on from the first frame not heard.
};
// waveOutOpen with a chosen device instead of WAVE_MAPPER's.
TUNIVOX_EXPORT MMRESULT waveOutOpenTarget(HWAVEOUT* device, const WaveOutTarget& target, const WAVEFORMATEX* format,
                                          DWORD_PTR callback, DWORD_PTR instance, DWORD flags);
// Moves an open device's sound to another device while it plays (or is paused): what was not heard
// yet plays there, nothing is lost or heard twice beyond what the old device's delay misreports.
// When `name` cannot be opened the old device plays on and the result says why. Any thread; waits
// up to 5 s for the device thread. The null backend has one device: it succeeds at once.
TUNIVOX_EXPORT MMRESULT waveOutSwitchDevice(HWAVEOUT device, const std::string& name);
// Why an open device stopped for good ("The sound device stopped: ..."), or an empty text while it
// works. Copies at most size - 1 bytes and a zero; no allocation, so the decoding thread may ask.
TUNIVOX_EXPORT MMRESULT waveOutGetFailure(HWAVEOUT device, char* text, UINT size);

// An output device a listener can pick: its ALSA name and a readable description.
struct WaveOutDeviceInfo
{
    std::string strName;        // "default", "pulse", "pipewire", "sysdefault:CARD=x", "hw:CARD=x,DEV=0", ...
    std::string strDescription; // "Playback/recording through the PulseAudio sound server", "HDA Intel, ALC892 Analog"
};
// ALSA's device hints that can play: the sound servers, each card's default, hw: and plughw:.
// "default" always comes first. Any thread; it reads ALSA's configuration (a few milliseconds).
TUNIVOX_EXPORT std::vector<WaveOutDeviceInfo> waveOutListDevices();

// Everything a null device "plays", collected in memory (for tests and measurements).
class TUNIVOX_EXPORT CWaveMemoryCapture
{
public:
    void Reserve(std::size_t bytes);
    void Append(const BYTE* data, std::size_t size);
    std::vector<BYTE> Bytes() const;
    std::size_t Size() const;
    void Clear();

private:
    mutable std::mutex m_lock;
    std::vector<BYTE> m_bytes;
};

enum class WaveBackend { Alsa, Null };

struct WaveNullOptions
{
    // Playing speed as a multiple of real time; ignored when bUntimed (blocks complete at once).
    double dSpeed = 1.0;
    bool bUntimed = false;
    std::string strCaptureFile;                      // raw PCM of everything played, when not empty
    std::shared_ptr<CWaveMemoryCapture> pCapture;    // the same, in memory
    MMRESULT nOpenResult = MMSYSERR_NOERROR;         // non-zero: waveOutOpen fails with it
    long nDieAfterBlocks = -1;                       // >= 0: the device dies after that many blocks
};

struct WaveMapperOptions
{
    WaveBackend eBackend = WaveBackend::Alsa;
    std::string strAlsaDevice = "default";
    WaveNullOptions null;
};

// What WAVE_MAPPER opens from now on. The host decides; the library reads no environment.
TUNIVOX_EXPORT void SetWaveMapper(const WaveMapperOptions& options);
TUNIVOX_EXPORT WaveMapperOptions GetWaveMapper();
// Parses "alsa" or "null" (as given on command lines); false for anything else.
TUNIVOX_EXPORT bool ParseWaveBackend(const std::string& name, WaveBackend* backend);
