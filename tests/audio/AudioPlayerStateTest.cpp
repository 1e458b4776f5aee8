// The engine's state machine at its edges: calls out of order, files that cannot be played, and
// devices that refuse or die.
#include <QElapsedTimer>
#include <QFile>
#include <QThread>
#include <gtest/gtest.h>

#include "AudioTestSupport.h"
#include "support/TestFolders.h"

using namespace tunivox::test;

namespace {

TEST(EngineCalls, OutOfOrderCallsGiveTheirCodesAndTexts)
{
    CAudioPlayer player;
    EXPECT_EQ(player.Open(FixturePath("tone-44k-stereo.mp3").toUtf8().constData()), E_UNEXPECTED);
    EXPECT_EQ(player.Play(0), E_UNEXPECTED);
    EXPECT_EQ(player.Pause(), E_UNEXPECTED);
    EXPECT_EQ(player.Resume(), E_UNEXPECTED);
    EXPECT_EQ(player.Stop(), E_UNEXPECTED);
    EXPECT_EQ(player.Open(nullptr), E_INVALIDARG);
    EXPECT_EQ(player.Release(), S_OK);
    EXPECT_EQ(player.Release(), S_OK);

    // Initialized, nothing open.
    ASSERT_EQ(player.Init(), S_OK);
    struct Case { HRESULT (CAudioPlayer::*call)(); HRESULT result; const char* text; };
    for (const Case& c : {Case{&CAudioPlayer::Pause, E_UNEXPECTED, "Can't pause - nothing playing."},
                          Case{&CAudioPlayer::Resume, E_UNEXPECTED, "Can't resume - nothing playing."},
                          Case{&CAudioPlayer::Stop, S_OK, ""}}) {
        player.m_szError[0] = 0;
        EXPECT_EQ((player.*c.call)(), c.result);
        EXPECT_STREQ(player.m_szError, c.text);
    }
    EXPECT_EQ(player.Play(0), E_UNEXPECTED);
    EXPECT_STREQ(player.m_szError, "Could not Start playing - the file is not opened");
}

struct OpenFailure { const char* name; QByteArray path; bool withFolders; const char* text; };

TEST(EngineOpen, UnplayableFilesFailCleanly)
{
    ScopedTempFolder folder;
    const QByteArray missing = folder.FilePath("missing.mp3").toUtf8();
    const QByteArray badName = folder.Path().toUtf8() + "bad\xff\xfename.mp3";
    QFile(QString::fromUtf8(FixturePath("tone-44k-stereo.mp3").toUtf8())).copy(folder.FilePath("x"));
    // Converter folder without a converter: the fallback runs nothing and the second open fails.
    const QString noConverter = folder.Path() + QStringLiteral("nobin/");
    for (const OpenFailure& c :
         {OpenFailure{"missing", missing, false, "Could not open the specified file."},
          OpenFailure{"empty", FixturePath("empty.mp3").toUtf8(), false, "Could not open the specified file."},
          OpenFailure{"text", FixturePath("not-audio.mp3").toUtf8(), false, "Could not open the specified file."},
          OpenFailure{"missing-with-folders", missing, true, ""},
          OpenFailure{"unconvertible name", badName, false, "Could not open the specified file."},
          OpenFailure{"unconvertible name, folders", badName, true, "Could not convert file name to unicode."}}) {
        CAudioPlayer player;
        ASSERT_EQ(player.Init(), S_OK);
        if (c.withFolders)
            player.SetPaths(noConverter, folder.Path());
        EXPECT_LT(player.Open(c.path.constData()), 0) << c.name;
        EXPECT_STREQ(player.m_szError, c.text) << c.name;
        EXPECT_FALSE(player.m_bOpened) << c.name;
        EXPECT_EQ(player.Play(0), E_UNEXPECTED) << c.name;
    }
}

// Damaged files either open and play what can be decoded, or fail with a message; never hang.
TEST(EngineOpen, DamagedFilesPlayWhatIsThereOrFail)
{
    for (const char* name : {"truncated.mp3", "random-bytes.flac"}) {
        ScopedNullDevice device;
        CAudioPlayer player;
        ASSERT_EQ(player.Init(), S_OK);
        const HRESULT opened = player.Open(FixturePath(name).toUtf8().constData());
        if (FAILED(opened)) {
            EXPECT_NE(player.m_szError[0], 0) << name;
            continue;
        }
        const QByteArray played = PlayToEnd(player, device);
        const QByteArray reference = ReferencePcm(FixturePath(name));
        EXPECT_TRUE(reference.startsWith(played)) << name;
        EXPECT_FALSE(player.m_bPlaying) << name;
        EXPECT_EQ(player.Stop(), S_OK);
    }
}

TEST(EngineOpen, ReopeningReplacesTheFileAndStopsPlayback)
{
    ScopedNullDevice device(1.0);
    CAudioPlayer player;
    InitAndOpen(player, FixturePath("long-44k-stereo.mp3"));
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
    ScopedNullDevice device;
    CAudioPlayer player;
    InitAndOpen(player, FixturePath("short-44k-stereo.wav"));
    EXPECT_TRUE(PlayToEnd(player, device, player.m_qwDuration + 50000000).isEmpty()) << "a start past the end";
    EXPECT_LT(player.m_hrThread, 0);
    const QByteArray first = PlayToEnd(player, device);
    ASSERT_FALSE(first.isEmpty());
    ASSERT_NE(player.m_hDecodeThread, nullptr);
    EXPECT_TRUE(PlayToEnd(player, device) == first);
    EXPECT_EQ(player.Pause(), S_OK);
    EXPECT_EQ(player.m_hDecodeThread, nullptr);
    PlayToEnd(player, device);
    EXPECT_EQ(player.Resume(), S_OK);
    EXPECT_EQ(player.m_hDecodeThread, nullptr);
    PlayToEnd(player, device);
    EXPECT_EQ(player.Stop(), S_OK);
    EXPECT_EQ(player.m_hDecodeThread, nullptr);
    EXPECT_EQ(player.Stop(), S_OK);
}

TEST(EngineStates, PlayWhilePausedSeeksAndClearsPaused)
{
    ScopedNullDevice device(1.0);
    CAudioPlayer player;
    InitAndOpen(player, FixturePath("long-44k-stereo.mp3"));
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
    for (long blocks : {0L, 10L, 100L, 200L}) {
        ScopedNullDevice device(20.0, blocks);
        CAudioPlayer player;
        InitAndOpen(player, FixturePath("long-44k-stereo.mp3"));
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
    ScopedNullDevice device(1.0);
    CAudioPlayer player;
    InitAndOpen(player, FixturePath("long-44k-stereo.mp3"));
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
