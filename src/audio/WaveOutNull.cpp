// The null wave device: plays nothing, but hands blocks back on the schedule a real device would
// (paced by the monotonic clock at real time or a multiple of it, or at once), optionally records
// what it "played", and can be told to fail for tests.

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <thread>

#include "audio/WaveOutDevice.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kScratchBytes = 16384;

class CWaveOutNull final : public CWaveOutDevice
{
public:
    explicit CWaveOutNull(const WaveNullOptions& options) : m_options(options) {}
    ~CWaveOutNull() override { Close(); }

    MMRESULT Open(const WAVEFORMATEX& format) override
    {
        m_format = format;
        m_bDead = m_options.nDieAfterBlocks == 0;
        if (!m_options.strCaptureFile.empty()) {
            m_pCaptureFile = std::fopen(m_options.strCaptureFile.c_str(), "wb");
            if (!m_pCaptureFile)
                return MMSYSERR_ERROR;
        }
        m_thread = std::thread([this] { Run(); });
        return MMSYSERR_NOERROR;
    }

    MMRESULT Write(WAVEHDR* header) override
    {
        std::lock_guard<std::mutex> guard(m_lock);
        if (m_bDead)
            return MMSYSERR_NODRIVER;
        m_queue.Push(header);
        m_wake.notify_all();
        return MMSYSERR_NOERROR;
    }

    MMRESULT Pause() override { return SetPaused(true); }
    MMRESULT Restart() override { return SetPaused(false); }

    MMRESULT Reset() override
    {
        std::unique_lock<std::mutex> lock(m_lock);
        if (m_bDead)
            return MMSYSERR_NODRIVER;
        const std::uint64_t ticket = ++m_nResetRequested;
        m_wake.notify_all();
        // The device thread only hands blocks back, so this never waits long.
        const bool done = m_wake.wait_for(lock, std::chrono::seconds(2), [&] { return m_nResetDone >= ticket; });
        return done ? MMSYSERR_NOERROR : MMSYSERR_ERROR;
    }

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
        if (m_pCaptureFile) {
            std::fclose(m_pCaptureFile);
            m_pCaptureFile = nullptr;
        }
        return MMSYSERR_NOERROR;
    }

    void CopyFailure(char* text, std::size_t size) const override
    {
        std::lock_guard<std::mutex> guard(m_lock);
        std::snprintf(text, size, "%s",
                      m_bDead ? "The sound device stopped: the null device was told to fail" : "");
    }

private:
    MMRESULT SetPaused(bool paused)
    {
        std::lock_guard<std::mutex> guard(m_lock);
        if (m_bDead)
            return MMSYSERR_NODRIVER;
        m_bPaused = paused;
        m_bClockRunning = false;
        m_wake.notify_all();
        return MMSYSERR_NOERROR;
    }

    // The moment the front block has been played out, counted from where the clock last started.
    Clock::time_point DueTime(const WAVEHDR* header) const
    {
        const double seconds = static_cast<double>(m_nClockBytes + header->dwBufferLength) /
                               m_format.nAvgBytesPerSec / (m_options.dSpeed > 0 ? m_options.dSpeed : 1.0);
        return m_clockStart + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
    }

    void Capture(const WAVEHDR* header)
    {
        if (!m_pCaptureFile && !m_options.pCapture)
            return;
        const DWORD volume = GetVolume();
        const BYTE* data = reinterpret_cast<const BYTE*>(header->lpData);
        for (std::size_t done = 0; done < header->dwBufferLength;) {
            const std::size_t chunk = std::min<std::size_t>(kScratchBytes, header->dwBufferLength - done);
            ApplyVolume(data + done, m_scratch, chunk, volume, m_format.nChannels, BlockGain(header));
            if (m_pCaptureFile)
                std::fwrite(m_scratch, 1, chunk, m_pCaptureFile);
            if (m_options.pCapture)
                m_options.pCapture->Append(m_scratch, chunk);
            done += chunk;
        }
    }

    void Run()
    {
        std::unique_lock<std::mutex> lock(m_lock);
        while (!m_bClosing) {
            if (m_nResetDone < m_nResetRequested || m_bDying) {
                const std::uint64_t ticket = m_nResetRequested;
                WAVEHDR* chain = m_queue.TakeAll();
                m_bClockRunning = false;
                if (m_bDying) {
                    m_bDying = false;
                    m_bDead = true;
                }
                lock.unlock();
                HandBackChain(chain);
                lock.lock();
                m_nResetDone = ticket;
                m_wake.notify_all();
                continue;
            }
            if (m_queue.Empty() || m_bPaused || m_bDead) {
                m_bClockRunning = false;
                m_wake.wait_for(lock, std::chrono::seconds(1));
                continue;
            }
            WAVEHDR* header = m_queue.Front();
            if (!m_bClockRunning) {
                m_bClockRunning = true;
                m_clockStart = Clock::now();
                m_nClockBytes = 0;
            }
            if (!m_options.bUntimed) {
                const Clock::time_point due = DueTime(header);
                if (Clock::now() < due) {
                    m_wake.wait_until(lock, due);
                    continue;
                }
            }
            m_queue.Pop();
            m_nClockBytes += header->dwBufferLength;
            lock.unlock();
            Capture(header);
            HandBack(header);
            lock.lock();
            ++m_nBlocksPlayed;
            if (m_options.nDieAfterBlocks >= 0 && m_nBlocksPlayed >= m_options.nDieAfterBlocks)
                m_bDying = true;
        }
    }

    const WaveNullOptions m_options;
    WAVEFORMATEX m_format{};
    std::FILE* m_pCaptureFile = nullptr;
    BYTE m_scratch[kScratchBytes];
    std::thread m_thread;

    // m_lock guards everything below.
    mutable std::mutex m_lock;
    std::condition_variable m_wake;
    CHeaderQueue m_queue;
    bool m_bPaused = false;
    bool m_bClosing = false;
    bool m_bDying = false;
    bool m_bDead = false;
    bool m_bClockRunning = false;
    Clock::time_point m_clockStart;
    std::uint64_t m_nClockBytes = 0;
    long m_nBlocksPlayed = 0;
    std::uint64_t m_nResetRequested = 0;
    std::uint64_t m_nResetDone = 0;
};

} // namespace

std::unique_ptr<CWaveOutDevice> CreateWaveOutNull(const WaveNullOptions& options)
{
    return std::make_unique<CWaveOutNull>(options);
}
