// Drops of files and folders from other programs, and drags of entries out to them.
#include <QApplication>
#include <QDrag>
#include <QDragEnterEvent>
#include <QFileInfo>
#include <QMimeData>
#include <QUrl>

#include "player/CMediaPlayerCtrl.h"

namespace {

QStringList LocalPaths(const QMimeData* mime)
{
    QStringList paths;
    if (!mime || !mime->hasUrls())
        return paths;
    for (const QUrl& url : mime->urls())
        if (url.isLocalFile() && !url.toLocalFile().isEmpty())
            paths.append(url.toLocalFile());
    return paths;
}

} // namespace

void CMediaPlayerCtrl::SetAcceptsExternalDrops(int bAccept)
{
    m_bAcceptsDrops = bAccept != 0;
    setAcceptDrops(m_bAcceptsDrops);
    viewport()->setAcceptDrops(m_bAcceptsDrops);
}

QMimeData* CMediaPlayerCtrl::SelectionMimeData() const
{
    QList<int> rows;
    for (const QListWidgetItem* selected : selectedItems())
        rows.append(row(selected));
    std::sort(rows.begin(), rows.end());
    QList<QUrl> urls;
    QStringList paths;
    for (int r : rows) {
        if (r < 0 || r >= m_arrFiles.GetSize())
            continue;
        urls.append(QUrl::fromLocalFile(m_arrFiles.GetAt(r)));
        paths.append(m_arrFiles.GetAt(r));
    }
    auto* mime = new QMimeData;
    mime->setUrls(urls);
    mime->setText(paths.join(QLatin1Char('\n')));
    return mime;
}

UINT CMediaPlayerCtrl::Dragging(QPoint ptScreen)
{
    // Outside every window of this program the drag is handed to the desktop's drag and drop.
    if (m_bAcceptsDrops && !QApplication::widgetAt(ptScreen) && !selectedItems().isEmpty()) {
        StartExternalDrag();
        return 0;
    }
    return CInterDragListBox::Dragging(ptScreen);
}

void CMediaPlayerCtrl::StartExternalDrag()
{
    EndDrag();
    auto* drag = new QDrag(this);
    drag->setMimeData(SelectionMimeData());
    // A copy: the entries stay in the list whatever the other program does with the files.
    drag->exec(Qt::CopyAction, Qt::CopyAction);
}

void CMediaPlayerCtrl::dragEnterEvent(QDragEnterEvent* e)
{
    if (!m_bAcceptsDrops || LocalPaths(e->mimeData()).isEmpty()) {
        e->ignore();
        return;
    }
    e->acceptProposedAction();
    UpdateInsertMark(viewport()->mapToGlobal(e->position().toPoint()));
}

void CMediaPlayerCtrl::dragMoveEvent(QDragMoveEvent* e)
{
    if (!m_bAcceptsDrops || LocalPaths(e->mimeData()).isEmpty()) {
        e->ignore();
        return;
    }
    e->acceptProposedAction();
    const QPoint ptScreen = viewport()->mapToGlobal(e->position().toPoint());
    CheckAutoScroll(ptScreen);
    UpdateInsertMark(ptScreen);
}

void CMediaPlayerCtrl::dragLeaveEvent(QDragLeaveEvent* e)
{
    StopAutoScroll();
    EraseInsertMark();
    e->accept();
}

void CMediaPlayerCtrl::dropEvent(QDropEvent* e)
{
    const QStringList paths = m_bAcceptsDrops ? LocalPaths(e->mimeData()) : QStringList();
    StopAutoScroll();
    EraseInsertMark();
    if (paths.isEmpty()) {
        e->ignore();
        return;
    }
    const int index = IsSorted() ? count() : InsertIndexFromPoint(viewport()->mapToGlobal(e->position().toPoint()));
    e->setDropAction(Qt::CopyAction);
    e->accept();
    InsertPathsAt(index, paths, 0);
}
