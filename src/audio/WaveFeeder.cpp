// The shared wave device layer (see WaveFeeder.h): one device thread per open device feeds its
// driver from the queue, restarts lost streams at the first frame not heard, recovers failed devices
// and hands blocks back as they are heard. Volume is applied in software while copying.

#include "audio/WaveFeeder.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <thread>

#include "audio/ThreadPriority.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// A stream that has less than the start threshold starts once no block has come for this long:
// the end of a song, or a song shorter than the buffer.
constexpr auto kTailWait = 60ms;
// How much longer than the device said the last frame may take to be heard (its report may run a
// few milliseconds short), and how much longer the end of a song lets the device play. At the end
// of a song, silence follows the last frame so that a server that plays whole cycles of its graph
// (PipeWire: up to 2048 frames) plays out the last, partial one.
constexpr auto kPlayOutSlack = 150ms;
constexpr auto kDrainMargin = 30ms;
// No block for this long while all was written: the stream has ended, it is not merely late.
constexpr auto kEndOfStreamQuiet = 300ms;
constexpr unsigned kEndSilenceMicroseconds = 100000;
// The drivers buffer half a second: the end of a song waits no longer than that for it to play out,
// and a thread with a hand-back interval wakes at least every half buffer to keep the driver fed.
constexpr auto kLongestPlayOut = 500ms;
constexpr auto kLongestSleep = kLongestPlayOut / 2;
constexpr auto kIdleWait = 100ms;
constexpr auto kBurstLinger = 5ms; // a device that hands back in bursts waits no longer for one
constexpr auto kMinWait = 2ms;
constexpr auto kRequestWait = 2s;
constexpr int kResumeTries = 20;
constexpr auto kResumeStep = 10ms;
constexpr auto kSwitchWait = 5s;
constexpr auto kFirstRetry = 100ms;
constexpr auto kLongestRetry = 2s;
constexpr std::size_t kScratchBytes = 65536; // about 370 ms of CD sound
constexpr std::size_t kFailureBytes = 256;

class CWaveFeeder final : public CWaveOutDevice
{
public:
    CWaveFeeder(const WaveDriverKind& kind, std::string device, unsigned recoveryMs)
        : m_kind(kind), m_strDevice(std::move(device)), m_nRecoveryMs(recoveryMs)
    {
    }
    ~CWaveFeeder() override { Close(); }

    // The device is opened on its own thread (named by the driver kind), after that thread was made
    // time-critical: a sound server client's thread made by the open inherits that, and neither is
    // then held up by a busy machine. The wait is bounded by the driver's own connect time-outs.
    MMRESULT Open(const WAVEFORMATEX& format) override
    {
        m_format = format;
        m_nFrameBytes = format.nBlockAlign;
        m_thread = std::thread([this] { Run(); });
        std::unique_lock<std::mutex> lock(m_lock);
        m_wake.wait(lock, [this] { return m_bOpenDone; });
        const MMRESULT result = m_nOpenResult;
        lock.unlock();
        if (result != MMSYSERR_NOERROR)
            m_thread.join();
        return result;
    }

    MMRESULT Write(WAVEHDR* header) override
    {
        std::lock_guard<std::mutex> guard(m_lock);
        if (m_bDead)
            return MMSYSERR_NODRIVER;
        m_nQueuedEnd += header->dwBufferLength / m_nFrameBytes;
        header->reserved = static_cast<DWORD_PTR>(m_nQueuedEnd);
        const bool wasEmpty = m_queue.Empty();
        m_queue.Push(header);
        ++m_nQueuedBlocks;
        m_tLastBlock = Clock::now();
        if (wasEmpty)
            m_tFirstQueued = m_tLastBlock;
        // While older blocks wait to be written the thread has work and wakes on its own schedule;
        // a block is news only when everything before it was written (or, on a device that hands
        // back in bursts, when it starts or fills a burst).
        if (!m_pWriting) {
            m_pWriting = header;
            m_dwWriteOffset = 0;
            if (m_nBurstBlocks == 0 || wasEmpty || m_nQueuedBlocks == m_nBurstBlocks)
                m_wake.notify_all();
        }
        return MMSYSERR_NOERROR;
    }

