// The ALSA wave device (normally "default", i.e. PulseAudio or PipeWire on a desktop, or a card).
// Every ALSA call happens on the device thread; the waveOut calls post requests to it and wait
// (bounded) until it has acted. Volume is applied in software while copying into ALSA's buffer.
//
// Nothing the engine queued is ever dropped. Frames are counted on one absolute scale from the last
// reset: each queued block knows the frame it ends at, the write cursor is a frame on that scale,
// and "heard" is the written frames less the device's delay. A block is handed back only once it
// has been heard, so the engine's position and snapshot follow the sound. When ALSA loses its
// stream (an underrun, a suspend, a device that cannot pause) the stream is prepared anew at the
// first frame not heard and the rest is written again. A stream is started only with a full start
// threshold buffered (or at a song's tail, once no more blocks come), so a recovered stream never
// starts on a few milliseconds of sound and runs dry at once.
//
// What the device reports is trusted only as far as the clock allows: once everything queued has
// been written, the delay the device then reports promises when the last frame will have been heard,
// and when that time (and a little more) has passed, it has been, whatever the device reports since.
// PipeWire reports a delay that never reaches zero for a stream that ran dry. For the same reason no wait on a device is unbounded: the end of a
// song lets the device play out what it holds for as long as it says it needs, never longer.
//
// The same restart at the first frame not heard moves the sound to another device (SwitchTo), and,
// when the device was opened with a recovery time, brings it back after it failed (a sound server
// restarted, a device re-plugged): the device is opened again, backing off, until that time is up;
// meanwhile the queue waits. Opening never holds the lock, so the engine's calls are not held up.

#include <alsa/asoundlib.h>
#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <thread>

#include "audio/ThreadPriority.h"
#include "audio/WaveOutDevice.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// Sizes as aplay chooses them. 500 ms of buffer ride out half a second in which this thread cannot
// run (a loaded machine, a host busy scanning and writing files). PulseAudio's plugin turns the
// buffer into the stream's target length and the period into its request size, so the server asks
// for data in 125 ms steps, well inside the 2 s it grants clients by default; PipeWire's plugin
// keeps its own quantum (about 21 ms) and takes the buffer as the client's ring; a card gets four
// interrupts per buffer. The price is that a volume change is heard up to one buffer later.
constexpr unsigned kBufferMicroseconds = 500000;
constexpr unsigned kPeriodMicroseconds = 125000;
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
constexpr auto kIdleWait = 100ms;
constexpr auto kLongestSleep = std::chrono::microseconds(kBufferMicroseconds / 2);
constexpr auto kMinWait = 2ms;
constexpr auto kRequestWait = 2s;
constexpr int kResumeTries = 20;
constexpr auto kResumeStep = 10ms;
constexpr auto kSwitchWait = 5s;
constexpr auto kFirstRetry = 100ms;
constexpr auto kLongestRetry = 2s;
constexpr std::size_t kScratchBytes = 65536; // about 370 ms of CD sound
constexpr std::size_t kFailureBytes = 256;

// A configured ALSA stream and what its configuration chose.
struct OpenedPcm
{
    snd_pcm_t* pPcm = nullptr;
    int nError = 0;             // negative errno of the failed step
    MMRESULT nResult = MMSYSERR_NOERROR;
    bool bCanPause = false;
    std::uint64_t nStartFrames = 0;
};

class CWaveOutAlsa final : public CWaveOutDevice
{
public:
    CWaveOutAlsa(std::string device, unsigned recoveryMs) : m_strDevice(std::move(device)), m_nRecoveryMs(recoveryMs) {}
    ~CWaveOutAlsa() override { Close(); }

