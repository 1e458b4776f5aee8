// The engine's state machine at its edges: calls out of order, files that cannot be played, and
// devices that refuse or die.
#include <QElapsedTimer>
#include <functional>
#include <gtest/gtest.h>

#include "AudioTestSupport.h"
#include "support/TestFolders.h"

using namespace tunivox::test;

namespace {

TEST(EngineCalls, OutOfOrderCallsGiveTheirCodesAndTexts)
{
    CAudioPlayer player;
    EXPECT_EQ(player.Open(FixturePath("tone-44k-stereo.mp3").toUtf8().constData()), E_UNEXPECTED);
    EXPECT_EQ(player.Open(nullptr), E_INVALIDARG);
    EXPECT_EQ(player.Release(), S_OK);
    EXPECT_EQ(player.Release(), S_OK);
    // Each call refused before Init; once initialized with nothing open, its code and text.
    struct Case { const char* name; std::function<HRESULT()> call; HRESULT result; const char* text; };
    const Case cases[] = {
        {"Play", [&] { return player.Play(0); }, E_UNEXPECTED, "Could not Start playing - the file is not opened"},
        {"Pause", [&] { return player.Pause(); }, E_UNEXPECTED, "Can't pause - nothing playing."},
        {"Resume", [&] { return player.Resume(); }, E_UNEXPECTED, "Can't resume - nothing playing."},
        {"Stop", [&] { return player.Stop(); }, S_OK, ""}};
    for (const Case& c : cases)
        EXPECT_EQ(c.call(), E_UNEXPECTED) << c.name << " before Init";
    ASSERT_EQ(player.Init(), S_OK);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        player.m_szError[0] = 0;
        EXPECT_EQ(c.call(), c.result);
        EXPECT_STREQ(player.m_szError, c.text);
    }
}

// Damaged files either open and play what can be decoded, or fail with a message; never hang.
TEST(EngineOpen, DamagedFilesPlayWhatIsThereOrFail)
{
    for (const char* name : {"truncated.mp3", "random-bytes.flac"}) {
        SCOPED_TRACE(name);
        ScopedNullDevice device;
        CAudioPlayer player;
        ASSERT_EQ(player.Init(), S_OK);
        if (FAILED(player.Open(FixturePath(name).toUtf8().constData()))) {
            EXPECT_NE(player.m_szError[0], 0);
            continue;
        }
        EXPECT_EQ(player.Play(0), S_OK);
        EXPECT_TRUE(WaitUntil([&] { return !player.m_bPlaying; }, 30000));
        EXPECT_TRUE(ReferencePcm(FixturePath(name)).startsWith(device.Captured()));
        EXPECT_EQ(player.Stop(), S_OK);
    }
}

TEST(EngineOpen, ReopeningReplacesTheFileAndStopsPlayback)
{
    NullDevicePlayer player(FixturePath("long-44k-stereo.mp3"), 1.0);
    ASSERT_EQ(player.Play(0), S_OK);
    ASSERT_EQ(player.Open(FixturePath("melody-48k-mono.flac").toUtf8().constData()), S_OK);
    EXPECT_EQ(player.m_hDecodeThread, nullptr);
    EXPECT_FALSE(player.m_bPlaying);
    EXPECT_EQ(player.GetDurationSeconds(), 5u);
    EXPECT_EQ(player.Close(), S_OK);
    EXPECT_EQ(player.Close(), S_OK);
    EXPECT_EQ(player.Play(0), E_UNEXPECTED);
}

// An ended thread is kept until the next call: Play starts the song again, Pause, Resume and Stop
// end the thread.
TEST(EngineStates, AfterTheEndPlayPlaysAgainAndOtherCallsEndTheThread)
{
    NullDevicePlayer player(FixturePath("short-44k-stereo.wav"));
    EXPECT_TRUE(player.PlayToEnd(player.m_qwDuration + 50000000).isEmpty()) << "a start past the end";
    EXPECT_LT(player.m_hrThread, 0);
    const QByteArray first = player.PlayToEnd();
    ASSERT_FALSE(first.isEmpty());
    ASSERT_NE(player.m_hDecodeThread, nullptr);
    struct Call { const char* name; HRESULT (CAudioPlayer::*call)(); };
    for (const Call& c : {Call{"Pause", &CAudioPlayer::Pause}, Call{"Resume", &CAudioPlayer::Resume},
                          Call{"Stop", &CAudioPlayer::Stop}}) {
        SCOPED_TRACE(c.name);
        EXPECT_TRUE(player.PlayToEnd() == first);
        EXPECT_EQ((player.*c.call)(), S_OK);
        EXPECT_EQ(player.m_hDecodeThread, nullptr);
    }
}