    MMRESULT HandBackHeard(DWORD waitMs) override
    {
        return Request([] {}, std::chrono::milliseconds(waitMs));
    }

    MMRESULT SwitchTo(const std::string& device) override
    {
        std::unique_lock<std::mutex> lock(m_lock);
        if (m_bDead)
            return MMSYSERR_NODRIVER;
        m_strSwitchTo = device;
        m_bSwitchWanted = true;
        const std::uint64_t ticket = ++m_nRequested;
        m_wake.notify_all();
        if (!m_wake.wait_for(lock, kSwitchWait, [&] { return m_nHandled >= ticket; }))
            return MMSYSERR_ERROR;
        return m_nSwitchResult;
    }

    void CopyFailure(char* text, std::size_t size) const override
    {
        std::lock_guard<std::mutex> guard(m_lock);
        std::snprintf(text, size, "%s", m_szFailure);
    }

    MMRESULT Pause() override { return Request([this] { m_bPauseWanted = true; }); }
    MMRESULT Restart() override { return Request([this] { m_bPauseWanted = false; }); }
    MMRESULT Reset() override { return Request([this] { m_bResetWanted = true; }); }

    MMRESULT Close() override
    {
        {
            std::lock_guard<std::mutex> guard(m_lock);
            if (!m_queue.Empty() && !m_bDead)
                return WAVERR_STILLPLAYING;
            m_bClosing = true;
            m_wake.notify_all();
        }
        if (m_thread.joinable())
            m_thread.join();
        return MMSYSERR_NOERROR;
    }

    // Lock-free, so that a thread watching the device never holds up its thread.
    WaveOutStatistics Statistics() const override
    {
        WaveOutStatistics statistics;
        statistics.nUnderruns = m_nUnderruns.load(std::memory_order_relaxed);
        statistics.nStreamStarts = m_nStreamStarts.load(std::memory_order_relaxed);
        statistics.nRecoveries = m_nRecoveries.load(std::memory_order_relaxed);
        statistics.nSwitches = m_nSwitches.load(std::memory_order_relaxed);
        return statistics;
    }

private:
    void Adopt(std::unique_ptr<IWaveDriver> driver)
    {
        m_pDriver = std::move(driver);
        m_dFramesPerSecond = m_format.nSamplesPerSec * m_pDriver->Speed();
        m_nBurstBlocks = m_pDriver->BurstBlocks();
    }

    void CloseDriver() { m_pDriver.reset(); }

    // Opens `device` with the lock released, then adopts it and goes on at the first frame not
    // heard. Requests that arrive meanwhile are answered on the next round.
    bool ReopenAt(const std::string& device, std::unique_lock<std::mutex>& lock, WaveDriverOpen* result)
    {
        lock.unlock();
        WaveDriverOpen opened = m_kind.open(device, m_format);
        lock.lock();
        result->nError = opened.nError;
        result->nResult = opened.nResult;
        if (!opened.pDriver)
            return false;
        if (m_pDriver) {
            UpdateHeard();
            CloseDriver();
        }
        Adopt(std::move(opened.pDriver));
        m_nDeviceError = 0;
        RestartStreamAt(m_nHeard); // while paused the new stream stays prepared, silent until Restart
        return true;
    }

    void SwitchDevice(std::unique_lock<std::mutex>& lock)
    {
        const std::string device = m_strSwitchTo;
        WaveDriverOpen opened;
        const bool switched = ReopenAt(device, lock, &opened);
        m_nSwitchResult = opened.nResult;
        if (!switched)
            return;
        m_strDevice = device;
        m_bReconnecting = false;
        m_nSwitches.fetch_add(1, std::memory_order_relaxed);
    }

