// Transport through the real engine on a fast null device: starting, advancing at the end of a song
// with and without repeat, shuffle, stepping, pausing, seeking, stopping and the volume.
#include <QAction>
#include <QSignalSpy>
#include <QTest>
#include <functional>
#include <gtest/gtest.h>

#include "PlayerTestSupport.h"
#include "player/CMediaPlayerToolbar.h"
#include "demo/DemoPlayerCtrl.h"
#include "controls/CSliderCtrlEx.h"

using namespace tunivox::test;

namespace {

const QStringList kSongs = {QStringLiteral("short-44k-stereo.wav"), QStringLiteral("tone-48k-mono.wav"),
                            QStringLiteral("chord-44k-stereo.flac")};
const QString kLong = QStringLiteral("long-44k-stereo.mp3");

// Ticks the progress timer until the control moved on from `index` or `limit` ticks passed.
void TickUntilAdvanced(PlayerFixture& f, int index, int limit = 40)
{
    for (int i = 0; i < limit && f.ctrl->GetCurrentIndex() == index; ++i) {
        f.ctrl->OnTimer(291);
        QTest::qWait(20);
    }
}

} // namespace

TEST(Transport, PlayStartPlaysAndNotifiesTheHost)
{
    PlayerFixture f;
    f.Add(kSongs);
    int started = 0;
    QObject::connect(f.ctrl, &CMediaPlayerCtrl::songStarted, [&] { ++started; });
    ASSERT_EQ(f.ctrl->PlayStart(FixturePath(kSongs[2]).toUtf8().constData()), 1);
    QCoreApplication::processEvents();
    EXPECT_EQ(f.host->Count(WM_PLAYER_SONG_STARTED), 1);
    EXPECT_EQ(f.host->wParams.value(0), 77u);
    EXPECT_EQ(started, 1);
    EXPECT_EQ(f.ctrl->GetCurrentIndex(), 2);
    EXPECT_TRUE(f.ctrl->IsPlaying());
    EXPECT_FALSE(f.ctrl->IsStopped());
    EXPECT_TRUE(f.ctrl->GetAudioPlayer()->m_bPlaying);
    EXPECT_EQ(f.ctrl->GetTotalText(), QStringLiteral("00:03"));
    EXPECT_EQ(f.ctrl->GetTrackbar()->GetRangeMax(), 30) << "tenths of a second";
    EXPECT_TRUE(f.ctrl->GetTrackbar()->isEnabled());
    EXPECT_EQ(f.ctrl->GetPlayingSongName(), QStringLiteral("3. Artist - chord-44k-stereo.flac"));
}

// The end of a song starts the next; the end of the last wraps to the first only with repeat.
TEST(Transport, TheEndOfTheLastEntryWrapsOnlyWithRepeat)
{
    for (const int repeat : {0, 1}) {
        SCOPED_TRACE(repeat ? "repeat" : "no repeat");
        PlayerFixture f(200.0);
        f.Add(kSongs);
        f.ctrl->SetRepeatMode(repeat);
        f.ctrl->setCurrentRow(1);
        ASSERT_EQ(f.ctrl->Play(), 1);
        ASSERT_EQ(f.ctrl->GetCurrentIndex(), 1);
        ASSERT_TRUE(f.EngineFinished());
        TickUntilAdvanced(f, 1);
        EXPECT_EQ(f.ctrl->GetCurrentIndex(), 2) << "the end of a song starts the next";
        ASSERT_TRUE(f.EngineFinished());
        TickUntilAdvanced(f, 2, repeat ? 40 : 10);
        EXPECT_EQ(f.ctrl->GetCurrentIndex(), repeat ? 0 : 2);
        EXPECT_EQ(f.ctrl->currentRow(), f.ctrl->GetCurrentIndex());
        EXPECT_TRUE(repeat || !f.ctrl->GetAudioPlayer()->m_bPlaying) << "without repeat play ends";
    }
}

