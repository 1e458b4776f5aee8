// A folder of 5,000 songs read off the window's thread: the event loop keeps turning, the songs
// arrive complete and in order, and a cancel stops them.
#include <QDir>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTimer>
#include <gtest/gtest.h>
#include <unistd.h>

#include "PlayerTestSupport.h"
#include "player/CSongScanner.h"

using namespace tunivox::test;

namespace {

// Milliseconds this thread has waited, runnable, for a processor that other programs had.
double RunQueueWaitMs()
{
    QFile stat(QStringLiteral("/proc/thread-self/schedstat"));
    if (!stat.open(QIODevice::ReadOnly))
        return 0;
    return stat.readAll().split(' ').value(1).toDouble() / 1e6;
}

} // namespace

TEST(FolderScan, FiveThousandSongsArriveInOrderWhileTheWindowKeepsResponding)
{
    PlayerFixture f;
    f.host->show();
    (void)QTest::qWaitForWindowExposed(f.host.get());
    ScopedTempFolder root;
    // Hard links of one real song: 50 folders of 100, named so that their order is known.
    const QByteArray source = QFile::encodeName(FixturePath(QStringLiteral("chord-44k-stereo-vbr.mp3")));
    QStringList expected;
    for (int d = 0; d < 50; ++d) {
        const QString folder = root.FilePath(QStringLiteral("songs/%1").arg(d, 2, 10, QLatin1Char('0')));
        ASSERT_TRUE(QDir().mkpath(folder));
        for (int i = 0; i < 100; ++i) {
            const QString file = folder + QStringLiteral("/%1.mp3").arg(i, 3, 10, QLatin1Char('0'));
            ASSERT_EQ(::link(source.constData(), QFile::encodeName(file).constData()), 0);
            expected.append(file);
        }
    }

    QSignalSpy finished(f.ctrl, &CMediaPlayerCtrl::scanFinished);
    QSignalSpy progress(f.ctrl, &CMediaPlayerCtrl::scanProgress);
    // The event loop's longest pause: the time between two turns of a 5 ms timer, less the time the
    // machine ran other programs instead (a loaded build machine must not fail the test).
    QElapsedTimer clock;
    double last = 0, lastWait = RunQueueWaitMs(), worst = 0, worstWall = 0;
    QTimer beat;
    beat.setTimerType(Qt::PreciseTimer);
    beat.setInterval(5);
    QObject::connect(&beat, &QTimer::timeout, [&] {
        const double now = clock.nsecsElapsed() / 1e6, wait = RunQueueWaitMs();
        worst = std::max(worst, now - last - (wait - lastWait));
        worstWall = std::max(worstWall, now - last);
        last = now;
        lastWait = wait;
    });
    clock.start();
    beat.start();
    f.ctrl->InsertPathsAt(-1, {root.FilePath(QStringLiteral("songs"))});
    ASSERT_TRUE(WaitUntil([&] { return finished.count() == 1; }, 120000));
    beat.stop();
    EXPECT_LT(worst, 50) << "longest time the event loop did not turn, ms (" << worstWall << " ms with other programs' turns)";
    EXPECT_EQ(finished[0][0].toInt(), 5000);
    EXPECT_GT(progress.count(), 1) << "the songs appear in batches";
    EXPECT_EQ(progress.last()[0].toInt(), 5000);
    EXPECT_EQ(progress.last()[1].toString(), root.FilePath(QStringLiteral("songs/49")));
    const QStringList files(f.ctrl->GetFiles().Items().begin(), f.ctrl->GetFiles().Items().end());
    EXPECT_EQ(files, expected);
    ASSERT_EQ(f.ctrl->count(), 5000);
    EXPECT_EQ(f.ctrl->item(4999)->text().section(QLatin1Char('.'), 0, 0), QStringLiteral("5000"));

    // Cancelled after the first batch: what arrived stays, in order, and nothing more comes.
    f.ctrl->ClearPlayList();
    QSignalSpy batches(f.ctrl, &CMediaPlayerCtrl::scanProgress);
    f.ctrl->InsertPathsAt(0, {root.FilePath(QStringLiteral("songs"))});
    f.ctrl->InsertPathsAt(0, {root.FilePath(QStringLiteral("songs/00"))});
    ASSERT_TRUE(WaitUntil([&] { return batches.count() >= 1; }));
    f.ctrl->CancelScan();
    ASSERT_EQ(finished.count(), 2);
    EXPECT_TRUE(finished[1][1].toBool());
    const int kept = f.ctrl->count();
    QTest::qWait(300);
    EXPECT_EQ(f.ctrl->count(), kept);
    EXPECT_FALSE(f.ctrl->IsScanning());
    EXPECT_LT(kept, 5000);
    for (int i = 0; i < kept; ++i)
        ASSERT_EQ(f.ctrl->GetFiles().GetAt(i), expected[i]) << i;
}
