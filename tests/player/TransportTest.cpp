// Transport through the real engine on a fast null device: starting, advancing at the end of a song
// with and without repeat, shuffle, stepping, pausing, seeking, stopping and the volume.
#include <QAction>
#include <QFile>
#include <QFileInfo>
#include <QScrollBar>
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

// The library leaves N and B without a body; the demo host's control plays the previous and next
// song with them. Deleting entries above the playing one keeps them on it (B once reached past the
// list here: play the last of ten, Home, Delete three times, B).
TEST(Transport, TheDemosNAndBKeysAfterDeletingAboveThePlayingSong)
{
    PlayerFixture f(1.0);
    ScopedTempFolder folder;
    auto* demo = new DemoPlayerCtrl(f.host.get());
    demo->SetHostFolders(f.folders.TempFolder(), f.folders.TempFolder());
    demo->Init();
    demo->ClearPlayList();
    QStringList paths;
    for (int i = 0; i < 10; ++i) {
        paths << folder.FilePath(QStringLiteral("song%1.mp3").arg(i));
        ASSERT_TRUE(QFile::link(FixturePath(kLong), paths.last()));
        demo->addFile(SongFor(paths.last()), 0);
    }
    ASSERT_EQ(demo->PlayStart(paths[9].toUtf8().constData()), 1);
    QTest::keyClick(demo, Qt::Key_Home);
    for (int i = 0; i < 3; ++i)
        QTest::keyClick(demo, Qt::Key_Delete);
    EXPECT_EQ(demo->GetCurrentIndex(), 6);
    QTest::keyClick(demo, Qt::Key_B);
    EXPECT_EQ(demo->GetPlayingFileName(), paths[8]);
    EXPECT_TRUE(demo->GetAudioPlayer()->m_bPlaying);
    QTest::keyClick(demo, Qt::Key_N);
    EXPECT_EQ(demo->GetPlayingFileName(), paths[9]);
    delete demo;
}

// With the selection left to the user, no song change or list edit moves the selection or the
// scroll position; the marker stays on the playing song, and a deleted playing entry's follower
// comes next.
TEST(Transport, WithTheSelectionLeftToTheUserOnlyTheMarkerFollowsThePlayingSong)
{
    constexpr int kEntries = 24;
    constexpr int kPlaying = 2;
    constexpr int kSelected = 20;
    using Act = std::function<void(CMediaPlayerCtrl&)>;
    const auto pressDelete = [](int row) {
        return [row](CMediaPlayerCtrl& c) {
            c.setCurrentRow(row);
            QTest::keyClick(&c, Qt::Key_Delete);
        };
    };
    const Act next = [](CMediaPlayerCtrl& c) { c.Next(); };
    const Act prev = [](CMediaPlayerCtrl& c) { c.Prev(); };
    const Act none = [](CMediaPlayerCtrl&) {};
    const struct {
        const char* name;
        Act userEdit; // before the user selects and scrolls again
        Act change;   // what moves the song on
        int playingSong; // -1: no marker; -2: any song
    } cases[] = {
        {"Next", none, next, kPlaying + 1},
        {"Prev", none, prev, kPlaying - 1},
        {"the end of the song", none,
         [](CMediaPlayerCtrl& c) {
             c.m_bUpdateProgress = 1;
             c.GetAudioPlayer()->Stop(); // the engine is done, as at the end of the song
             c.OnTimer(kProgressTimerId);
         },
         kPlaying + 1},
        {"shuffle's Next", none,
         [](CMediaPlayerCtrl& c) {
             c.SetShuflleMode(1);
             c.Next();
             c.SetShuflleMode(0);
         },
         -2},
        {"Delete above the playing entry, then Next", pressDelete(0), next, kPlaying + 1},
        {"Delete the playing entry", pressDelete(kPlaying), none, -1},
        {"Delete the playing entry, then Next", pressDelete(kPlaying), next, kPlaying + 1},
        {"Delete the playing entry, then Prev", pressDelete(kPlaying), prev, kPlaying - 1},
    };
    PlayerFixture f(1.0);
    ScopedTempFolder folder;
    f.host->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(f.host.get()));
    f.ctrl->SetSelectionFollowsPlaying(0);
    QStringList paths;
    for (int i = 0; i < kEntries; ++i) {
        paths << folder.FilePath(QStringLiteral("song %1.mp3").arg(i, 2, 10, QLatin1Char('0')));
        ASSERT_TRUE(QFile::link(FixturePath(kLong), paths.last()));
    }
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        f.ctrl->ClearPlayList();
        for (const QString& path : paths)
            f.ctrl->addFile(SongFor(path), 0);
        ASSERT_EQ(f.ctrl->PlayStart(paths[kPlaying].toUtf8().constData()), 1);
        c.userEdit(*f.ctrl);
        const int selectedRow = static_cast<int>(f.ctrl->GetFiles().Items().indexOf(paths[kSelected]));
        f.ctrl->setCurrentRow(selectedRow);
        f.ctrl->scrollToBottom();
        const int scrolled = f.ctrl->verticalScrollBar()->value();
        ASSERT_GT(scrolled, 0) << "the list is long enough to scroll";

        c.change(*f.ctrl);

        const int playingRow = f.ctrl->GetPlayingRow();
        if (c.playingSong == -1) {
            EXPECT_EQ(playingRow, -1);
        } else {
            ASSERT_GE(playingRow, 0);
            const QString playing = f.ctrl->GetFiles().GetAt(playingRow);
            if (c.playingSong >= 0) {
                EXPECT_EQ(playing, paths[c.playingSong]);
            }
            EXPECT_EQ(QString::fromUtf16(reinterpret_cast<const char16_t*>(f.ctrl->GetAudioPlayer()->m_pwszFileName)),
                      playing) << "the marked song is the one the engine plays";
        }
        EXPECT_EQ(f.ctrl->selectedItems().size(), 1);
        EXPECT_EQ(f.ctrl->currentRow(), selectedRow);
        EXPECT_EQ(f.ctrl->verticalScrollBar()->value(), scrolled);
    }
}