    // The device failed: without a recovery time it is dead; else it is closed and opened again
    // until the time is up, backing off.
    void OnDeviceFailure(int error)
    {
        m_nDeviceError = 0;
        if (m_nRecoveryMs == 0) {
            m_kind.stopped(m_szFailure, sizeof(m_szFailure), m_strDevice, error);
            m_bDead = true;
            return;
        }
        CloseDriver();
        // A sound server that goes away looks like an underrun first, which counts all that was
        // written as heard; the last delay it reported is what the listener really heard.
        m_nHeard = std::min(m_nHeard, m_nHeardMeasured);
        m_bStreamLost = false;
        m_bReconnecting = true;
        m_nFailError = error;
        m_retryStep = kFirstRetry;
        m_tGiveUp = Clock::now() + std::chrono::milliseconds(m_nRecoveryMs);
        m_tNextTry = Clock::now() + m_retryStep;
    }

    void TryReconnect(std::unique_lock<std::mutex>& lock)
    {
        const Clock::time_point now = Clock::now();
        if (now < m_tNextTry)
            return;
        WaveDriverOpen opened;
        if (ReopenAt(m_strDevice, lock, &opened)) {
            m_bReconnecting = false;
            m_nRecoveries.fetch_add(1, std::memory_order_relaxed);
            return;
        }
        if (Clock::now() >= m_tGiveUp) {
            std::snprintf(m_szFailure, sizeof(m_szFailure),
                          "The sound device stopped: \"%s\": %s; it could not be opened again within %u s (%s)",
                          m_strDevice.c_str(), m_kind.describe(m_nFailError), (m_nRecoveryMs + 999) / 1000,
                          m_kind.describe(opened.nError));
            m_bReconnecting = false;
            m_bDead = true;
            return;
        }
        m_retryStep = std::min<Clock::duration>(2 * m_retryStep, kLongestRetry);
        m_tNextTry = Clock::now() + m_retryStep;
    }

    // Every round hands back what was heard, so a request without a change brings the burst forward.
    template <typename Change>
    MMRESULT Request(Change change, Clock::duration wait = kRequestWait)
    {
        std::unique_lock<std::mutex> lock(m_lock);
        if (m_bDead)
            return MMSYSERR_NODRIVER;
        change();
        const std::uint64_t ticket = ++m_nRequested;
        m_wake.notify_all();
        if (!m_wake.wait_for(lock, wait, [&] { return m_nHandled >= ticket; }))
            return MMSYSERR_ERROR;
        return m_bDead ? MMSYSERR_NODRIVER : MMSYSERR_NOERROR;
    }

    // Brings m_nHeard up to what the listener has heard. A stream that ran dry has played all
    // that was written (ALSA reports an underrun only then; PulseAudio's plugin checks the
    // server's underflow index) and is marked lost. A device that went away sets m_nDeviceError.
    void UpdateHeard()
    {
        if (!m_pDriver)
            return;
        WaveDriverState state = m_pDriver->State();
        if (state == WaveDriverState::Running || state == WaveDriverState::Paused ||
            state == WaveDriverState::Draining) {
            std::int64_t delay = 0;
            if (m_pDriver->Delay(&delay) == 0) {
                const std::uint64_t pending = delay > 0 ? static_cast<std::uint64_t>(delay) : 0;
                const std::uint64_t written = m_nWrittenEnd - m_nStreamStart;
                const std::uint64_t heard = m_nStreamStart + (pending >= written ? 0 : written - pending);
                m_nHeard = std::max(m_nHeard, heard);
                m_nHeardMeasured = m_nHeard;
                if (state == WaveDriverState::Running)
                    BoundPlayOut(pending);
                return;
            }
            state = m_pDriver->State();
        }
        if (state == WaveDriverState::Underrun) {
            m_nHeard = std::max(m_nHeard, m_nWrittenEnd);
            m_bStreamLost = true;
        } else if (state == WaveDriverState::Suspended) {
            Resume();
        } else if (state == WaveDriverState::Disconnected) {
            m_nDeviceError = -ENODEV;
        }
    }

