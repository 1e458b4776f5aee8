#include "controls/InsertMarkOverlay.h"

#include <QPainter>

CInsertMarkOverlay::CInsertMarkOverlay(QWidget* parent) : QWidget(parent)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_NoSystemBackground);
    setFocusPolicy(Qt::NoFocus);
    setAutoFillBackground(false);
    setGeometry(parent->rect());
}

void CInsertMarkOverlay::SetArrows(const QPolygon& left, const QPolygon& right)
{
    // The bounding boxes grown by a pixel, so that the outline pixels go too.
    const QRect oldArea = (m_left.boundingRect() | m_right.boundingRect()).adjusted(-1, -1, 1, 1);
    m_left = left;
    m_right = right;
    if (parentWidget() && geometry() != parentWidget()->rect())
        setGeometry(parentWidget()->rect());
    if (HasArrows()) {
        raise();
        show();
        update((m_left.boundingRect() | m_right.boundingRect()).adjusted(-1, -1, 1, 1));
    }
    if (!oldArea.isEmpty())
        update(oldArea);
}

void CInsertMarkOverlay::paintEvent(QPaintEvent*)
{
    if (!HasArrows())
        return;
    QPainter painter(this);
    painter.setPen(QPen(Qt::black, 1));
    painter.setBrush(Qt::black);
    painter.drawPolygon(m_left, Qt::OddEvenFill);
    painter.drawPolygon(m_right, Qt::OddEvenFill);
}
