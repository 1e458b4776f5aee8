// The null wave device: plays nothing, but hands blocks back on the schedule a real device would
// (paced by the monotonic clock at real time or a multiple of it, or at once), optionally records
// what it "played", and can be told to fail for tests.
//
// Untimed, blocks are "played" in bursts: the thread sleeps until kUntimedBurst blocks are queued
// (or kUntimedLinger passed, or the writer pauses, restarts or resets), so a writer decoding at full
// speed hands over a burst at a time instead of waking this thread for every block.

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <thread>

#include "audio/WaveOutDevice.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kScratchBytes = 16384;
// Blocks are 2 KB; the capture file gathers many of them per write.
constexpr std::size_t kCaptureFileBuffer = 256 * 1024;
constexpr std::size_t kUntimedBurst = 64; // half the engine's ring: the writer fills one half while the other plays
constexpr auto kUntimedLinger = std::chrono::milliseconds(5);

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
            // glibc sizes a buffer it allocates itself by the file system, whatever size is asked.
            m_pCaptureBuffer = std::make_unique<char[]>(kCaptureFileBuffer);
            std::setvbuf(m_pCaptureFile, m_pCaptureBuffer.get(), _IOFBF, kCaptureFileBuffer);
        }
        m_thread = std::thread([this] { Run(); });
        return MMSYSERR_NOERROR;
    }

    MMRESULT Write(WAVEHDR* header) override
    {
        std::lock_guard<std::mutex> guard(m_lock);
        if (m_bDead)
            return MMSYSERR_NODRIVER;
        // The thread sleeps until the front block is due (untimed: until a burst is gathered); only
        // a first block or a full burst changes what it waits for.
        const bool wasEmpty = m_queue.Empty();
        m_queue.Push(header);
        ++m_nQueued;
        if (wasEmpty || (m_options.bUntimed && m_nQueued == kUntimedBurst))
            m_wake.notify_all();
        return MMSYSERR_NOERROR;
    }

    MMRESULT HandBackHeard(DWORD waitMs) override
    {
        std::unique_lock<std::mutex> lock(m_lock);
        if (m_bDead)
            return MMSYSERR_NODRIVER;
        const std::uint64_t ticket = ++m_nSyncRequested;
        m_wake.notify_all();
        const bool done = m_wake.wait_for(lock, std::chrono::milliseconds(waitMs), [&] { return m_nSyncDone >= ticket; });
        return done ? MMSYSERR_NOERROR : MMSYSERR_ERROR;
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
        // Blocks heard before a pause but still held for the next burst go back first (Run).
        if (paused && !m_bPaused)
            m_tPausedAt = Clock::now();
        else if (!paused)
            m_bClockRunning = false;
        m_bPaused = paused;
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
            ApplyVolume(data + done, m_scratch, chunk, volume, m_format.nChannels);
            if (m_pCaptureFile)
                std::fwrite(m_scratch, 1, chunk, m_pCaptureFile);
            if (m_options.pCapture)
                m_options.pCapture->Append(m_scratch, chunk);
            done += chunk;
        }
    }

    // Unlinks the blocks played by `now` (all queued ones when untimed); returns them as a chain.
    WAVEHDR* CollectPlayed(Clock::time_point now)
    {
        if (!m_bClockRunning) {
            m_bClockRunning = true;
            m_clockStart = now;
            m_nClockBytes = 0;
        }
        WAVEHDR* chain = nullptr;
        WAVEHDR** tail = &chain;
        long collected = 0;
        while (!m_queue.Empty() && (m_options.bUntimed || DueTime(m_queue.Front()) <= now)) {
            // A device told to fail after N blocks plays exactly N.
            if (m_options.nDieAfterBlocks >= 0 && m_nBlocksPlayed + collected >= m_options.nDieAfterBlocks)
                break;
            ++collected;
            WAVEHDR* header = m_queue.Pop();
            --m_nQueued;
            m_nClockBytes += header->dwBufferLength;
            *tail = header;
            tail = &header->lpNext;
        }
        return chain;
    }

    // When the next burst is due: the front block's end, or later with a hand-back interval.
    Clock::time_point NextBurst() const
    {
        if (m_options.bUntimed)
            return m_nQueued >= kUntimedBurst ? Clock::time_point{} : m_tFirstQueued + kUntimedLinger;
        if (!m_bClockRunning)
            return Clock::time_point{}; // the sound starts (or goes on after a pause) at once
        Clock::time_point due = DueTime(m_queue.Front());
        const DWORD intervalMs = GetHandBackInterval();
        if (intervalMs > 0)
            due = std::max(due, m_tLastBurst + std::chrono::milliseconds(intervalMs));
        return due;
    }

    // Captures and hands back a chain outside the lock; counts it towards a planned failure.
    void PlayChain(WAVEHDR* chain, std::unique_lock<std::mutex>& lock)
    {
        lock.unlock();
        for (WAVEHDR* h = chain; h; h = h->lpNext)
            Capture(h);
        long played = 0;
        for (const WAVEHDR* h = chain; h; h = h->lpNext)
            ++played;
        HandBackChain(chain);
        lock.lock();
        m_nBlocksPlayed += played;
        if (m_options.nDieAfterBlocks >= 0 && m_nBlocksPlayed >= m_options.nDieAfterBlocks)
            m_bDying = true;
    }

    void Run()
    {
        std::unique_lock<std::mutex> lock(m_lock);
        bool wasEmpty = true;
        while (!m_bClosing) {
            if (m_nResetDone < m_nResetRequested || m_bDying) {
                const std::uint64_t ticket = m_nResetRequested;
                WAVEHDR* chain = m_queue.TakeAll();
                m_nQueued = 0;
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
            const std::uint64_t syncTicket = m_nSyncRequested;
            if (m_bPaused && m_bClockRunning && !m_options.bUntimed) {
                // What was heard before the pause comes back now; the clock starts again on resume.
                WAVEHDR* chain = CollectPlayed(m_tPausedAt);
                m_bClockRunning = false;
                if (chain) {
                    PlayChain(chain, lock);
                    continue;
                }
            }
            if (m_queue.Empty() || m_bPaused || m_bDead) {
                m_bClockRunning = false;
                wasEmpty = m_queue.Empty();
                m_nSyncDone = syncTicket;
                m_wake.notify_all();
                m_wake.wait_for(lock, std::chrono::seconds(1));
                continue;
            }
            if (wasEmpty) {
                wasEmpty = false;
                m_tFirstQueued = Clock::now();
            }
            const bool syncWanted = m_nSyncDone < syncTicket;
            const Clock::time_point now = Clock::now();
            if (!syncWanted && now < NextBurst()) {
                m_wake.wait_until(lock, NextBurst());
                continue;
            }
            WAVEHDR* chain = CollectPlayed(now);
            m_tLastBurst = now;
            m_tFirstQueued = now;
            if (chain)
                PlayChain(chain, lock);
            if (syncWanted) {
                m_nSyncDone = syncTicket;
                m_wake.notify_all();
            }
        }
    }

    const WaveNullOptions m_options;
    WAVEFORMATEX m_format{};
    std::FILE* m_pCaptureFile = nullptr;
    std::unique_ptr<char[]> m_pCaptureBuffer; // outlives the file: freed after fclose
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
    std::size_t m_nQueued = 0;
    Clock::time_point m_tPausedAt;
    Clock::time_point m_tLastBurst;
    Clock::time_point m_tFirstQueued;      // untimed: when the burst being gathered began
    long m_nBlocksPlayed = 0;
    std::uint64_t m_nResetRequested = 0;
    std::uint64_t m_nResetDone = 0;
    std::uint64_t m_nSyncRequested = 0;    // HandBackHeard calls asked for and answered
    std::uint64_t m_nSyncDone = 0;
};

} // namespace

std::unique_ptr<CWaveOutDevice> CreateWaveOutNull(const WaveNullOptions& options)
{
    return std::make_unique<CWaveOutNull>(options);
}