    // The device is opened on its own thread ("tunivox-alsa"), after that thread was made
    // time-critical: a sound server client's thread made by the open inherits that, and neither is
    // then held up by a busy machine. The wait is bounded by ALSA's own connect time-outs.
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
        m_queue.Push(header);
        m_tLastBlock = Clock::now();
        // While older blocks wait to be written the thread has work and wakes on its own schedule;
        // a block is news only when everything before it was written.
        if (!m_pWriting) {
            m_pWriting = header;
            m_dwWriteOffset = 0;
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
    // Opens and configures `device`; called without the lock (a sound server may take a while).
    OpenedPcm OpenPcm(const std::string& device) const
    {
        OpenedPcm opened;
        opened.nError = snd_pcm_open(&opened.pPcm, device.c_str(), SND_PCM_STREAM_PLAYBACK, SND_PCM_NONBLOCK);
        if (opened.nError < 0) {
            opened.pPcm = nullptr;
            opened.nResult = MMSYSERR_BADDEVICEID;
            return opened;
        }
        opened.nError = Configure(opened);
        if (opened.nError < 0) {
            snd_pcm_close(opened.pPcm);
            opened.pPcm = nullptr;
            opened.nResult = WAVERR_BADFORMAT;
        }
        return opened;
    }

    int Configure(OpenedPcm& opened) const
    {
        snd_pcm_t* pcm = opened.pPcm;
        snd_pcm_hw_params_t* hw;
        snd_pcm_hw_params_alloca(&hw);
        unsigned rate = m_format.nSamplesPerSec;
        unsigned bufferTime = kBufferMicroseconds;
        unsigned periodTime = kPeriodMicroseconds;
        int error = 0;
        if ((error = snd_pcm_hw_params_any(pcm, hw)) < 0 ||
            (error = snd_pcm_hw_params_set_access(pcm, hw, SND_PCM_ACCESS_RW_INTERLEAVED)) < 0 ||
            (error = snd_pcm_hw_params_set_format(pcm, hw, SND_PCM_FORMAT_S16_LE)) < 0 ||
            (error = snd_pcm_hw_params_set_channels(pcm, hw, m_format.nChannels)) < 0 ||
            (error = snd_pcm_hw_params_set_rate_resample(pcm, hw, 1)) < 0 ||
            (error = snd_pcm_hw_params_set_rate(pcm, hw, rate, 0)) < 0 ||
            (error = snd_pcm_hw_params_set_buffer_time_near(pcm, hw, &bufferTime, nullptr)) < 0 ||
            (error = snd_pcm_hw_params_set_period_time_near(pcm, hw, &periodTime, nullptr)) < 0 ||
            (error = snd_pcm_hw_params(pcm, hw)) < 0)
            return error;
        snd_pcm_uframes_t bufferFrames = 0;
        snd_pcm_uframes_t periodFrames = 0;
        snd_pcm_hw_params_get_buffer_size(hw, &bufferFrames);
        snd_pcm_hw_params_get_period_size(hw, &periodFrames, nullptr);
        opened.bCanPause = snd_pcm_hw_params_can_pause(hw) == 1;
        // Start after all but one period is buffered (PulseAudio's own pre-buffer is the same).
        opened.nStartFrames = bufferFrames > periodFrames ? bufferFrames - periodFrames : bufferFrames;

        // The start threshold is also what PulseAudio's plugin gives the server as its pre-buffer
        // for every stream it makes anew (a seek, a recovery): below it the server would start a
        // new stream on nothing and skip what arrives a moment later. Streams with less to play
        // (a song's tail) are started by hand.
        snd_pcm_sw_params_t* sw;
        snd_pcm_sw_params_alloca(&sw);
        if ((error = snd_pcm_sw_params_current(pcm, sw)) < 0 ||
            (error = snd_pcm_sw_params_set_start_threshold(pcm, sw, opened.nStartFrames)) < 0 ||
            (error = snd_pcm_sw_params_set_avail_min(pcm, sw, periodFrames)) < 0 ||
            (error = snd_pcm_sw_params(pcm, sw)) < 0)
            return error;
        return 0;
    }

    // Device thread, lock held.
    void Adopt(const OpenedPcm& opened)
    {
        m_pPcm = opened.pPcm;
        m_bCanPause = opened.bCanPause;
        m_nStartFrames = opened.nStartFrames;
    }

    void ClosePcm()
    {
        if (m_pPcm)
            snd_pcm_close(m_pPcm);
        m_pPcm = nullptr;
    }

    // Opens `device` with the lock released, then adopts it and goes on at the first frame not
    // heard. Requests that arrive meanwhile are answered on the next round.
    bool ReopenAt(const std::string& device, std::unique_lock<std::mutex>& lock, OpenedPcm* result)
    {
        lock.unlock();
        const OpenedPcm opened = OpenPcm(device);
        lock.lock();
        *result = opened;
        if (!opened.pPcm)
            return false;
        if (m_pPcm) {
            UpdateHeard();
            ClosePcm();
        }
        Adopt(opened);
        m_nDeviceError = 0;
        RestartStreamAt(m_nHeard); // while paused the new stream stays prepared, silent until Restart
        return true;
    }

    void SwitchDevice(std::unique_lock<std::mutex>& lock)
    {
        const std::string device = m_strSwitchTo;
        OpenedPcm opened;
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
            std::snprintf(m_szFailure, sizeof(m_szFailure), "The sound device stopped: \"%s\": %s", m_strDevice.c_str(),
                          snd_strerror(error));
            m_bDead = true;
            return;
        }
        ClosePcm();
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
        OpenedPcm opened;
        if (ReopenAt(m_strDevice, lock, &opened)) {
            m_bReconnecting = false;
            m_nRecoveries.fetch_add(1, std::memory_order_relaxed);
            return;
        }
        if (Clock::now() >= m_tGiveUp) {
            std::snprintf(m_szFailure, sizeof(m_szFailure),
                          "The sound device stopped: \"%s\": %s; it could not be opened again within %u s (%s)",
                          m_strDevice.c_str(), snd_strerror(m_nFailError), (m_nRecoveryMs + 999) / 1000,
                          snd_strerror(opened.nError));
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
        if (!m_pPcm)
            return;
        snd_pcm_state_t state = snd_pcm_state(m_pPcm);
        if (state == SND_PCM_STATE_RUNNING || state == SND_PCM_STATE_PAUSED || state == SND_PCM_STATE_DRAINING) {
            snd_pcm_sframes_t delay = 0;
            if (snd_pcm_delay(m_pPcm, &delay) == 0) {
                const std::uint64_t pending = delay > 0 ? static_cast<std::uint64_t>(delay) : 0;
                const std::uint64_t written = m_nWrittenEnd - m_nStreamStart;
                const std::uint64_t heard = m_nStreamStart + (pending >= written ? 0 : written - pending);
                m_nHeard = std::max(m_nHeard, heard);
                m_nHeardMeasured = m_nHeard;
                if (state == SND_PCM_STATE_RUNNING)
                    BoundPlayOut(pending);
                return;
            }
            state = snd_pcm_state(m_pPcm);
        }
        if (state == SND_PCM_STATE_XRUN) {
            m_nHeard = std::max(m_nHeard, m_nWrittenEnd);
            m_bStreamLost = true;
        } else if (state == SND_PCM_STATE_SUSPENDED) {
            Resume();
        } else if (state == SND_PCM_STATE_DISCONNECTED) {
            m_nDeviceError = -ENODEV;
        }
    }

    // Everything queued has been written and no block has come for a while (the end of a song, not a
    // writer that fell behind on a loaded machine while the server plays late too): the last frame is
    // heard within the delay reported then, and once that time (and a little more) has passed it
    // has been, whatever the device reports since. PipeWire's own plugin then reports a delay that rises and falls with each cycle of its
    // graph; its PulseAudio protocol, resampling, one that stands still. Neither reaches zero.
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
        return std::chrono::microseconds(1000000ull * frames / m_format.nSamplesPerSec);
    }