TEST(EngineStates, PlayWhilePausedSeeksAndClearsPaused)
{
    NullDevicePlayer player(FixturePath("long-44k-stereo.mp3"), 1.0);
    ASSERT_EQ(player.Play(0), S_OK);
    ASSERT_TRUE(WaitUntil([&] { return player.GetCurrentTime() > 0; }, 3000));
    ASSERT_EQ(player.Pause(), S_OK);
    ASSERT_TRUE(WaitUntil([&] { return player.m_bPaused.load(); }, 2000));
    ASSERT_EQ(player.Play(60000000), S_OK);
    EXPECT_TRUE(WaitUntil([&] { return !player.m_bPaused; }, 2000));
    // Playing again from the new place: the position moves past the target.
    EXPECT_TRUE(WaitUntil([&] {
        const QWORD position = player.GetCurrentTime();
        return position > 60000000 && position < 70000000;
    }, 3000));
    EXPECT_TRUE(player.m_bPlaying);
    EXPECT_EQ(player.Stop(), S_OK);
}

TEST(EngineDevice, OpenFailureReportsTheDeviceCode)
{
    for (MMRESULT code : {MMSYSERR_ALLOCATED, MMSYSERR_NODRIVER, WAVERR_BADFORMAT}) {
        ScopedNullDevice device(0.0, -1, code);
        CAudioPlayer player;
        InitAndOpen(player, FixturePath("tone-44k-stereo.mp3"));
        EXPECT_EQ(player.Play(0), E_FAIL);
        EXPECT_EQ(std::string(player.m_szError),
                  "Could not open the Audio device. MMSysError: " + std::to_string(code) + ".");
        EXPECT_EQ(player.m_hDecodeThread, nullptr);
        EXPECT_FALSE(player.m_bPlaying);
    }
}

TEST(EngineDevice, DeviceDyingMidSongEndsTheThread)
{
    // With recovery on, the device dies again each time it is reopened, until recovery gives up.
    for (const unsigned recoveryMs : {0u, 300u})
    for (long blocks : {0L, 10L, 100L, 200L}) {
        SCOPED_TRACE(testing::Message() << "recovery " << recoveryMs << " ms");
        ScopedNullDevice device(20.0, blocks);
        CAudioPlayer player;
        InitAndOpen(player, FixturePath("long-44k-stereo.mp3"));
        player.SetDeviceRecovery(recoveryMs);
        ASSERT_EQ(player.Play(0), S_OK);
        EXPECT_TRUE(WaitUntil([&] { return !player.m_bPlaying; }, 3000)) << blocks;
        EXPECT_EQ(player.m_hrThread, E_FAIL) << blocks;
        EXPECT_EQ(device.Captured().size(), blocks * kBlockBytes);
        EXPECT_EQ(player.m_hWaveOut.load(), nullptr);
        QElapsedTimer timer;
        timer.start();
        EXPECT_EQ(player.Stop(), S_OK) << blocks;
        EXPECT_LT(timer.elapsed(), 1000) << blocks;
    }
}

TEST(EngineDevice, VolumeIsSetOnTheOpenDevice)
{
    NullDevicePlayer player(FixturePath("long-44k-stereo.mp3"), 1.0);
    ASSERT_EQ(player.Play(0), S_OK);
    const DWORD level = (100 - 30) * 65535 / 100;
    ASSERT_EQ(waveOutSetVolume(player.m_hWaveOut, level | (level << 16)), MMSYSERR_NOERROR);
    DWORD read = 0;
    ASSERT_EQ(waveOutGetVolume(player.m_hWaveOut, &read), MMSYSERR_NOERROR);
    EXPECT_EQ(read, level | (level << 16));
    const HWAVEOUT closed = player.m_hWaveOut;
    EXPECT_EQ(player.Stop(), S_OK);
    EXPECT_EQ(waveOutSetVolume(closed, 0), MMSYSERR_INVALHANDLE);
    ASSERT_EQ(player.Play(0), S_OK);
    ASSERT_EQ(waveOutGetVolume(player.m_hWaveOut, &read), MMSYSERR_NOERROR);
    EXPECT_EQ(read, level | (level << 16)) << "a new device starts at the last volume";
    waveOutSetVolume(player.m_hWaveOut, 0xFFFFFFFFu);
    EXPECT_EQ(player.Stop(), S_OK);
}

} // namespace