    // Everything queued has been written and no block has come for a while (the end of a song, not
    // a writer that fell behind on a loaded machine while the server plays late too): the last
    // frame is heard within the delay reported when all was written, and once that time (and a
    // little more) has passed it has been, whatever the device reports since. PipeWire's own plugin
    // then reports a delay that rises and falls with each cycle of its graph; its PulseAudio
    // protocol, resampling, one that stands still. Neither reaches zero.
    void BoundPlayOut(std::uint64_t pending)
    {
        if (m_pWriting || m_nHeard >= m_nWrittenEnd) {
            m_bPlayOutTimed = false;
            return;
        }
        const Clock::time_point now = Clock::now();
        if (!m_bPlayOutTimed) {
            m_bPlayOutTimed = true;
            m_tPlayedOutBy = now + FramesToDuration(pending) + kPlayOutSlack;
        } else if (now >= m_tPlayedOutBy && now - m_tLastBlock >= kEndOfStreamQuiet) {
            m_nHeard = m_nWrittenEnd;
        }
    }

    Clock::duration FramesToDuration(std::uint64_t frames) const
    {
        const double seconds = static_cast<double>(frames) / m_dFramesPerSecond;
        return std::chrono::microseconds(static_cast<std::uint64_t>(1e6 * seconds));
    }

    // After a system suspend: the stream goes on where it stopped, or is started anew from what
    // was heard before it.
    void Resume()
    {
        int error = -EAGAIN;
        for (int i = 0; i < kResumeTries && error == -EAGAIN; ++i) {
            error = m_pDriver->Resume();
            if (error == -EAGAIN)
                std::this_thread::sleep_for(kResumeStep);
        }
        if (error < 0)
            m_bStreamLost = true;
    }

    // Drops the driver's stream and prepares a new one that begins at `frame` (a frame not heard yet).
    void RestartStreamAt(std::uint64_t frame)
    {
        if (const int error = m_pDriver->DropAndPrepare(); error < 0)
            m_nDeviceError = error;
        else
            m_nHeardMeasured = frame; // a real underrun: everything written was heard
        m_bStreamLost = false;
        m_bPlayOutTimed = false;
        m_nWrittenEnd = frame;
        m_nStreamStart = frame;
        m_pWriting = nullptr;
        m_dwWriteOffset = 0;
        for (WAVEHDR* h = m_queue.Front(); h; h = h->lpNext) {
            if (h->reserved > frame) {
                const std::uint64_t start = h->reserved - h->dwBufferLength / m_nFrameBytes;
                m_pWriting = h;
                m_dwWriteOffset = frame > start ? static_cast<DWORD>((frame - start) * m_nFrameBytes) : 0;
                break;
            }
        }
    }

    // Unlinks the blocks that have been heard whole; returns them as a chain.
    WAVEHDR* CollectHeard()
    {
        WAVEHDR* chain = nullptr;
        WAVEHDR** tail = &chain;
        while (!m_queue.Empty()) {
            WAVEHDR* front = m_queue.Front();
            if (front->reserved > m_nHeard)
                break;
            m_queue.Pop();
            --m_nQueuedBlocks;
            if (m_pWriting == front) {
                m_pWriting = m_queue.Front();
                m_dwWriteOffset = 0;
            }
            *tail = front;
            tail = &front->lpNext;
        }
        return chain;
    }

    // Copies the sound from the write cursor on, across blocks, with the volume applied,
    // into m_scratch; returns the bytes copied.
    std::size_t FillScratch()
    {
        const DWORD volume = GetVolume();
        std::size_t filled = 0;
        DWORD offset = m_dwWriteOffset;
        for (const WAVEHDR* h = m_pWriting; h && filled < kScratchBytes; h = h->lpNext, offset = 0) {
            const std::size_t chunk = std::min<std::size_t>(h->dwBufferLength - offset, kScratchBytes - filled);
            ApplyVolume(reinterpret_cast<const BYTE*>(h->lpData) + offset, m_scratch + filled, chunk, volume,
                        m_format.nChannels);
            filled += chunk;
        }
        return filled;
    }

