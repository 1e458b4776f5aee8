// The null wave driver, fed by the shared device layer (WaveFeeder.h): plays nothing, but hears
// what it takes on the schedule a real device would (paced by the monotonic clock at real time or a
// multiple of it, or at once), records each block heard, and can be told to fail for tests.
//
// Untimed, everything is heard as soon as it is taken, and blocks go back in bursts of
// kUntimedBurst (or after a short linger), so a writer decoding at full speed hands over a burst at
// a time instead of waking for every block. Its thread keeps the name and priority it inherits.

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>

#include "audio/WaveFeeder.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kScratchBytes = 16384;
// Blocks are 2 KB; the capture file gathers many of them per write.
constexpr std::size_t kCaptureFileBuffer = 256 * 1024;
constexpr std::size_t kUntimedBurst = 64; // half the engine's ring: the writer fills one half while the other plays

class CNullDriver final : public IWaveDriver
{
public:
    CNullDriver(const WaveNullOptions& options, const WAVEFORMATEX& format)
        : m_options(options), m_format(format),
          m_dFramesPerSecond(format.nSamplesPerSec * (options.dSpeed > 0 ? options.dSpeed : 1.0)),
          m_bDead(options.nDieAfterBlocks == 0)
    {
    }
    ~CNullDriver() override
    {
        if (m_pCaptureFile)
            std::fclose(m_pCaptureFile);
    }

    bool OpenCapture()
    {
        if (m_options.strCaptureFile.empty())
            return true;
        m_pCaptureFile = std::fopen(m_options.strCaptureFile.c_str(), "wb");
        if (!m_pCaptureFile)
            return false;
        // glibc sizes a buffer it allocates itself by the file system, whatever size is asked.
        m_pCaptureBuffer = std::make_unique<char[]>(kCaptureFileBuffer);
        std::setvbuf(m_pCaptureFile, m_pCaptureBuffer.get(), _IOFBF, kCaptureFileBuffer);
        return true;
    }

    // Everything is taken; a clock that had run dry starts again with the new sound.
    long Write(const BYTE*, std::uint64_t frames) override
    {
        if (m_bDead)
            return -ENODEV;
        if (m_eState == WaveDriverState::Running && Played() >= m_nWritten) {
            m_nPlayedAtStart = m_nWritten;
            m_tStart = Clock::now();
        }
        m_nWritten += frames;
        return static_cast<long>(frames);
    }

    int Delay(std::int64_t* frames) override
    {
        *frames = static_cast<std::int64_t>(m_nWritten - Played());
        return 0;
    }

    WaveDriverState State() override { return m_bDead ? WaveDriverState::Disconnected : m_eState; }

    int Start() override
    {
        m_eState = WaveDriverState::Running;
        m_tStart = Clock::now();
        return 0;
    }

    bool CanPause() const override { return true; }

    // The clock stands still while paused and goes on from there.
    int Pause(bool pause) override
    {
        if (pause && m_eState == WaveDriverState::Running) {
            m_nPlayedAtStart = Played();
            m_eState = WaveDriverState::Paused;
        } else if (!pause && m_eState == WaveDriverState::Paused) {
            m_eState = WaveDriverState::Running;
            m_tStart = Clock::now();
        }
        return 0;
    }

    int Resume() override { return 0; }

    int DropAndPrepare() override
    {
        m_eState = WaveDriverState::Prepared;
        m_nWritten = m_nPlayedAtStart = 0;
        return 0;
    }

    std::uint64_t StartFrames() const override { return 0; }
    double Speed() const override { return m_dFramesPerSecond / m_format.nSamplesPerSec; }
    bool DelayExact() const override { return true; }
    std::size_t BurstBlocks() const override { return m_options.bUntimed ? kUntimedBurst : 0; }

    // Records the block; a device told to fail after N blocks records exactly N, then fails.
    void Heard(const WAVEHDR& header, DWORD volume) override
    {
        if (m_bDead)
            return;
        if (m_pCaptureFile || m_options.pCapture) {
            const BYTE* data = reinterpret_cast<const BYTE*>(header.lpData);
            for (std::size_t done = 0; done < header.dwBufferLength;) {
                const std::size_t chunk = std::min<std::size_t>(kScratchBytes, header.dwBufferLength - done);
                ApplyVolume(data + done, m_scratch, chunk, volume, m_format.nChannels);
                if (m_pCaptureFile)
                    std::fwrite(m_scratch, 1, chunk, m_pCaptureFile);
                if (m_options.pCapture)
                    m_options.pCapture->Append(m_scratch, chunk);
                done += chunk;
            }
        }
        if (m_options.nDieAfterBlocks >= 0 && ++m_nBlocksHeard >= m_options.nDieAfterBlocks)
            m_bDead = true;
    }

private:
    std::uint64_t Played() const
    {
        if (m_options.bUntimed)
            return m_nWritten;
        if (m_eState != WaveDriverState::Running)
            return m_nPlayedAtStart;
        const double seconds = std::chrono::duration<double>(Clock::now() - m_tStart).count();
        const auto played = m_nPlayedAtStart + static_cast<std::uint64_t>(seconds * m_dFramesPerSecond);
        return std::min(played, m_nWritten);
    }

    const WaveNullOptions m_options;
    const WAVEFORMATEX m_format;
    const double m_dFramesPerSecond;
    bool m_bDead;
    WaveDriverState m_eState = WaveDriverState::Prepared;
    std::uint64_t m_nWritten = 0;       // frames taken since the stream was prepared
    std::uint64_t m_nPlayedAtStart = 0; // frames heard when the clock last started
    Clock::time_point m_tStart{};
    long m_nBlocksHeard = 0;
    std::FILE* m_pCaptureFile = nullptr;
    std::unique_ptr<char[]> m_pCaptureBuffer; // outlives the file: freed after fclose
    BYTE m_scratch[kScratchBytes];
};

WaveDriverOpen OpenNull(const WaveNullOptions& options, const WAVEFORMATEX& format)
{
    WaveDriverOpen opened;
    auto driver = std::make_unique<CNullDriver>(options, format);
    if (!driver->OpenCapture()) {
        opened.nError = -errno;
        opened.nResult = MMSYSERR_ERROR;
        return opened;
    }
    opened.pDriver = std::move(driver);
    return opened;
}

const char* DescribeNull(int)
{
    return "the null device was told to fail";
}

void StoppedNull(char* text, std::size_t size, const std::string&, int)
{
    std::snprintf(text, size, "The sound device stopped: the null device was told to fail");
}

} // namespace

std::unique_ptr<CWaveOutDevice> CreateWaveOutNull(const WaveNullOptions& options)
{
    const auto open = [options](const std::string&, const WAVEFORMATEX& format) { return OpenNull(options, format); };
    const WaveDriverKind kind{nullptr, false, open, DescribeNull, StoppedNull};
    return CreateWaveFeeder(kind, "null", 0); // one device, which never comes back
}