// Each state signal fires once per change, whatever made it, and nothing fires for a call that
// changes nothing.
TEST(Transport, StateSignalsFireOncePerChange)
{
    PlayerFixture f(1.0);
    ScopedTempFolder folder;
    QStringList paths;
    for (int i = 0; i < 4; ++i) {
        paths << folder.FilePath(QStringLiteral("song %1.mp3").arg(i));
        ASSERT_TRUE(QFile::link(FixturePath(kLong), paths.last()));
        f.ctrl->addFile(SongFor(paths.last()), 0);
    }
    QStringList log;
    CMediaPlayerCtrl* c = f.ctrl;
    QObject::connect(c, &CMediaPlayerCtrl::stateChanged, [&](CMediaPlayerCtrl::PlaybackState s) { log << QStringLiteral("state %1").arg(s); });
    QObject::connect(c, &CMediaPlayerCtrl::currentIndexChanged, [&](int i) { log << QStringLiteral("index %1").arg(i); });
    QObject::connect(c, &CMediaPlayerCtrl::volumeChanged, [&](int v) { log << QStringLiteral("volume %1").arg(v); });
    QObject::connect(c, &CMediaPlayerCtrl::repeatChanged, [&](bool b) { log << QStringLiteral("repeat %1").arg(b); });
    QObject::connect(c, &CMediaPlayerCtrl::shuffleChanged, [&](bool b) { log << QStringLiteral("shuffle %1").arg(b); });
    QObject::connect(c, &CMediaPlayerCtrl::songStartedAt, [&](const QString& path, int row) {
        log << QStringLiteral("started %1 at %2").arg(QFileInfo(path).fileName()).arg(row);
    });
    const struct {
        const char* name;
        std::function<void()> act;
        QStringList expected;
    } steps[] = {
        {"PlayStart", [&] { c->PlayStart(paths[2]); }, {"state 1", "index 2", "started song 2.mp3 at 2"}},
        {"Pause", [&] { c->Pause(); }, {"state 2"}},
        {"resume",
         [&] {
             ASSERT_TRUE(WaitUntil([&] { return c->GetAudioPlayer()->m_bPaused != 0; }));
             c->Pause();
         },
         {"state 1"}},
        {"the same volume twice", [&] { c->SetVolume(40); c->SetVolume(40); }, {"volume 60"}},
        {"repeat twice", [&] { c->SetRepeatMode(1); c->SetRepeatMode(1); }, {"repeat 1"}},
        {"shuffle on and off", [&] { c->SetShuflleMode(1); c->SetShuflleMode(0); }, {"shuffle 1", "shuffle 0"}},
        {"Delete above the playing entry", [&] { c->setCurrentRow(0); QTest::keyClick(c, Qt::Key_Delete); }, {"index 1"}},
        {"Next", [&] { c->Next(); }, {"index 2", "started song 3.mp3 at 2"}},
        {"Stop, twice", [&] { c->Stop(); c->Stop(); }, {"state 0"}},
        {"Clear", [&] { c->ClearPlayList(); }, {"index 0"}},
    };
    // The fixture's own start announced what it set up; only the steps' changes count.
    log.clear();
    for (const auto& step : steps) {
        SCOPED_TRACE(step.name);
        step.act();
        EXPECT_EQ(log, step.expected);
        log.clear();
    }
}