// Shuffle draws another entry than the selected one, but replays a lone song and leaves a
// double-click playing the clicked one.
TEST(Transport, ShuffleDrawsAnotherEntryThanTheSelectedOne)
{
    PlayerFixture f;
    f.Add({kSongs[2]});
    f.ctrl->SetShuflleMode(1);
    f.ctrl->setCurrentRow(0);
    EXPECT_EQ(f.ctrl->PlayStart("anything"), 1);
    EXPECT_EQ(f.ctrl->GetCurrentIndex(), 0);
    EXPECT_TRUE(f.ctrl->GetAudioPlayer()->m_bPlaying);

    f.Add({kSongs[0], kSongs[1]});
    for (int selected = 0; selected < 3; ++selected) {
        f.ctrl->setCurrentRow(selected);
        ASSERT_EQ(f.ctrl->PlayStart(""), 1);
        EXPECT_NE(f.ctrl->GetCurrentIndex(), selected);
        EXPECT_EQ(f.ctrl->currentRow(), f.ctrl->GetCurrentIndex());
    }

    // Stopped, and another row than the last drawn: only the double-click can start it.
    const int clicked = (f.ctrl->GetCurrentIndex() + 1) % 3;
    f.ctrl->Stop();
    f.host->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(f.host.get()));
    const QPoint at = f.ctrl->visualItemRect(f.ctrl->item(clicked)).center();
    QTest::mouseClick(f.ctrl->viewport(), Qt::LeftButton, {}, at);
    QTest::mouseDClick(f.ctrl->viewport(), Qt::LeftButton, {}, at);
    EXPECT_EQ(f.ctrl->GetCurrentIndex(), clicked) << "a double-click plays the clicked song";
    EXPECT_TRUE(f.ctrl->IsShuffle()) << "shuffle is back on after the click";
    EXPECT_TRUE(f.ctrl->GetAudioPlayer()->m_bPlaying);
}

// In a list that allows several selected entries, moving to another song leaves only that one
// selected (a stale selection would make Delete remove two songs).
TEST(Transport, InAMultiSelectionListOnlyTheNewSongStaysSelected)
{
    struct Row
    {
        const char* name;
        int from;
        std::function<void(CMediaPlayerCtrl*)> move;
    };
    const Row rows[] = {
        {"Next", 0, [](CMediaPlayerCtrl* c) { c->Next(); }},
        {"Prev", 1, [](CMediaPlayerCtrl* c) { c->Prev(); }},
        {"Shuffle", 0, [](CMediaPlayerCtrl* c) {
             c->SetShuflleMode(1);
             c->PlayStart("");
         }},
    };
    for (const Row& row : rows) {
        PlayerFixture f;
        f.Add(kSongs);
        f.ctrl->setSelectionMode(QAbstractItemView::ExtendedSelection);
        f.ctrl->setCurrentRow(row.from);
        f.ctrl->m_nCurrentIndex = row.from;
        row.move(f.ctrl);
        const QList<QListWidgetItem*> selected = f.ctrl->selectedItems();
        ASSERT_EQ(selected.size(), 1) << row.name;
        EXPECT_NE(f.ctrl->row(selected[0]), row.from) << row.name;
    }
}

// The library leaves N and B without a body; the demo host's control plays the next and previous
// song with them (stopped: only the selection moves, as Next and Prev do).
TEST(Transport, TheDemosControlMovesWithNAndB)
{
    PlayerFixture f;
    auto* demo = new DemoPlayerCtrl(f.host.get());
    demo->SetHostFolders(f.folders.TempFolder(), f.folders.TempFolder());
    demo->Init();
    demo->ClearPlayList();
    for (const QString& name : kSongs)
        demo->addFile(SongFor(FixturePath(name), QStringLiteral("Artist"), name), 0);
    demo->m_nCurrentIndex = 0;
    QTest::keyClick(demo, Qt::Key_N);
    EXPECT_EQ(demo->currentRow(), 1);
    demo->m_nCurrentIndex = 1;
    QTest::keyClick(demo, Qt::Key_B);
    EXPECT_TRUE(demo->item(0)->isSelected());
    EXPECT_FALSE(demo->item(1)->isSelected());
    delete demo;
}

// A song that cannot be played is reported with a reason: at once when it will not open, and at
// the end when FFmpeg opened it but it held no sound and no length (text named .flac).
TEST(Transport, AnUnplayableSongIsReportedWithAReason)
{
    PlayerFixture f;
    ScopedTempFolder folder;
    const QString missing = folder.FilePath(QStringLiteral("missing.mp3"));
    const QString text = folder.WriteFile(QStringLiteral("text.flac"), "just some text\n");
    f.ctrl->addFile(SongFor(missing), 0);
    f.ctrl->addFile(SongFor(text), 0);
    f.Add({kSongs[0]});
    QSignalSpy failed(f.ctrl, &CMediaPlayerCtrl::songFailed);

    EXPECT_EQ(f.ctrl->PlayStart(missing.toUtf8().constData()), 0);
    ASSERT_EQ(failed.size(), 1);
    EXPECT_EQ(failed[0][0].toString(), missing);
    EXPECT_EQ(failed[0][1].toString(), QStringLiteral("no such file"));

    ASSERT_EQ(f.ctrl->PlayStart(text.toUtf8().constData()), 1);
    ASSERT_TRUE(f.EngineFinished());
    f.ctrl->OnTimer(291);
    f.ctrl->OnTimer(291);
    ASSERT_EQ(failed.size(), 2) << "once, though the ticks see the ended song again";
    EXPECT_EQ(failed[1][0].toString(), text);
    EXPECT_EQ(failed[1][1].toString(), QStringLiteral("not an audio file the player can decode"));
    EXPECT_EQ(f.ctrl->GetCurrentIndex(), 2) << "and the next song plays";
}

