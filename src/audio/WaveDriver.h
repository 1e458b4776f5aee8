#pragma once
// A sound device as the shared wave layer (WaveFeeder.h) drives it: one opened stream, written in
// frames without blocking. Drivers know their device and nothing of blocks, callbacks or the clock.
//
// Threading contract: a driver is opened on any thread, then used and closed by the device thread
// of its feeder only; it keeps no lock of its own and calls nothing back. Errors are negative errno
// values, as ALSA reports them.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "audio/WaveTypes.h"

enum class WaveDriverState { Prepared, Running, Paused, Draining, Underrun, Suspended, Disconnected, Other };

class IWaveDriver
{
public:
    virtual ~IWaveDriver() = default;

    // Frames taken (possibly fewer than offered), or -EAGAIN (full), -EPIPE (ran dry), -ESTRPIPE
    // (suspended) or another negative errno (the device failed).
    virtual long Write(const BYTE* data, std::uint64_t frames) = 0;
    // Frames written but not heard yet; 0 or a negative errno.
    virtual int Delay(std::int64_t* frames) = 0;
    virtual WaveDriverState State() = 0;
    // Starts a prepared stream before its start threshold is buffered.
    virtual int Start() = 0;
    virtual bool CanPause() const = 0;
    virtual int Pause(bool pause) = 0;
    // Goes on after a system suspend; -EAGAIN while the device is not ready yet.
    virtual int Resume() = 0;
    // Drops what the stream holds and prepares a new, silent one; the result is the preparation's.
    virtual int DropAndPrepare() = 0;
    // Frames a new stream buffers before it starts on its own.
    virtual std::uint64_t StartFrames() const = 0;

    // For the clock-paced null device. How many times real time the device plays.
    virtual double Speed() const { return 1.0; }
    // The delay is exact, not a sound server's estimate: the end of a song needs no silence after
    // it and no margin to play out.
    virtual bool DelayExact() const { return false; }
    // A device that plays everything at once hands blocks back this many at a time (0: as heard).
    virtual std::size_t BurstBlocks() const { return 0; }
    // A block heard whole, at `volume` (a device that records what it plays). No feeder lock held.
    virtual void Heard(const WAVEHDR&, DWORD /*volume*/) {}
};

struct WaveDriverOpen
{
    std::unique_ptr<IWaveDriver> pDriver; // null when the open failed
    int nError = 0;                       // negative errno of the failed step
    MMRESULT nResult = MMSYSERR_NOERROR;
};

// What a feeder needs to know of a kind of driver. `open` may take a while (a sound server); the
// feeder calls it without its lock.
struct WaveDriverKind
{
    const char* szThreadName; // null: the device thread keeps the name it inherits
    bool bTimeCritical;       // the device thread runs time-critical (ThreadPriority.h)
    std::function<WaveDriverOpen(const std::string& device, const WAVEFORMATEX& format)> open;
    const char* (*describe)(int error);
    // "The sound device stopped: ..." for a device that failed with no recovery time.
    void (*stopped)(char* text, std::size_t size, const std::string& device, int error);
};
