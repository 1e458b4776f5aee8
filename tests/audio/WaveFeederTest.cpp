// The shared device layer over a scripted driver: what it must do when a driver loses its stream,
// never reports a zero delay, or cannot pause. Frame n of the queued sound carries n in its left
// sample, so what the driver received tells which frames it got, in which order.

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <thread>
#include <vector>

#include "audio/WaveFeeder.h"

namespace {

using namespace std::chrono_literals;

constexpr DWORD kRate = 8000;
constexpr std::uint64_t kBlockFrames = 2000; // 250 ms
constexpr int kBlocks = 4;
constexpr std::uint64_t kNoLimit = ~0ull;

// What the scripted driver does; the test changes it while the feeder runs.
struct Script
{
    std::mutex lock;
    std::uint64_t nFirstStreamTakes = kNoLimit; // frames the first stream accepts
    std::uint64_t nHeardCap = kNoLimit;         // frames of a stream the listener hears, at most
    std::uint64_t nDelayFloor = 0;              // frames the delay never goes below while some are written
    bool bCanPause = true;
    bool bRunDry = false;                       // the stream ran dry (an underrun)
    std::vector<std::uint64_t> received;        // frame numbers, in the order written
    int nDrops = 0;
    WaveDriverState eState = WaveDriverState::Prepared;
    std::uint64_t nStreamWritten = 0;
};
Script* g_script = nullptr;

class CScriptedDriver final : public IWaveDriver
{
public:
    long Write(const BYTE* data, std::uint64_t frames) override
    {
        std::lock_guard<std::mutex> guard(g_script->lock);
        Script& s = *g_script;
        if (s.bRunDry)
            return -EPIPE;
        const std::uint64_t room =
            s.nDrops == 0 && s.nFirstStreamTakes != kNoLimit ? s.nFirstStreamTakes - s.nStreamWritten : frames;
        const std::uint64_t taken = std::min(frames, room);
        if (taken == 0)
            return -EAGAIN;
        for (std::uint64_t i = 0; i < taken; ++i) {
            std::int16_t left;
            std::memcpy(&left, data + 4 * i, 2);
            s.received.push_back(static_cast<std::uint16_t>(left));
        }
        s.nStreamWritten += taken;
        return static_cast<long>(taken);
    }
    int Delay(std::int64_t* frames) override
    {
        std::lock_guard<std::mutex> guard(g_script->lock);
        const Script& s = *g_script;
        const std::uint64_t heard = std::min(s.nStreamWritten, s.nHeardCap);
        const std::uint64_t delay = std::max(s.nStreamWritten - heard, std::min(s.nDelayFloor, s.nStreamWritten));
        *frames = static_cast<std::int64_t>(delay);
        return 0;
    }
    WaveDriverState State() override
    {
        std::lock_guard<std::mutex> guard(g_script->lock);
        return g_script->bRunDry ? WaveDriverState::Underrun : g_script->eState;
    }
    int Start() override { return SetState(WaveDriverState::Running); }
    bool CanPause() const override { return g_script->bCanPause; }
    int Pause(bool pause) override
    {
        if (!g_script->bCanPause)
            return -ENOSYS;
        return SetState(pause ? WaveDriverState::Paused : WaveDriverState::Running);
    }
    int Resume() override { return 0; }
    int DropAndPrepare() override
    {
        std::lock_guard<std::mutex> guard(g_script->lock);
        ++g_script->nDrops;
        g_script->bRunDry = false;
        g_script->nStreamWritten = 0;
        g_script->eState = WaveDriverState::Prepared;
        return 0;
    }
    std::uint64_t StartFrames() const override { return 0; }

private:
    static int SetState(WaveDriverState state)
    {
        std::lock_guard<std::mutex> guard(g_script->lock);
        g_script->eState = state;
        return 0;
    }
};

WaveDriverOpen OpenScripted(const std::string&, const WAVEFORMATEX&)
{
    WaveDriverOpen opened;
    opened.pDriver = std::make_unique<CScriptedDriver>();
    return opened;
}

const char* DescribeScripted(int)
{
    return "scripted";
}

void StoppedScripted(char* text, std::size_t size, const std::string&, int)
{
    std::snprintf(text, size, "The sound device stopped: scripted");
}

const WaveDriverKind kScripted{"tunivox-test", false, OpenScripted, DescribeScripted, StoppedScripted};

struct Returned
{
    std::mutex lock;
    int nBlocks = 0;
};

void OnDone(HWAVEOUT, UINT message, DWORD_PTR instance, DWORD_PTR, DWORD_PTR)
{
    if (message != WOM_DONE)
        return;
    auto* returned = reinterpret_cast<Returned*>(instance);
    std::lock_guard<std::mutex> guard(returned->lock);
    ++returned->nBlocks;
}

template <typename Condition>
bool WaitFor(Condition condition, std::chrono::milliseconds limit)
{
    const auto until = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > until)
            return false;
        std::this_thread::sleep_for(2ms);
    }
    return true;
}

enum class Step { None, RunDry, PauseResume };