TEST(Transport, DoEventsReportsAQuitItPumped)
{
    PlayerFixture f;
    EXPECT_EQ(f.ctrl->DoEvents(), 0);
    QCoreApplication::postEvent(QCoreApplication::instance(), new QEvent(QEvent::Quit));
    EXPECT_EQ(f.ctrl->DoEvents(), 1);
    EXPECT_EQ(f.ctrl->DoEvents(), 0);
}

// The play order from every entry of a list of four (paths that do not open, so nothing plays and
// only the choice is seen). Stopped, Next moves the selection and the caret, Prev only the selection;
// not stopped, they and the end of a song set the index of the song they start.
TEST(Transport, PlayOrderFromEveryEntry)
{
    struct Row
    {
        int index;
        int row;     // the selected row (the timer's rule looks at it, not at the index)
        int repeat;
        int next;
        int prev;
        int atEnd;   // the index after the progress timer saw the song end
    };
    const Row rows[] = {
        {-1, 0, 0, 0, 3, 0}, {0, 0, 0, 1, 3, 1}, {1, 1, 0, 2, 0, 2}, {2, 2, 0, 3, 1, 3},
        {3, 3, 0, 0, 2, 3},  // play ends after the last entry
        {3, 3, 1, 0, 2, 0},  // repeat wraps
        {3, 1, 0, 0, 2, 0},  // the selected row decides, not the index: this wraps without repeat
        {1, 3, 0, 2, 0, 1},
    };
    PlayerFixture f;
    for (int i = 0; i < 4; ++i)
        f.ctrl->addFile(SongFor(QStringLiteral("/nowhere/song%1.mp3").arg(i)), 0);
    const auto start = [&](const Row& r, BOOL stopped) {
        f.ctrl->SetRepeatMode(r.repeat);
        f.ctrl->setCurrentRow(r.row);
        f.ctrl->m_nCurrentIndex = r.index;
        f.ctrl->m_bStopped = stopped;
    };
    const auto selected = [&] {
        QList<int> rows;
        for (QListWidgetItem* it : f.ctrl->selectedItems())
            rows.append(f.ctrl->row(it));
        return rows;
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(testing::Message() << "index " << r.index << " row " << r.row << " repeat " << r.repeat);
        start(r, 1);
        EXPECT_EQ(f.ctrl->Next(), 1);
        EXPECT_EQ(f.ctrl->currentRow(), r.next);
        EXPECT_EQ(selected(), QList<int>{r.next});
        start(r, 1);
        EXPECT_EQ(f.ctrl->Prev(), 1);
        EXPECT_EQ(f.ctrl->currentRow(), r.row) << "Prev leaves the caret";
        EXPECT_EQ(selected(), QList<int>{r.prev});
        EXPECT_EQ(f.ctrl->m_nCurrentIndex, r.index) << "stopped: no song starts";

        start(r, 0);
        f.ctrl->Next();
        EXPECT_EQ(f.ctrl->m_nCurrentIndex, r.next);
        start(r, 0);
        f.ctrl->Prev();
        EXPECT_EQ(f.ctrl->m_nCurrentIndex, r.prev);
        start(r, 0);
        f.ctrl->m_bUpdateProgress = 1;
        f.ctrl->OnTimer(kProgressTimerId);
        EXPECT_EQ(f.ctrl->m_nCurrentIndex, r.atEnd);
    }
}

TEST(Transport, NextAndPrevPlayUnlessStoppedAndFailOnAnEmptyList)
{
    PlayerFixture f;
    f.Add(kSongs);
    ASSERT_EQ(f.ctrl->PlayStart(FixturePath(kSongs[0]).toUtf8().constData()), 1);
    EXPECT_EQ(f.ctrl->Next(), 1);
    EXPECT_EQ(f.ctrl->GetCurrentIndex(), 1);
    EXPECT_TRUE(f.ctrl->GetAudioPlayer()->m_bPlaying);
    EXPECT_EQ(f.ctrl->Prev(), 1);
    EXPECT_EQ(f.ctrl->GetCurrentIndex(), 0);

    f.ctrl->ClearPlayList();
    EXPECT_EQ(f.ctrl->Next(), 0);
    EXPECT_EQ(f.ctrl->Prev(), 0);
    EXPECT_EQ(f.ctrl->Play(), 0);
}