    void AdvanceWriteCursor(std::size_t bytes)
    {
        while (bytes > 0 && m_pWriting) {
            const std::size_t step = std::min<std::size_t>(m_pWriting->dwBufferLength - m_dwWriteOffset, bytes);
            m_dwWriteOffset += static_cast<DWORD>(step);
            bytes -= step;
            if (m_dwWriteOffset >= m_pWriting->dwBufferLength) {
                m_pWriting = m_pWriting->lpNext;
                m_dwWriteOffset = 0;
            }
        }
    }

    // Writes as much of the queue as the driver takes now. False when the device failed (the error
    // is in m_nDeviceError). A lost stream is prepared anew at most once a call, so a device that
    // keeps failing cannot make this thread spin creating streams.
    bool WritePending()
    {
        const bool wasPrepared = m_pDriver->State() == WaveDriverState::Prepared;
        bool full = false;
        bool restarted = false;
        for (;;) {
            if (m_bStreamLost && m_nHeard < m_nQueuedEnd && !restarted) {
                m_nUnderruns.fetch_add(1, std::memory_order_relaxed);
                RestartStreamAt(m_nHeard);
                restarted = true;
            }
            if (!m_pWriting || full || m_bStreamLost)
                break;
            // Many blocks go in one write: every write wakes a sound server client's thread.
            const std::size_t chunk = FillScratch();
            const long written = m_pDriver->Write(m_scratch, chunk / m_nFrameBytes);
            if (written == -EAGAIN) {
                full = true;
            } else if (written == -EPIPE) {
                UpdateHeard();
                m_bStreamLost = true;
            } else if (written == -ESTRPIPE) {
                UpdateHeard(); // resumes, or marks the stream lost; either way try again later
                full = true;
            } else if (written < 0) {
                m_nDeviceError = static_cast<int>(written);
                return false;
            } else {
                m_nWrittenEnd += static_cast<std::uint64_t>(written);
                m_bPlayOutTimed = false;
                AdvanceWriteCursor(static_cast<std::size_t>(written) * m_nFrameBytes);
                full = static_cast<std::size_t>(written) * m_nFrameBytes < chunk;
            }
        }
        if (m_nDeviceError < 0)
            return false;
        if (wasPrepared && m_pDriver->State() == WaveDriverState::Running)
            SoundStarted(); // the driver started it at the threshold
        return StartIfReady(full);
    }

    bool StartIfReady(bool full)
    {
        if (m_pDriver->State() != WaveDriverState::Prepared || m_nWrittenEnd == m_nStreamStart)
            return true;
        const bool tail = !m_pWriting && Clock::now() - m_tLastBlock >= kTailWait;
        if (!full && !tail && m_nWrittenEnd - m_nStreamStart < m_pDriver->StartFrames())
            return true;
        if (const int error = m_pDriver->Start(); error < 0) {
            m_nDeviceError = error;
            return false;
        }
        SoundStarted();
        return true;
    }

    // Pause on a device that cannot pause itself: stop at what was heard, go on from there later.
    void StopAtHeard()
    {
        UpdateHeard();
        RestartStreamAt(m_nHeard);
    }

    void ResetAll(WAVEHDR** handBack, std::unique_lock<std::mutex>& lock)
    {
        // Every block came back: the engine is at the end of a song. The delay a sound server
        // reports may run a few milliseconds short, so let the device play out what it says it
        // holds, and a little more, rather than cut the song's last sound. Not a drain:
        // a server may never finish draining a stream that already ran dry. A driver whose delay is
        // exact (the null device's clock) has played every block it handed back: nothing to wait for.
        if (m_pDriver && !m_pDriver->DelayExact() && m_queue.Empty() &&
            m_pDriver->State() == WaveDriverState::Running) {
            const std::uint64_t silence = WriteEndSilence();
            std::int64_t delay = 0;
            if (m_pDriver->Delay(&delay) < 0 || delay < 0)
                delay = 0;
            const std::uint64_t sound = static_cast<std::uint64_t>(delay) > silence ? delay - silence : 0;
            const auto playOut = std::min<Clock::duration>(FramesToDuration(sound),
                                                           kLongestPlayOut);
            const Clock::time_point until = Clock::now() + playOut + kDrainMargin;
            m_wake.wait_until(lock, until, [this] { return m_bClosing; });
        }
        if (m_pDriver) {
            m_pDriver->DropAndPrepare();
        }
        *handBack = m_queue.TakeAll();
        m_nQueuedBlocks = 0;
        m_pWriting = nullptr;
        m_dwWriteOffset = 0;
        m_bStreamLost = false;
        m_bPlayOutTimed = false;
        m_nQueuedEnd = m_nWrittenEnd = m_nStreamStart = m_nHeard = m_nHeardMeasured = 0;
    }

