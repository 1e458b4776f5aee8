// The ALSA wave device (normally "default", i.e. PulseAudio or PipeWire on a desktop). Every ALSA
// call happens on the device thread; the waveOut calls post requests to it and wait (bounded) until
// it has acted. A block is handed back once the device reports it played (written frames minus the
// delay), so the engine's position follows what the listener hears. Volume is applied in software
// while copying into ALSA's buffer.

#include <alsa/asoundlib.h>
#include <chrono>
#include <condition_variable>
#include <thread>

#include "audio/WaveOutDevice.h"

namespace {

using namespace std::chrono_literals;

constexpr unsigned kBufferMicroseconds = 200000;
constexpr unsigned kPeriodMicroseconds = 20000;
constexpr auto kIdleWait = 20ms;
constexpr auto kRequestWait = 2s;
constexpr std::size_t kScratchBytes = 16384;

class CWaveOutAlsa final : public CWaveOutDevice
{
public:
    explicit CWaveOutAlsa(std::string device) : m_strDevice(std::move(device)) {}
    ~CWaveOutAlsa() override { Close(); }

    MMRESULT Open(const WAVEFORMATEX& format) override
    {
        m_format = format;
        m_nFrameBytes = format.nBlockAlign;
        if (snd_pcm_open(&m_pPcm, m_strDevice.c_str(), SND_PCM_STREAM_PLAYBACK, SND_PCM_NONBLOCK) < 0) {
            m_pPcm = nullptr;
            return MMSYSERR_BADDEVICEID;
        }
        const int error = snd_pcm_set_params(m_pPcm, SND_PCM_FORMAT_S16_LE, SND_PCM_ACCESS_RW_INTERLEAVED,
                                             format.nChannels, format.nSamplesPerSec, 1, kBufferMicroseconds);
        if (error < 0) {
            snd_pcm_close(m_pPcm);
            m_pPcm = nullptr;
            return WAVERR_BADFORMAT;
        }
        // Start as soon as data arrives: the engine pre-buffers, and a song's tail may be shorter
        // than ALSA's buffer.
        snd_pcm_sw_params_t* sw;
        snd_pcm_sw_params_alloca(&sw);
        if (snd_pcm_sw_params_current(m_pPcm, sw) == 0 && snd_pcm_sw_params_set_start_threshold(m_pPcm, sw, 1) == 0)
            snd_pcm_sw_params(m_pPcm, sw);
        snd_pcm_hw_params_t* hw;
        snd_pcm_hw_params_alloca(&hw);
        if (snd_pcm_hw_params_current(m_pPcm, hw) == 0)
            m_bCanPause = snd_pcm_hw_params_can_pause(hw) == 1;
        m_thread = std::thread([this] { Run(); });
        return MMSYSERR_NOERROR;
    }

    MMRESULT Write(WAVEHDR* header) override
    {
        std::lock_guard<std::mutex> guard(m_lock);
        if (m_bDead)
            return MMSYSERR_NODRIVER;
        m_queue.Push(header);
        if (!m_pWriting) {
            m_pWriting = header;
            m_dwWriteOffset = 0;
        }
        m_wake.notify_all();
        return MMSYSERR_NOERROR;
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
        if (m_pPcm) {
            snd_pcm_close(m_pPcm);
            m_pPcm = nullptr;
        }
        return MMSYSERR_NOERROR;
    }

private:
    template <typename Change>
    MMRESULT Request(Change change)
    {
        std::unique_lock<std::mutex> lock(m_lock);
        if (m_bDead)
            return MMSYSERR_NODRIVER;
        change();
        const std::uint64_t ticket = ++m_nRequested;
        m_wake.notify_all();
        if (!m_wake.wait_for(lock, kRequestWait, [&] { return m_nHandled >= ticket; }))
            return MMSYSERR_ERROR;
        return m_bDead ? MMSYSERR_NODRIVER : MMSYSERR_NOERROR;
    }