// A song start reads the song's record once, after PlayStart returned (on a worker thread), and hands
// it to every reader; a song that starts before the record of the one before arrived drops it.
TEST(Transport, TheSongRecordArrivesAfterTheStartOncePerSong)
{
    PlayerFixture f;
    f.Add(kSongs);
    QStringList read;
    QObject::connect(f.ctrl, &CMediaPlayerCtrl::nowPlayingRead,
                     [&](const CNowPlayingSong& song) { read << QFileInfo(song.strPath).fileName(); });
    ASSERT_EQ(f.ctrl->PlayStart(FixturePath(kSongs[2])), 1);
    EXPECT_TRUE(read.isEmpty()) << "not read within PlayStart";
    ASSERT_TRUE(WaitUntil([&] { return !read.isEmpty(); }));
    EXPECT_EQ(f.ctrl->GetNowPlaying().strPath, FixturePath(kSongs[2]));

    read.clear();
    ASSERT_EQ(f.ctrl->PlayStart(FixturePath(kSongs[0])), 1);
    ASSERT_EQ(f.ctrl->PlayStart(FixturePath(kSongs[1])), 1);
    QTest::qWait(300);
    EXPECT_EQ(read, QStringList{kSongs[1]}) << "the record of a song no longer playing is dropped";
}