TEST(Transport, PauseTogglesItsButtonAndStopIsIdempotent)
{
    PlayerFixture f(1.0);
    f.Add({kLong});
    QAction* pause = f.ctrl->GetToolbar()->CommandAction(kCommandPause);
    ASSERT_NE(pause, nullptr);
    const auto enginePaused = [&](bool paused) {
        return WaitUntil([&] { return bool(f.ctrl->GetAudioPlayer()->m_bPaused) == paused; });
    };
    EXPECT_EQ(f.ctrl->Pause(), 0) << "nothing to pause while stopped";
    ASSERT_EQ(f.ctrl->PlayStart(FixturePath(kLong).toUtf8().constData()), 1);
    ASSERT_TRUE(WaitUntil([&] { return f.ctrl->GetAudioPlayer()->GetCurrentTime() > 0; }));
    ASSERT_EQ(f.ctrl->Pause(), 1);
    EXPECT_TRUE(pause->isChecked());
    ASSERT_TRUE(enginePaused(true));
    EXPECT_TRUE(f.ctrl->IsPaused());
    const quint64 frozen = f.ctrl->GetAudioPlayer()->GetCurrentTime();
    QTest::qWait(150);
    EXPECT_EQ(f.ctrl->GetAudioPlayer()->GetCurrentTime(), frozen);
    EXPECT_EQ(f.ctrl->Pause(), 1) << "again: resumes";
    EXPECT_FALSE(pause->isChecked());
    ASSERT_TRUE(enginePaused(false));
    ASSERT_EQ(f.ctrl->Pause(), 1);
    ASSERT_TRUE(enginePaused(true));
    EXPECT_EQ(f.ctrl->Play(), 1) << "Play while paused resumes";
    ASSERT_TRUE(enginePaused(false));
    EXPECT_FALSE(f.ctrl->IsPaused());

    ASSERT_EQ(f.ctrl->Pause(), 1);
    EXPECT_EQ(f.ctrl->Stop(), 1);
    EXPECT_FALSE(pause->isChecked()) << "stopped is not paused";
    EXPECT_TRUE(f.ctrl->IsStopped());
    EXPECT_EQ(f.ctrl->GetAudioPlayer()->m_hDecodeThread, nullptr);
    EXPECT_EQ(f.ctrl->GetElapsedText(), QStringLiteral("00:00"));
    EXPECT_FALSE(f.ctrl->GetTrackbar()->isEnabled());
    EXPECT_EQ(f.ctrl->Stop(), 1) << "a second Stop does nothing and succeeds";
}

// The position slider follows the song and seeks when a drag ends; the volume slider and SetVolume
// run on inverted scales.
TEST(Transport, TheSlidersSeekAndSetTheVolume)
{
    PlayerFixture f(1.0);
    f.Add({kLong});
    ASSERT_EQ(f.ctrl->PlayStart(FixturePath(kLong).toUtf8().constData()), 1);
    f.ctrl->OnTimer(291);   // the first tick only enables the updates
    EXPECT_TRUE(f.ctrl->m_bUpdateProgress);

    f.ctrl->ProcessTrackbar(TB_THUMBTRACK, 80);
    EXPECT_FALSE(f.ctrl->m_bUpdateProgress) << "dragging freezes the progress display";
    f.ctrl->GetTrackbar()->SetPos(80);
    f.ctrl->ProcessTrackbar(TB_ENDTRACK, 80);
    ASSERT_TRUE(WaitUntil([&] { return f.ctrl->GetAudioPlayer()->GetCurrentTime() >= 80000000ull; }));
    f.ctrl->OnTimer(291);
    f.ctrl->OnTimer(291);
    EXPECT_GE(f.ctrl->GetTrackbar()->GetPos(), 80);
    EXPECT_LT(f.ctrl->GetTrackbar()->GetPos(), 95);
    EXPECT_TRUE(f.ctrl->GetElapsedText().startsWith(QStringLiteral("00:0")));

    f.ctrl->SetVolume(0);
    EXPECT_EQ(f.ctrl->GetVolume(), 100) << "0 is full volume";
    f.ctrl->SetVolume(100);
    EXPECT_EQ(f.ctrl->GetVolume(), 0);
    f.ctrl->SetVolume(75);
    EXPECT_EQ(f.ctrl->GetVolume(), 24);
    f.ctrl->SetVolume(101);
    EXPECT_EQ(f.ctrl->GetVolume(), 24) << "out of range is ignored";
    f.ctrl->GetVolumeBar()->SetPos(65535 - 32768);
    f.ctrl->ProcessVolumeBar(TB_ENDTRACK, 0);
    EXPECT_EQ(f.ctrl->m_nVolumeLevel, 32768);
    EXPECT_EQ(f.ctrl->GetVolume(), 50);
}