    // Frames the listener has heard of everything written since the last prepare.
    std::uint64_t PlayedFrames()
    {
        const snd_pcm_state_t state = snd_pcm_state(m_pPcm);
        if (state == SND_PCM_STATE_XRUN)
            return m_nWritten;
        if (state != SND_PCM_STATE_RUNNING && state != SND_PCM_STATE_PAUSED && state != SND_PCM_STATE_DRAINING)
            return m_nPlayedBeforeStart;
        snd_pcm_sframes_t delay = 0;
        if (snd_pcm_delay(m_pPcm, &delay) < 0 || delay < 0)
            delay = 0;
        const auto pending = static_cast<std::uint64_t>(delay);
        return pending >= m_nWritten ? 0 : m_nWritten - pending;
    }

    void Reprepare()
    {
        snd_pcm_drop(m_pPcm);
        snd_pcm_prepare(m_pPcm);
        m_nWritten = 0;
        m_nPlayedBeforeStart = 0;
    }

    // Stops the stream at what was heard and moves the write cursor back there, so nothing is lost
    // or repeated when playing resumes (the fallback when the device cannot pause itself).
    WAVEHDR* StopAndRewind()
    {
        const std::uint64_t played = PlayedFrames();
        WAVEHDR* done = CollectPlayed(played);
        m_pWriting = m_queue.Front();
        m_dwWriteOffset = 0;
        if (m_pWriting && m_pWriting->reserved != 0) {
            const std::uint64_t end = m_pWriting->reserved;
            const std::uint64_t start = end - m_pWriting->dwBufferLength / m_nFrameBytes;
            if (played > start)
                m_dwWriteOffset = static_cast<DWORD>((played - start) * m_nFrameBytes);
        }
        for (WAVEHDR* h = m_queue.Front(); h; h = h->lpNext)
            h->reserved = 0;
        Reprepare();
        return done;
    }

    // Unlinks the blocks that have been fully played; returns them as a chain.
    WAVEHDR* CollectPlayed(std::uint64_t played)
    {
        WAVEHDR* chain = nullptr;
        WAVEHDR** tail = &chain;
        while (!m_queue.Empty()) {
            WAVEHDR* front = m_queue.Front();
            if (front == m_pWriting || front->reserved == 0 || front->reserved > played)
                break;
            m_queue.Pop();
            front->reserved = 0;
            *tail = front;
            tail = &front->lpNext;
        }
        return chain;
    }

    // Writes as much of the queue as ALSA takes now. False when the device failed for good.
    bool WritePending()
    {
        while (m_pWriting) {
            const DWORD left = m_pWriting->dwBufferLength - m_dwWriteOffset;
            const std::size_t chunk = std::min<std::size_t>(left, kScratchBytes);
            ApplyVolume(reinterpret_cast<const BYTE*>(m_pWriting->lpData) + m_dwWriteOffset, m_scratch, chunk,
                        GetVolume(), m_format.nChannels);
            const snd_pcm_sframes_t written =
                snd_pcm_writei(m_pPcm, m_scratch, static_cast<snd_pcm_uframes_t>(chunk / m_nFrameBytes));
            if (written == -EAGAIN)
                return true;
            if (written < 0) {
                if (written == -EPIPE)
                    m_nPlayedBeforeStart = m_nWritten; // an underrun: all written has been heard
                if (snd_pcm_recover(m_pPcm, static_cast<int>(written), 1) < 0)
                    return false;
                continue;
            }
            m_nWritten += static_cast<std::uint64_t>(written);
            m_dwWriteOffset += static_cast<DWORD>(written) * m_nFrameBytes;
            if (m_dwWriteOffset >= m_pWriting->dwBufferLength) {
                m_pWriting->reserved = static_cast<DWORD_PTR>(m_nWritten);
                m_pWriting = m_pWriting->lpNext;
                m_dwWriteOffset = 0;
            }
        }
        return true;
    }