    // Writes silence after the last frame; returns the frames written.
    std::uint64_t WriteEndSilence()
    {
        const std::uint64_t wanted =
            std::min<std::uint64_t>(kScratchBytes / m_nFrameBytes,
                                    1ull * m_format.nSamplesPerSec * kEndSilenceMicroseconds / 1000000);
        std::memset(m_scratch, 0, static_cast<std::size_t>(wanted * m_nFrameBytes));
        const long written = m_pDriver->Write(m_scratch, wanted);
        return written > 0 ? static_cast<std::uint64_t>(written) : 0;
    }

    void ApplyPause()
    {
        m_bPaused = m_bPauseWanted;
        m_bPlayOutTimed = false; // the clock of the play-out starts again when the sound does
        if (!m_pDriver)
            return; // reconnecting: the new stream starts prepared, silent until resumed
        const WaveDriverState state = m_pDriver->State();
        if (m_bPaused && state == WaveDriverState::Running) {
            if (!m_pDriver->CanPause() || m_pDriver->Pause(true) < 0)
                StopAtHeard();
        } else if (!m_bPaused && state == WaveDriverState::Paused) {
            if (m_pDriver->Pause(false) < 0)
                RestartStreamAt(m_nHeard);
            else
                m_tLastHandBack = Clock::now();
        }
    }

    // A hand-back interval counts from when the sound starts, as it does from a burst.
    void SoundStarted()
    {
        m_nStreamStarts.fetch_add(1, std::memory_order_relaxed);
        m_tLastHandBack = Clock::now();
    }

    void Run()
    {
        if (m_kind.szThreadName)
            NameCurrentThread(m_kind.szThreadName);
        if (m_kind.bTimeCritical)
            SetCurrentThreadTimeCritical();
        WaveDriverOpen opened = m_kind.open(m_strDevice, m_format);
        std::unique_lock<std::mutex> lock(m_lock);
        m_nOpenResult = opened.nResult;
        m_bOpenDone = true;
        m_wake.notify_all();
        if (!opened.pDriver)
            return;
        Adopt(std::move(opened.pDriver));
        while (!m_bClosing) {
            WAVEHDR* handBack = nullptr;
            WAVEHDR* heard = nullptr; // the tail of handBack that was heard
            bool acknowledge = false;
            // Requests up to this ticket are answered by this round; later ones wait for the next.
            const std::uint64_t ticket = m_nRequested;
            if (m_nHandled < ticket) {
                acknowledge = true;
                if (m_bResetWanted) {
                    m_bResetWanted = false;
                    ResetAll(&handBack, lock);
                }
                if (m_bSwitchWanted) {
                    m_bSwitchWanted = false;
                    SwitchDevice(lock);
                }
                if (m_bPauseWanted != m_bPaused)
                    ApplyPause();
            }
            if (!m_bDead) {
                if (m_bReconnecting)
                    TryReconnect(lock);
                if (!m_bReconnecting && !m_bDead) {
                    // Also while paused: what was heard up to the pause comes back, so the
                    // position stands where the sound stopped.
                    UpdateHeard();
                    if (m_nDeviceError < 0 || (!m_bPaused && !WritePending()))
                        OnDeviceFailure(m_nDeviceError < 0 ? m_nDeviceError : -EIO);
                }
                if (m_bDead) {
                    handBack = Append(handBack, m_queue.TakeAll());
                    m_nQueuedBlocks = 0;
                    m_pWriting = nullptr;
                } else if (acknowledge || m_bPaused || HandBackDue()) {
                    heard = CollectHeard();
                    handBack = Append(handBack, heard);
                    if (handBack)
                        m_tFirstQueued = m_tLastHandBack = Clock::now();
                }
            }
            if (acknowledge && !handBack) {
                m_nHandled = ticket;
                m_wake.notify_all();
            }
            if (handBack) {
                lock.unlock();
                // A device that failed in this round is closed already (recovery reopens it):
                // nothing more was heard through it.
                for (const WAVEHDR* h = heard; h && m_pDriver; h = h->lpNext)
                    m_pDriver->Heard(*h, GetVolume());
                HandBackChain(handBack);
                lock.lock();
                if (acknowledge) {
                    m_nHandled = ticket;
                    m_wake.notify_all();
                }
                continue;
            }
            m_wake.wait_for(lock, WaitTime());
        }
        CloseDriver();
    }