    // After a system suspend: the stream goes on where it stopped, or is started anew from what
    // was heard before it.
    void Resume()
    {
        int error = -EAGAIN;
        for (int i = 0; i < kResumeTries && error == -EAGAIN; ++i) {
            error = snd_pcm_resume(m_pPcm);
            if (error == -EAGAIN)
                std::this_thread::sleep_for(kResumeStep);
        }
        if (error < 0)
            m_bStreamLost = true;
    }

    // Drops ALSA's stream and prepares a new one that begins at `frame` (a frame not heard yet).
    void RestartStreamAt(std::uint64_t frame)
    {
        snd_pcm_drop(m_pPcm);
        if (const int error = snd_pcm_prepare(m_pPcm); error < 0)
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

    // Writes as much of the queue as ALSA takes now. False when the device failed (the error is in
    // m_nDeviceError). A lost
    // stream is prepared anew at most once a call, so a device that keeps failing cannot make this
    // thread spin creating streams.
    bool WritePending()
    {
        const bool wasPrepared = snd_pcm_state(m_pPcm) == SND_PCM_STATE_PREPARED;
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
            const snd_pcm_sframes_t written =
                snd_pcm_writei(m_pPcm, m_scratch, static_cast<snd_pcm_uframes_t>(chunk / m_nFrameBytes));
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
        if (wasPrepared && snd_pcm_state(m_pPcm) == SND_PCM_STATE_RUNNING)
            m_nStreamStarts.fetch_add(1, std::memory_order_relaxed); // ALSA started it at the threshold
        return StartIfReady(full);
    }

    bool StartIfReady(bool full)
    {
        if (snd_pcm_state(m_pPcm) != SND_PCM_STATE_PREPARED || m_nWrittenEnd == m_nStreamStart)
            return true;
        const bool tail = !m_pWriting && Clock::now() - m_tLastBlock >= kTailWait;
        if (!full && !tail && m_nWrittenEnd - m_nStreamStart < m_nStartFrames)
            return true;
        if (const int error = snd_pcm_start(m_pPcm); error < 0) {
            m_nDeviceError = error;
            return false;
        }
        m_nStreamStarts.fetch_add(1, std::memory_order_relaxed);
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
        // holds, and a little more, rather than cut the song's last sound. Not snd_pcm_drain:
        // a server may never finish draining a stream that already ran dry.
        if (m_pPcm && m_queue.Empty() && snd_pcm_state(m_pPcm) == SND_PCM_STATE_RUNNING) {
            const std::uint64_t silence = WriteEndSilence();
            snd_pcm_sframes_t delay = 0;
            if (snd_pcm_delay(m_pPcm, &delay) < 0 || delay < 0)
                delay = 0;
            const std::uint64_t sound = static_cast<std::uint64_t>(delay) > silence ? delay - silence : 0;
            const auto playOut = std::min<Clock::duration>(FramesToDuration(sound),
                                                           std::chrono::microseconds(kBufferMicroseconds));
            const Clock::time_point until = Clock::now() + playOut + kDrainMargin;
            m_wake.wait_until(lock, until, [this] { return m_bClosing; });
        }
        if (m_pPcm) {
            snd_pcm_drop(m_pPcm);
            snd_pcm_prepare(m_pPcm);
        }
        *handBack = m_queue.TakeAll();
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
        const snd_pcm_sframes_t written = snd_pcm_writei(m_pPcm, m_scratch, static_cast<snd_pcm_uframes_t>(wanted));
        return written > 0 ? static_cast<std::uint64_t>(written) : 0;
    }

    void ApplyPause()
    {
        m_bPaused = m_bPauseWanted;
        m_bPlayOutTimed = false; // the clock of the play-out starts again when the sound does
        if (!m_pPcm)
            return; // reconnecting: the new stream starts prepared, silent until resumed
        const snd_pcm_state_t state = snd_pcm_state(m_pPcm);
        if (m_bPaused && state == SND_PCM_STATE_RUNNING) {
            if (!m_bCanPause || snd_pcm_pause(m_pPcm, 1) < 0)
                StopAtHeard();
        } else if (!m_bPaused && state == SND_PCM_STATE_PAUSED) {
            if (snd_pcm_pause(m_pPcm, 0) < 0)
                RestartStreamAt(m_nHeard);
        }
    }

    void Run()
    {
        NameCurrentThread("tunivox-alsa");
        SetCurrentThreadTimeCritical();
        const OpenedPcm opened = OpenPcm(m_strDevice);
        std::unique_lock<std::mutex> lock(m_lock);
        m_nOpenResult = opened.nResult;
        m_bOpenDone = true;
        m_wake.notify_all();
        if (!opened.pPcm)
            return;
        Adopt(opened);
        while (!m_bClosing) {
            WAVEHDR* handBack = nullptr;
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
                    m_pWriting = nullptr;
                } else if (acknowledge || m_bPaused || HandBackDue()) {
                    handBack = Append(handBack, CollectHeard());
                    if (handBack)
                        m_tLastHandBack = Clock::now();
                }
            }
            if (acknowledge && !handBack) {
                m_nHandled = ticket;
                m_wake.notify_all();
            }
            if (handBack) {
                lock.unlock();
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
        ClosePcm();
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

    // With a hand-back interval, heard blocks are held until it has passed since the last burst.
    bool HandBackDue() const
    {
        const DWORD intervalMs = GetHandBackInterval();
        return intervalMs == 0 || Clock::now() - m_tLastHandBack >= std::chrono::milliseconds(intervalMs);
    }

    // Playing: wake when the first queued block should have been heard (blocks come back at the
    // pace they sound), or with a hand-back interval when the next burst is due, but at least every
    // half buffer so that ALSA stays fed. A stream waiting for its tail: wake when the tail may
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
        if (snd_pcm_state(m_pPcm) == SND_PCM_STATE_PREPARED) {
            const auto untilTail = m_tLastBlock + kTailWait - Clock::now();
            return std::clamp<Clock::duration>(untilTail, kMinWait, kIdleWait);
        }
        const std::uint64_t frames = front->reserved > m_nHeard ? front->reserved - m_nHeard : 0;
        const Clock::duration untilHeard = std::chrono::microseconds(1000000ull * frames / m_format.nSamplesPerSec);
        const DWORD intervalMs = GetHandBackInterval();
        if (intervalMs == 0)
            return std::clamp<Clock::duration>(untilHeard, kMinWait, kIdleWait);
        const Clock::duration untilBurst = m_tLastHandBack + std::chrono::milliseconds(intervalMs) - Clock::now();
        return std::clamp<Clock::duration>(std::max(untilHeard, untilBurst), kMinWait, kLongestSleep);
    }

    std::string m_strDevice; // device thread only
    const unsigned m_nRecoveryMs;
    snd_pcm_t* m_pPcm = nullptr;
    WAVEFORMATEX m_format{};
    DWORD m_nFrameBytes = 4;
    bool m_bCanPause = false;
    std::uint64_t m_nStartFrames = 0;
    BYTE m_scratch[kScratchBytes];
    std::thread m_thread;
    std::atomic<std::uint64_t> m_nUnderruns{0};
    std::atomic<std::uint64_t> m_nStreamStarts{0};
    std::atomic<std::uint64_t> m_nRecoveries{0};
    std::atomic<std::uint64_t> m_nSwitches{0};

    // m_lock guards everything below; ALSA itself is touched by the device thread only. Frame
    // numbers count from the last reset; a queued block's `reserved` is the frame it ends at.
    mutable std::mutex m_lock;
    std::condition_variable m_wake;
    CHeaderQueue m_queue;              // blocks not handed back yet, in order
    WAVEHDR* m_pWriting = nullptr;     // the block holding the write cursor, or null when all is written
    DWORD m_dwWriteOffset = 0;
    std::uint64_t m_nQueuedEnd = 0;    // end of the last queued block
    std::uint64_t m_nWrittenEnd = 0;   // the write cursor
    std::uint64_t m_nStreamStart = 0;  // the frame ALSA's current stream began with
    std::uint64_t m_nHeard = 0;        // frames the listener has heard
    std::uint64_t m_nHeardMeasured = 0; // m_nHeard as the device's delay last confirmed it
    Clock::time_point m_tLastBlock{};
    Clock::time_point m_tLastHandBack{};
    bool m_bStreamLost = false;        // ALSA dropped its stream: prepare anew at m_nHeard
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

std::unique_ptr<CWaveOutDevice> CreateWaveOutAlsa(const std::string& deviceName, unsigned recoveryMs)
{
    return std::make_unique<CWaveOutAlsa>(deviceName, recoveryMs);
}
