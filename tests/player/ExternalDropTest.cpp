// Files and folders dropped from other programs, and entries dragged out to them: real drag events
// with text/uri-list data, on a shown window, with the option on and off.
#include <QDir>
#include <QDragEnterEvent>
#include <QMimeData>
#include <QSignalSpy>
#include <QUrl>
#include <gtest/gtest.h>

#include "PlayerTestSupport.h"

using namespace tunivox::test;

namespace {

struct DropFixture : PlayerFixture
{
    QStringList listed;
    DropFixture()
    {
        for (const char* name : {"tone-44k-stereo.mp3", "chord-44k-stereo.flac", "noise-22k-mono.mp3"})
            listed.append(FixturePath(QLatin1String(name)));
        for (const QString& path : listed)
            ctrl->addFile(SongFor(path, QStringLiteral("Artist"), QFileInfo(path).fileName()), 0);
        host->show();
        (void)QTest::qWaitForWindowExposed(host.get());
    }
    QStringList Files() const { return QStringList(ctrl->GetFiles().Items().begin(), ctrl->GetFiles().Items().end()); }
    QPoint AboveRow(int row) const
    {
        QRect rect;
        ctrl->GetItemRect(row, &rect);
        return rect.topLeft() + QPoint(20, 1);
    }
    // Enters, moves to `pt` and drops; returns whether the enter was accepted.
    bool Drop(const QList<QUrl>& urls, QPoint pt, int* markY = nullptr)
    {
        QMimeData mime;
        mime.setUrls(urls);
        QDragEnterEvent enter(pt, Qt::CopyAction | Qt::MoveAction, &mime, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(ctrl->viewport(), &enter);
        QDragMoveEvent move(pt, Qt::CopyAction | Qt::MoveAction, &mime, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(ctrl->viewport(), &move);
        if (markY)
            *markY = ctrl->InsertMarkY();
        QDropEvent drop(pt, Qt::CopyAction | Qt::MoveAction, &mime, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(ctrl->viewport(), &drop);
        return enter.isAccepted();
    }
};

} // namespace

TEST(ExternalDrops, FilesAndFoldersLandAtTheMarkInTheOrderGiven)
{
    DropFixture f;
    ScopedTempFolder drop;
    const QString single = drop.WriteFile(QStringLiteral("single.mp3"), "x");
    const QString second = drop.WriteFile(QStringLiteral("dir/B/2.MP3"), "x");
    const QString first = drop.WriteFile(QStringLiteral("dir/a/1.flac"), "x");
    drop.WriteFile(QStringLiteral("dir/a/notes.txt"), "not a song");
    QSignalSpy finished(f.ctrl, &CMediaPlayerCtrl::scanFinished);

    // The option is off by default: the drop is refused and nothing changes.
    const QList<QUrl> urls {QUrl::fromLocalFile(single), QUrl::fromLocalFile(drop.FilePath(QStringLiteral("dir"))),
                            QUrl::fromLocalFile(f.listed[0]), QUrl(QStringLiteral("https://example.org/a.mp3"))};
    EXPECT_FALSE(f.Drop(urls, f.AboveRow(1)));
    QTest::qWait(50);
    EXPECT_EQ(f.Files(), f.listed);
    EXPECT_EQ(finished.count(), 0);

    f.ctrl->SetAcceptsExternalDrops(1);
    int markY = -1;
    EXPECT_TRUE(f.Drop(urls, f.AboveRow(1), &markY));
    EXPECT_EQ(markY, f.AboveRow(1).y() - 1) << "the insertion mark shows where the songs go";
    EXPECT_EQ(f.ctrl->InsertMarkY(), -1) << "and is gone after the drop";
    ASSERT_TRUE(WaitUntil([&] { return finished.count() == 1; }));
    EXPECT_EQ(finished[0][0].toInt(), 3) << "the listed file is rejected as a duplicate";
    const QStringList expected {f.listed[0], single, first, second, f.listed[1], f.listed[2]};
    EXPECT_EQ(f.Files(), expected);
    ASSERT_EQ(f.ctrl->count(), 6);
    ASSERT_EQ(f.ctrl->GetTitles().GetSize(), 6);
    for (int i = 0; i < 6; ++i)
        EXPECT_TRUE(f.ctrl->item(i)->text().startsWith(QStringLiteral("%1. ").arg(i + 1))) << f.ctrl->item(i)->text().toStdString();
    EXPECT_EQ(f.ctrl->item(1)->text(), QStringLiteral("2. Single"));
    EXPECT_EQ(f.ctrl->item(4)->text(), QStringLiteral("5. Artist - chord-44k-stereo.flac"));
    EXPECT_EQ(f.ctrl->GetTitles().GetAt(4), QStringLiteral("Artist - chord-44k-stereo.flac"));

    // Below the last row: appended.
    const QString last = drop.WriteFile(QStringLiteral("last.wav"), "x");
    QRect rect;
    f.ctrl->GetItemRect(5, &rect);
    EXPECT_TRUE(f.Drop({QUrl::fromLocalFile(last)}, rect.bottomLeft() + QPoint(20, 8)));
    ASSERT_TRUE(WaitUntil([&] { return finished.count() == 2; }));
    EXPECT_EQ(f.Files().last(), last);
    EXPECT_EQ(f.ctrl->item(6)->text(), QStringLiteral("7. Last"));
}

TEST(ExternalDrops, EntriesDraggedOutOfTheWindowGoAsFileUrlsAndStayListed)
{
    for (const int option : {0, 1}) {
        SCOPED_TRACE(option);
        DropFixture f;
        f.ctrl->SetAcceptsExternalDrops(option);
        f.ctrl->setSelectionMode(QAbstractItemView::ExtendedSelection);
        f.ctrl->SetSel(0);
        f.ctrl->SetSel(2);
        std::unique_ptr<QMimeData> mime(f.ctrl->SelectionMimeData());
        EXPECT_EQ(mime->urls(), (QList<QUrl> {QUrl::fromLocalFile(f.listed[0]), QUrl::fromLocalFile(f.listed[2])}));

        // The list's own drag, carried past the window's edge.
        QRect row;
        f.ctrl->GetItemRect(0, &row);
        const QPoint outside = f.ctrl->viewport()->mapFromGlobal(f.host->mapToGlobal(QPoint(f.host->width() + 60, 20)));
        QTest::mousePress(f.ctrl->viewport(), Qt::LeftButton, {}, row.center());
        QTest::mouseMove(f.ctrl->viewport(), row.center() + QPoint(0, QApplication::startDragDistance() + 2));
        QTest::mouseMove(f.ctrl->viewport(), outside);
        // Off: the documented drag goes on (no-drop cursor); on: the desktop's drag took over.
        EXPECT_EQ(f.ctrl->m_nDragState, option ? int(CDragListBoxEx::DragIdle) : int(CDragListBoxEx::DragActive));
        QTest::mouseRelease(f.ctrl->viewport(), Qt::LeftButton, {}, outside);
        EXPECT_EQ(f.ctrl->m_nDragState, int(CDragListBoxEx::DragIdle));
        EXPECT_EQ(f.Files(), f.listed);
    }
}