    static WAVEHDR* Append(WAVEHDR* chain, WAVEHDR* rest)
    {
        if (!chain)
            return rest;
        WAVEHDR* last = chain;
        while (last->lpNext)
            last = last->lpNext;
        last->lpNext = rest;
        return chain;
    }

    // With a hand-back interval, heard blocks are held until it has passed since the last burst. A
    // device that hands back in bursts holds them until a burst is queued or kBurstLinger passed.
    bool HandBackDue() const
    {
        if (m_nBurstBlocks > 0)
            return m_nQueuedBlocks >= m_nBurstBlocks || Clock::now() - m_tFirstQueued >= kBurstLinger;
        const DWORD intervalMs = GetHandBackInterval();
        return intervalMs == 0 || Clock::now() - m_tLastHandBack >= std::chrono::milliseconds(intervalMs);
    }

    // Playing: wake when the first queued block should have been heard (blocks come back at the
    // pace they sound), or with a hand-back interval when the next burst is due, but at least every
    // half buffer so that the driver stays fed. A stream waiting for its tail: wake when the tail may
    // start. Else idle: every request and every new block wakes the thread anyway.
    Clock::duration WaitTime() const
    {
        const WAVEHDR* front = m_queue.Front();
        if (m_bReconnecting)
            return std::clamp<Clock::duration>(m_tNextTry - Clock::now(), kMinWait, kIdleWait);
        if (m_bPaused || m_bDead || !front)
            return kIdleWait;
        if (m_bStreamLost)
            return kTailWait;
        if (m_nBurstBlocks > 0)
            return std::clamp<Clock::duration>(m_tFirstQueued + kBurstLinger - Clock::now(), kMinWait, kIdleWait);
        if (m_pDriver->State() == WaveDriverState::Prepared) {
            const auto untilTail = m_tLastBlock + kTailWait - Clock::now();
            return std::clamp<Clock::duration>(untilTail, kMinWait, kIdleWait);
        }
        const std::uint64_t frames = front->reserved > m_nHeard ? front->reserved - m_nHeard : 0;
        const Clock::duration untilHeard = FramesToDuration(frames);
        const DWORD intervalMs = GetHandBackInterval();
        if (intervalMs == 0)
            return std::clamp<Clock::duration>(untilHeard, kMinWait, kIdleWait);
        const Clock::duration untilBurst = m_tLastHandBack + std::chrono::milliseconds(intervalMs) - Clock::now();
        return std::clamp<Clock::duration>(std::max(untilHeard, untilBurst), kMinWait, kLongestSleep);
    }

