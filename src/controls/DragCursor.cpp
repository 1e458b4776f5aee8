#include "controls/DragCursor.h"

#include <QApplication>
#include <QCursor>
#include <QPainter>
#include <QPixmap>
#include <QPolygon>

namespace {

bool g_bOverridden = false;

QCursor MakeDragCursor()
{
    QPixmap pixmap(32, 32);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    const QPolygon arrow({{0, 0}, {0, 16}, {4, 12}, {7, 19}, {9, 18}, {6, 11}, {11, 11}});
    painter.setPen(Qt::white);
    painter.setBrush(Qt::black);
    painter.drawPolygon(arrow);
    // The dragged item: a small box below and right of the tip.
    painter.setBrush(Qt::white);
    painter.setPen(Qt::black);
    painter.drawRect(12, 18, 14, 9);
    painter.drawLine(14, 21, 23, 21);
    painter.drawLine(14, 24, 20, 24);
    painter.end();
    return QCursor(pixmap, 0, 0);
}

void Show(const QCursor& cursor)
{
    if (g_bOverridden) {
        QApplication::changeOverrideCursor(cursor);
    } else {
        QApplication::setOverrideCursor(cursor);
        g_bOverridden = true;
    }
}

} // namespace

void ShowDragCursor()
{
    // Never destroyed: a pixmap must not outlive the application object at exit.
    static const QCursor* cursor = new QCursor(MakeDragCursor());
    Show(*cursor);
}

void ShowNoDropCursor()
{
    Show(QCursor(Qt::ForbiddenCursor));
}

void RestoreDragCursor()
{
    if (!g_bOverridden)
        return;
    QApplication::restoreOverrideCursor();
    g_bOverridden = false;
}
