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
//   header) runs on that thread, once per block, in queue order, never with a device lock held. The
//   callback must not call waveOut functions on the same handle.
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
};
TUNIVOX_EXPORT MMRESULT waveOutGetStatistics(HWAVEOUT device, WaveOutStatistics* statistics);

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