    const WaveDriverKind m_kind;
    std::string m_strDevice; // device thread only
    const unsigned m_nRecoveryMs;
    std::unique_ptr<IWaveDriver> m_pDriver;
    WAVEFORMATEX m_format{};
    DWORD m_nFrameBytes = 4;
    double m_dFramesPerSecond = 44100;
    BYTE m_scratch[kScratchBytes];
    std::thread m_thread;
    std::atomic<std::uint64_t> m_nUnderruns{0};
    std::atomic<std::uint64_t> m_nStreamStarts{0};
    std::atomic<std::uint64_t> m_nRecoveries{0};
    std::atomic<std::uint64_t> m_nSwitches{0};

    // m_lock guards everything below; the driver itself is touched by the device thread only. Frame
    // numbers count from the last reset; a queued block's `reserved` is the frame it ends at.
    mutable std::mutex m_lock;
    std::condition_variable m_wake;
    CHeaderQueue m_queue;              // blocks not handed back yet, in order
    std::size_t m_nQueuedBlocks = 0;
    std::size_t m_nBurstBlocks = 0;    // the driver's BurstBlocks()
    Clock::time_point m_tFirstQueued{}; // when the burst being gathered began
    WAVEHDR* m_pWriting = nullptr;     // the block holding the write cursor, or null when all is written
    DWORD m_dwWriteOffset = 0;
    std::uint64_t m_nQueuedEnd = 0;    // end of the last queued block
    std::uint64_t m_nWrittenEnd = 0;   // the write cursor
    std::uint64_t m_nStreamStart = 0;  // the frame the driver's current stream began with
    std::uint64_t m_nHeard = 0;        // frames the listener has heard
    std::uint64_t m_nHeardMeasured = 0; // m_nHeard as the device's delay last confirmed it
    Clock::time_point m_tLastBlock{};
    Clock::time_point m_tLastHandBack{};
    bool m_bStreamLost = false;        // the driver dropped its stream: prepare anew at m_nHeard
    bool m_bPlayOutTimed = false;      // all was written while running: m_tPlayedOutBy holds
    Clock::time_point m_tPlayedOutBy{}; // by then every frame written has been heard
    bool m_bOpenDone = false;
    MMRESULT m_nOpenResult = MMSYSERR_NOERROR;
    bool m_bPauseWanted = false;
    bool m_bPaused = false;
    bool m_bResetWanted = false;
    bool m_bClosing = false;
    bool m_bDead = false;
    std::uint64_t m_nRequested = 0;
    std::uint64_t m_nHandled = 0;
    std::string m_strSwitchTo;
    bool m_bSwitchWanted = false;
    MMRESULT m_nSwitchResult = MMSYSERR_NOERROR;
    int m_nDeviceError = 0;            // negative errno of a failure noticed this round
    bool m_bReconnecting = false;      // the device failed; it is opened again at m_tNextTry
    int m_nFailError = 0;
    Clock::duration m_retryStep{};
    Clock::time_point m_tNextTry{};
    Clock::time_point m_tGiveUp{};
    char m_szFailure[kFailureBytes] = {};
};

} // namespace

void ApplyVolume(const BYTE* source, BYTE* target, std::size_t bytes, DWORD volume, int channels)
{
    if (volume == 0xFFFFFFFFu) {
        std::memcpy(target, source, bytes);
        return;
    }
    const std::int32_t levels[2] = {static_cast<std::int32_t>(volume & 0xFFFFu),
                                    static_cast<std::int32_t>(volume >> 16)};
    const std::size_t count = bytes / 2;
    for (std::size_t i = 0; i < count; ++i) {
        std::int16_t sample;
        std::memcpy(&sample, source + 2 * i, 2);
        const std::int32_t level = levels[channels == 2 ? (i & 1) : 0];
        sample = static_cast<std::int16_t>(level == 0xFFFF ? sample : (sample * level) / 0xFFFF);
        std::memcpy(target + 2 * i, &sample, 2);
    }
}

std::unique_ptr<CWaveOutDevice> CreateWaveFeeder(const WaveDriverKind& kind, const std::string& device,
                                                 unsigned recoveryMs)
{
    return std::make_unique<CWaveFeeder>(kind, device, recoveryMs);
}
