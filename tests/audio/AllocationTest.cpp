// Allocation behaviour of the engine, observed by replacing the global operator new: start-up and
// Play when memory runs out, and no allocation at all while a song streams.
#include <QFile>
#include <QThread>
#include <atomic>
#include <cstdlib>
#include <gtest/gtest.h>
#include <new>

#include "AudioTestSupport.h"
#include "audio/CMediaReader.h"
#include "support/TagRewrite.h"
#include "support/TestFolders.h"

namespace {
std::atomic<long> g_nAllocations{0};
thread_local int t_nFailIn = -1; // fail the allocation that many allocations from now (0 = the next)
thread_local bool t_bUncounted = false; // this thread's allocations are the test's own (a tag writer)

void* Allocate(std::size_t size, bool mayThrow)
{
    if (t_nFailIn >= 0 && t_nFailIn-- == 0) {
        if (mayThrow)
            throw std::bad_alloc();
        return nullptr;
    }
    if (!t_bUncounted)
        g_nAllocations.fetch_add(1, std::memory_order_relaxed);
    void* block = std::malloc(size ? size : 1);
    if (!block && mayThrow)
        throw std::bad_alloc();
    return block;
}
} // namespace

void* operator new(std::size_t size) { return Allocate(size, true); }
void* operator new[](std::size_t size) { return Allocate(size, true); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size, false); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size, false); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }

using namespace tunivox::test;

namespace {

TEST(EngineMemory, InitFailsCleanlyAtEveryAllocation)
{
    struct Case { int failAt; HRESULT result; const char* text; };
    // In order: the sample copy, the two events, the reader and its state.
    for (const Case& c : {Case{0, S_OK, "Memory allocation failed"},
                          Case{1, HResultFromError(ENOMEM), "Could not create Event objects"},
                          Case{2, HResultFromError(ENOMEM), "Could not create Event objects"},
                          Case{3, E_OUTOFMEMORY, "Could not create WM SyncReader."},
                          Case{4, E_OUTOFMEMORY, "Could not create WM SyncReader."}}) {
        CAudioPlayer player;
        t_nFailIn = c.failAt;
        const HRESULT hr = player.Init();
        t_nFailIn = -1;
        EXPECT_EQ(hr, c.result) << c.failAt;
        EXPECT_STREQ(player.m_szError, c.text) << c.failAt;
        EXPECT_EQ(player.m_pReader, nullptr);
        EXPECT_EQ(player.Open(FixturePath("tone-44k-stereo.mp3").toUtf8().constData()), E_UNEXPECTED);
        EXPECT_EQ(player.Play(0), E_UNEXPECTED);
        EXPECT_EQ(player.Release(), S_OK);
    }
}

TEST(EngineMemory, PlayWithoutMemoryAppendsToTheMessage)
{
    ScopedNullDevice device;
    CAudioPlayer player;
    InitAndOpen(player, FixturePath("tone-44k-stereo.mp3"));
    t_nFailIn = 0;
    const HRESULT hr = player.Play(0);
    t_nFailIn = -1;
    EXPECT_EQ(hr, HResultFromError(ENOMEM));
    EXPECT_STREQ(player.m_szError, "Insufficient memoryCould not allocate streaming buffers.");
    EXPECT_EQ(player.m_hDecodeThread, nullptr);
    EXPECT_EQ(player.Play(0), S_OK);
    EXPECT_EQ(player.Stop(), S_OK);
}

// The null device at 4x without its capture, which grows a buffer as it goes.
class ScopedPlainNullDevice : public ScopedNullDevice
{
public:
    ScopedPlainNullDevice() : ScopedNullDevice(4.0)
    {
        WaveMapperOptions options = GetWaveMapper();
        options.null.pCapture.reset();
        SetWaveMapper(options);
    }
};

TEST(EngineMemory, SteadyPlaybackAllocatesNothing)
{
    ScopedPlainNullDevice device;
    CAudioPlayer player;
    InitAndOpen(player, FixturePath("long-44k-stereo.mp3"));
    ASSERT_EQ(player.Play(0), S_OK);
    while (player.GetCurrentTime() < 10000000)
        QThread::msleep(5);
    const long before = g_nAllocations.load();
    const QWORD from = player.GetCurrentTime();
    QThread::msleep(400);
    const long during = g_nAllocations.load() - before;
    EXPECT_GT(player.GetCurrentTime(), from + 10000000) << "playback did not advance";
    EXPECT_EQ(during, 0);
    EXPECT_EQ(player.Stop(), S_OK);
}

TEST(EngineMemory, FollowingARetagAllocatesNothing)
{
    ScopedTempFolder folder;
    QFile::copy(FixturePath("rewrite.mp3"), folder.FilePath("song.mp3"));
    const QString path = folder.FilePath("song.mp3");
    ScopedPlainNullDevice device;
    CAudioPlayer player;
    InitAndOpen(player, path);
    ASSERT_EQ(player.Play(0), S_OK);
    ASSERT_TRUE(WaitUntil([&] { return player.GetCurrentTime() >= 10000000; }, 10000));
    const long before = g_nAllocations.load();
    t_bUncounted = true;
    AddPicture(path, 400 * 1024);
    t_bUncounted = false;
    EXPECT_TRUE(WaitUntil([&] { return player.m_pReader->FileChangesFollowed() > 0; }, 5000));
    EXPECT_EQ(g_nAllocations.load() - before, 0);
    EXPECT_EQ(player.Stop(), S_OK);
}

} // namespace