// List edits, then each transport call, from every playing entry of six (paths that do not open, so
// the index shows what a call would play): the index keeps naming the playing song or, once that
// song is removed, the entry before its place, so that Next goes on with its follower.
TEST(Transport, ListEditsKeepTheIndexOnThePlayingEntry)
{
    constexpr int kEntries = 6;
    struct Edit
    {
        const char* name;
        std::function<void(PlayerFixture&, int playing)> apply;
        std::function<int(int playing)> playingAfter;
    };
    const auto pressDelete = [](PlayerFixture& f, int row) {
        f.ctrl->setCurrentRow(row);
        QTest::keyClick(f.ctrl, Qt::Key_Delete);
    };
    const Edit edits[] = {
        {"Delete on the first entry", [&](PlayerFixture& f, int) { pressDelete(f, 0); },
         [](int p) { return p - 1; }},
        {"Delete on the last entry", [&](PlayerFixture& f, int) { pressDelete(f, kEntries - 1); },
         [](int p) { return p == kEntries - 1 ? p - 1 : p; }},
        {"Delete on the playing entry", [&](PlayerFixture& f, int p) { pressDelete(f, p); },
         [](int p) { return p - 1; }},
        {"the first entry dragged below the last",
         [](PlayerFixture& f, int) {
             CMediaPlayerCtrl& c = *f.ctrl;
             const QPoint from = c.visualItemRect(c.item(0)).center();
             const QRect last = c.visualItemRect(c.item(kEntries - 1));
             const QPoint to(last.center().x(), last.bottom() - 2);
             QTest::mousePress(c.viewport(), Qt::LeftButton, {}, from);
             QTest::mouseMove(c.viewport(), from + QPoint(0, 6));
             QTest::mouseMove(c.viewport(), to);
             QTest::mouseRelease(c.viewport(), Qt::LeftButton, {}, to);
         },
         [](int p) { return p == 0 ? kEntries - 1 : p - 1; }},
        {"a song inserted at the top",
         [](PlayerFixture& f, int) {
             f.ctrl->InsertPathsAt(0, {FixturePath(kSongs[0])});
             ASSERT_TRUE(WaitUntil([&] { return !f.ctrl->IsScanning(); }));
         },
         [](int p) { return p + 1; }},
        {"Clear, then the songs again",
         [](PlayerFixture& f, int) {
             f.ctrl->ClearPlayList();
             for (int i = 0; i < kEntries; ++i)
                 f.ctrl->addFile(SongFor(QStringLiteral("/nowhere/song%1.mp3").arg(i)), 0);
         },
         [](int) { return 0; }},
    };
    enum Call { Next, Prev, Play, Stop, AtEnd };
    PlayerFixture f;
    f.host->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(f.host.get()));
    f.ctrl->SetRepeatMode(1); // the end of a song always advances
    for (const Edit& edit : edits) {
        for (int playing = 0; playing < kEntries; ++playing) {
            for (const Call call : {Next, Prev, Play, Stop, AtEnd}) {
                SCOPED_TRACE(testing::Message() << edit.name << ", playing " << playing << ", call " << call);
                f.ctrl->ClearPlayList();
                for (int i = 0; i < kEntries; ++i)
                    f.ctrl->addFile(SongFor(QStringLiteral("/nowhere/song%1.mp3").arg(i)), 0);
                f.ctrl->setCurrentRow(playing);
                f.ctrl->m_nCurrentIndex = playing;
                edit.apply(f, playing);
                const int n = f.ctrl->count();
                const int q = edit.playingAfter(playing);
                ASSERT_EQ(n, f.ctrl->GetFiles().GetSize());
                ASSERT_EQ(f.ctrl->GetCurrentIndex(), q);
                f.ctrl->m_bStopped = 0;
                const int selected = std::max(f.ctrl->currentRow(), 0);
                switch (call) {
                case Next: f.ctrl->Next(); break;
                case Prev: f.ctrl->Prev(); break;
                case Play: f.ctrl->Play(); break;
                case Stop: f.ctrl->Stop(); break;
                case AtEnd:
                    f.ctrl->m_bUpdateProgress = 1;
                    f.ctrl->OnTimer(kProgressTimerId);
                    break;
                }
                const int next = q + 1 < n ? q + 1 : 0;
                const int expected[] = {next, q <= 0 ? n - 1 : q - 1, selected, q, next};
                EXPECT_EQ(f.ctrl->GetCurrentIndex(), expected[call]);
            }
        }
    }
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

// The position slider follows the song and seeks when a drag or a key step ends; keys step by the
// classic sizes unless the listener's steps are on; the volume slider and SetVolume run on inverted
// scales.
TEST(Transport, TheSlidersSeekStepAndSetTheVolume)
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

    CSliderCtrlEx* position = f.ctrl->GetTrackbar(); // 12 s: 120 tenths
    CSliderCtrlEx* volume = f.ctrl->GetVolumeBar();  // inverted: Right is louder, less attenuation
    struct Case { int bListener; CSliderCtrlEx* slider; Qt::Key key; int from, to; };
    const Case cases[] = {
        {0, position, Qt::Key_Right, 40, 41},        {1, position, Qt::Key_Right, 40, 50},
        {0, position, Qt::Key_PageUp, 110, 86},      {1, position, Qt::Key_PageUp, 110, 10},
        {0, volume, Qt::Key_Right, 30000, 29999},    {1, volume, Qt::Key_Right, 30000, 26723},
        {0, volume, Qt::Key_PageDown, 30000, 43107}, {1, volume, Qt::Key_PageDown, 30000, 36554},
    };
    for (const Case& c : cases) {
        f.ctrl->SetListenerSliderSteps(c.bListener);
        c.slider->SetPos(c.from);
        QTest::keyClick(c.slider, c.key);
        EXPECT_EQ(c.slider->GetPos(), c.to) << c.bListener << " " << c.slider->objectName().toStdString() << " " << c.key;
    }
    EXPECT_EQ(f.ctrl->m_nVolumeLevel, 65535 - 36554) << "the volume follows a key step";
    position->SetPos(0);
    QTest::keyClick(position, Qt::Key_PageDown);
    EXPECT_TRUE(WaitUntil([&] { return f.ctrl->GetAudioPlayer()->GetCurrentTime() >= 100000000ull; }, 2000))
        << "PageDown seeks 10 s on";
}