struct Row
{
    const char* szName;
    std::uint64_t nFirstStreamTakes;
    std::uint64_t nHeardCap;
    std::uint64_t nDelayFloor;
    bool bCanPause;
    Step eStep;
    std::uint64_t nRestartAt;          // the frame the second stream begins with; kNoLimit: no second stream
    std::chrono::milliseconds minHold; // the last block comes back no sooner
};

TEST(WaveFeeder, GoesOnAtTheFirstFrameNotHeard)
{
    const Row rows[] = {
        // Ran dry with frames 3000.. not written yet: a new stream takes them from there.
        {"underrun", 3000, kNoLimit, 0, true, Step::RunDry, 3000, 0ms},
        // A delay that never reaches zero still ends: once all is written, the delay then bounds it
        // (10 ms + 150 ms from the first look, 100 ms in), but only once no block came for 300 ms,
        // so a stream merely late is not counted as heard.
        {"delay stays", kNoLimit, kNoLimit, 80, true, Step::None, kNoLimit, 300ms},
        // Pausing a device that cannot pause drops its stream; the sound resumes where it was heard.
        {"cannot pause", kNoLimit, 3000, 0, false, Step::PauseResume, 3000, 0ms},
    };
    const WAVEFORMATEX format{WAVE_FORMAT_PCM, 2, kRate, kRate * 4, 4, 16, 0};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.szName);
        Script script;
        script.nFirstStreamTakes = row.nFirstStreamTakes;
        script.nHeardCap = row.nHeardCap;
        script.nDelayFloor = row.nDelayFloor;
        script.bCanPause = row.bCanPause;
        g_script = &script;
        Returned returned;
        std::vector<std::int16_t> pcm(2 * kBlockFrames * kBlocks);
        for (std::size_t frame = 0; frame < pcm.size() / 2; ++frame)
            pcm[2 * frame] = static_cast<std::int16_t>(frame);
        WAVEHDR headers[kBlocks] = {};

        std::unique_ptr<CWaveOutDevice> device = CreateWaveFeeder(kScripted, "scripted", 0);
        device->SetCallback(nullptr, OnDone, reinterpret_cast<DWORD_PTR>(&returned));
        ASSERT_EQ(device->Open(format), MMSYSERR_NOERROR);
        // Also when a check fails: a device closes only once every block came back.
        const std::unique_ptr<CWaveOutDevice, void (*)(CWaveOutDevice*)> closer(device.get(), [](CWaveOutDevice* d) {
            EXPECT_EQ(d->Reset(), MMSYSERR_NOERROR);
            EXPECT_EQ(d->Close(), MMSYSERR_NOERROR);
        });
        const auto started = std::chrono::steady_clock::now();
        for (int i = 0; i < kBlocks; ++i) {
            headers[i].lpData = reinterpret_cast<char*>(pcm.data() + 2 * kBlockFrames * i);
            headers[i].dwBufferLength = kBlockFrames * 4;
            headers[i].dwFlags = WHDR_PREPARED | WHDR_INQUEUE;
            ASSERT_EQ(device->Write(&headers[i]), MMSYSERR_NOERROR);
        }
        const auto receivedAtLeast = [&](std::size_t frames) {
            std::lock_guard<std::mutex> guard(script.lock);
            return script.received.size() >= frames;
        };
        if (row.eStep == Step::RunDry) {
            ASSERT_TRUE(WaitFor([&] { return receivedAtLeast(row.nFirstStreamTakes); }, 1000ms));
            std::lock_guard<std::mutex> guard(script.lock);
            script.bRunDry = true;
        } else if (row.eStep == Step::PauseResume) {
            ASSERT_TRUE(WaitFor([&] { return receivedAtLeast(kBlockFrames * kBlocks); }, 1000ms));
            ASSERT_EQ(device->Pause(), MMSYSERR_NOERROR);
            {
                std::lock_guard<std::mutex> guard(script.lock);
                script.nHeardCap = kNoLimit;
            }
            ASSERT_EQ(device->Restart(), MMSYSERR_NOERROR);
        }
        const auto allBack = [&] {
            std::lock_guard<std::mutex> guard(returned.lock);
            return returned.nBlocks == kBlocks;
        };
        EXPECT_TRUE(WaitFor(allBack, 2000ms));
        EXPECT_GE(std::chrono::steady_clock::now() - started, row.minHold);

        // Every frame once, in order, and after a restart again from the first frame not heard.
        std::vector<std::uint64_t> expected;
        for (std::uint64_t frame = 0; frame < kBlockFrames * kBlocks; ++frame)
            expected.push_back(frame);
        if (row.nRestartAt != kNoLimit && row.eStep == Step::PauseResume) {
            for (std::uint64_t frame = row.nRestartAt; frame < kBlockFrames * kBlocks; ++frame)
                expected.push_back(frame);
        }
        {
            std::lock_guard<std::mutex> guard(script.lock);
            EXPECT_EQ(script.received, expected);
            EXPECT_EQ(script.nDrops > 0, row.nRestartAt != kNoLimit);
        }
        EXPECT_EQ(device->Statistics().nUnderruns, row.eStep == Step::RunDry ? 1u : 0u);
    }
}

} // namespace
