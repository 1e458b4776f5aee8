// The engine tells what happened on its threads, and the control acts on it at once: no timer needs
// to tick for a heard song, an ended song or a failed device to be known, each failure is reported
// on its own, and a song that cannot be prepared to follow is reported and still gets its turn.
#include <QFile>
#include <QSignalSpy>
#include <gtest/gtest.h>

#include "PlayerTestSupport.h"
#include "audio/EngineEvents.h"
#include "support/ProgramRun.h"

using namespace tunivox::test;

namespace {

void SetDeviceDeath(long afterBlocks)
{
    WaveMapperOptions options = GetWaveMapper();
    options.null.nDieAfterBlocks = afterBlocks;
    SetWaveMapper(options);
}

// An engine of its own, no control and so no timer: only the engine's event can wake the thread.
TEST(EngineEvents, ArriveWithTheGuiThreadIdle)
{
    struct Case
    {
        const char* pszName;
        const char* pszSong;
        const char* pszNext; // prepared to follow, or null
        long nDieAfterBlocks;
        void (CEngineEvents::*signal)();
    };
    const Case cases[] = {
        {"a joined song heard", "gapless-1.flac", "gapless-2.flac", -1, &CEngineEvents::songHeard},
        {"a song ended", "short-44k-stereo.wav", nullptr, -1, &CEngineEvents::songEnded},
        {"a device failed", "tone-44k-stereo.mp3", nullptr, 40, &CEngineEvents::deviceFailed},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.pszName);
        PlayerFixture f;
        SetDeviceDeath(c.nDieAfterBlocks);
        CAudioPlayer engine;
        ASSERT_EQ(engine.Init(), S_OK);
        QSignalSpy told(&engine.Events(), c.signal);
        ASSERT_EQ(engine.Open(FixturePath(c.pszSong).toUtf8().constData()), S_OK);
        ASSERT_EQ(engine.Play(0), S_OK);
        if (c.pszNext) {
            ASSERT_EQ(engine.PrepareNext(FixturePath(c.pszNext).toUtf8().constData()), S_OK);
        }
        EXPECT_TRUE(told.wait(10000));
    }
}

TEST(EngineEvents, StopTellsNothing)
{
    PlayerFixture f(1.0);
    CAudioPlayer engine;
    ASSERT_EQ(engine.Init(), S_OK);
    QSignalSpy ended(&engine.Events(), &CEngineEvents::songEnded);
    ASSERT_EQ(engine.Open(FixturePath("tone-44k-stereo.mp3").toUtf8().constData()), S_OK);
    ASSERT_EQ(engine.Play(0), S_OK);
    ASSERT_EQ(engine.Stop(), S_OK);
    EXPECT_FALSE(ended.wait(300)) << "the control would report a stopped song as ended";
}

// A song with no length that plays nothing, on a device that fails at once: both are said, each
// once, before the progress timer's second tick could have seen the ended song.
TEST(EngineEvents, AFailedSongAndAFailedDeviceAreBothReported)
{
    PlayerFixture f;
    ScopedTempFolder folder;
    const QString song = folder.FilePath(QStringLiteral("no-length.flac"));
    // FLAC written to a pipe does not know its length.
    const ProgramResult made = RunProgram(QStringLiteral("ffmpeg"),
                                          {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-f"),
                                           QStringLiteral("lavfi"), QStringLiteral("-i"), QStringLiteral("sine=duration=1"),
                                           QStringLiteral("-f"), QStringLiteral("flac"), QStringLiteral("-")});
    ASSERT_TRUE(made.bFinished && made.nExitCode == 0) << made.errors.constData();
    folder.WriteFile(QStringLiteral("no-length.flac"), made.output);
    SetDeviceDeath(0);
    f.ctrl->SetDeviceRecovery(5);
    f.ctrl->addFile(SongFor(song), 0);
    QSignalSpy failed(f.ctrl, &CMediaPlayerCtrl::songFailed);
    QSignalSpy stopped(f.ctrl, &CMediaPlayerCtrl::deviceStopped);

    ASSERT_EQ(f.ctrl->PlayStart(song.toUtf8().constData()), 1);
    EXPECT_TRUE(WaitUntil([&] { return !failed.isEmpty() && !stopped.isEmpty(); }, 1800));
    f.ctrl->OnTimer(kProgressTimerId);
    f.ctrl->OnTimer(kProgressTimerId);
    EXPECT_EQ(failed.size(), 1);
    EXPECT_EQ(stopped.size(), 1);
}

// The song to follow is missing when it would be prepared (a tagger rewriting it): it is reported,
// and once it is back the progress timer starts it at the end of the playing song.
TEST(EngineEvents, AFailedPreparationIsReportedAndTheSongStillStarts)
{
    PlayerFixture f;
    ScopedTempFolder folder;
    const QString next = folder.FilePath(QStringLiteral("rewritten.flac"));
    f.Add({QStringLiteral("gapless-1.flac")});
    f.ctrl->addFile(SongFor(next), 0);
    f.ctrl->SetGapless(1);
    QSignalSpy failed(f.ctrl, &CMediaPlayerCtrl::songFailed);
    QSignalSpy started(f.ctrl, &CMediaPlayerCtrl::songStarted);

    ASSERT_EQ(f.ctrl->PlayStart(FixturePath("gapless-1.flac").toUtf8().constData()), 1);
    ASSERT_EQ(failed.size(), 1);
    EXPECT_EQ(failed[0][0].toString(), next);
    EXPECT_EQ(failed[0][1].toString(), QStringLiteral("no such file"));
    ASSERT_TRUE(QFile::copy(FixturePath("gapless-2.flac"), next));
    EXPECT_TRUE(WaitUntil([&] { return started.size() == 2; }, 8000));
    EXPECT_EQ(f.ctrl->GetCurrentIndex(), 1);
    EXPECT_EQ(failed.size(), 1);
}

} // namespace