    void Run()
    {
        std::unique_lock<std::mutex> lock(m_lock);
        while (!m_bClosing) {
            WAVEHDR* handBack = nullptr;
            bool acknowledge = false;
            if (m_nHandled < m_nRequested) {
                acknowledge = true;
                if (m_bResetWanted) {
                    m_bResetWanted = false;
                    Reprepare();
                    handBack = m_queue.TakeAll();
                    for (WAVEHDR* h = handBack; h; h = h->lpNext)
                        h->reserved = 0;
                    m_pWriting = nullptr;
                    m_dwWriteOffset = 0;
                }
                if (m_bPauseWanted != m_bPaused) {
                    m_bPaused = m_bPauseWanted;
                    const snd_pcm_state_t state = snd_pcm_state(m_pPcm);
                    if (m_bPaused && state == SND_PCM_STATE_RUNNING) {
                        if (!m_bCanPause || snd_pcm_pause(m_pPcm, 1) < 0)
                            handBack = StopAndRewind();
                    } else if (!m_bPaused && state == SND_PCM_STATE_PAUSED) {
                        if (snd_pcm_pause(m_pPcm, 0) < 0)
                            Reprepare();
                    }
                }
            }
            if (!m_bPaused && !m_bDead) {
                if (!WritePending()) {
                    m_bDead = true;
                    WAVEHDR* rest = m_queue.TakeAll();
                    m_pWriting = nullptr;
                    if (!handBack)
                        handBack = rest;
                    else {
                        WAVEHDR* t = handBack;
                        while (t->lpNext)
                            t = t->lpNext;
                        t->lpNext = rest;
                    }
                }
                if (!handBack)
                    handBack = CollectPlayed(PlayedFrames());
            }
            if (acknowledge && !handBack) {
                m_nHandled = m_nRequested;
                m_wake.notify_all();
            }
            if (handBack) {
                const std::uint64_t handled = m_nRequested;
                lock.unlock();
                HandBackChain(handBack);
                lock.lock();
                if (acknowledge) {
                    m_nHandled = handled;
                    m_wake.notify_all();
                }
                continue;
            }
            m_wake.wait_for(lock, WaitTime());
        }
    }

    // While playing, one wake-up per block length (the pace blocks come back at); else idle.
    std::chrono::microseconds WaitTime() const
    {
        auto wait = std::chrono::duration_cast<std::chrono::microseconds>(kIdleWait);
        const WAVEHDR* front = m_queue.Front();
        if (!m_bPaused && front) {
            const auto blockTime =
                std::chrono::microseconds(1000000LL * front->dwBufferLength / m_format.nAvgBytesPerSec);
            wait = std::min(wait, std::max(blockTime, std::chrono::microseconds(2000)));
        }
        return wait;
    }

    const std::string m_strDevice;
    snd_pcm_t* m_pPcm = nullptr;
    WAVEFORMATEX m_format{};
    DWORD m_nFrameBytes = 4;
    bool m_bCanPause = false;
    BYTE m_scratch[kScratchBytes];
    std::thread m_thread;

    // m_lock guards everything below; ALSA itself is touched by the device thread only.
    std::mutex m_lock;
    std::condition_variable m_wake;
    CHeaderQueue m_queue;   // blocks not handed back yet, in order; reserved = end frame once written
    WAVEHDR* m_pWriting = nullptr;
    DWORD m_dwWriteOffset = 0;
    std::uint64_t m_nWritten = 0;
    std::uint64_t m_nPlayedBeforeStart = 0;
    bool m_bPauseWanted = false;
    bool m_bPaused = false;
    bool m_bResetWanted = false;
    bool m_bClosing = false;
    bool m_bDead = false;
    std::uint64_t m_nRequested = 0;
    std::uint64_t m_nHandled = 0;
};

} // namespace

std::unique_ptr<CWaveOutDevice> CreateWaveOutAlsa(const std::string& deviceName)
{
    return std::make_unique<CWaveOutAlsa>(deviceName);
}
