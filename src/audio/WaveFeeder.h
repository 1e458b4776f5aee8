#pragma once
// The device protocol every wave backend shares: a device thread that feeds a driver (WaveDriver.h)
// from the queued blocks and hands them back once heard.
//
// Nothing the engine queued is ever dropped. Frames are counted on one absolute scale from the last
// reset: each queued block knows the frame it ends at (its `reserved`), the write cursor is a frame
// on that scale, and "heard" is the written frames less the driver's delay. A block is handed back
// only once it has been heard, so the engine's position and snapshot follow the sound. When the
// driver loses its stream (an underrun, a suspend, a device that cannot pause) the stream is
// prepared anew at the first frame not heard and the rest is written again. A stream is started only
// with the driver's start threshold buffered (or at a song's tail, once no more blocks come), so a
// recovered stream never starts on a few milliseconds of sound and runs dry at once.
//
// What the driver reports is trusted only as far as the clock allows: once everything queued has
// been written, the delay reported then promises when the last frame will have been heard, and when
// that time (and a little more) has passed with no new block for 300 ms (the stream has ended, it is
// not merely late), it has been. No wait on a driver is unbounded.
//
// A hand-back interval counts from when the sound starts or resumes. A driver that plays at once
// (the untimed null device) gets its blocks back in bursts; one that records what it plays is
// given each block as it is heard whole.
//
// The same restart at the first frame not heard moves the sound to another device (SwitchTo), and,
// with a recovery time, brings a failed device back: it is opened again, backing off, until that
// time is up; meanwhile the queue waits.
//
// Threading contract: the waveOut calls (any thread, see WaveOut.h) post requests to the device
// thread and wait, bounded, until it has acted. m_lock guards the queue, the frame bookkeeping and
// the request flags; the driver is touched by the device thread only, under m_lock, except while a
// device is being opened (no lock held, so the engine's calls are not held up). Callbacks run on the
// device thread without m_lock, as does a driver's Heard (the null device's capture takes its own
// lock there). Statistics are atomics, read without the lock. Lock order: m_lock is the feeder's
// only lock and no other is taken under it; WaveOut.cpp's handle table lock is released before a
// feeder is called.

#include <memory>
#include <string>

#include "audio/WaveDriver.h"
#include "audio/WaveOutDevice.h"

// A device of `kind` that plays on `device`; see WaveOutTarget for `recoveryMs`.
std::unique_ptr<CWaveOutDevice> CreateWaveFeeder(const WaveDriverKind& kind, const std::string& device,
                                                 unsigned recoveryMs);
