#include "controls/CSliderCtrlEx.h"

#include <QKeyEvent>
#include <QLinearGradient>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

CSliderCtrlEx::CSliderCtrlEx(QWidget* parent) : QWidget(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setAttribute(Qt::WA_Hover);
}

void CSliderCtrlEx::SetRange(int nMin, int nMax, BOOL bRedraw)
{
    m_nMin = nMin;
    m_nMax = std::max(nMin, nMax);
    m_nPos = std::clamp(m_nPos, m_nMin, m_nMax);
    if (bRedraw)
        update();
}

void CSliderCtrlEx::SetPos(int nPos)
{
    const int pos = std::clamp(nPos, m_nMin, m_nMax);
    if (pos == m_nPos)
        return;
    m_nPos = pos;
    update();
}

void CSliderCtrlEx::SetPageSize(int nSize)
{
    m_nPageSize = std::max(0, nSize);
}

int CSliderCtrlEx::GetPageSize() const
{
    return m_nPageSize > 0 ? m_nPageSize : std::max(1, (m_nMax - m_nMin) / 5);
}

void CSliderCtrlEx::SetRangeColours(const QColor& start, const QColor& end)
{
    m_crRangeStart = start;
    m_crRangeEnd = end;
    update();
}

QSize CSliderCtrlEx::sizeHint() const
{
    return {160, 22};
}

QSize CSliderCtrlEx::minimumSizeHint() const
{
    return {24, 10};
}

// ---- geometry ----
double CSliderCtrlEx::ThumbRadius() const
{
    // The thumb grows with the height but never crowds a short, wide slider.
    return std::max(3.0, std::min(height() * 0.38, width() / 6.0));
}

QRectF CSliderCtrlEx::ChannelRect() const
{
    const double r = ThumbRadius();
    const double h = std::max(3.0, std::round(height() * 0.28));
    return {r + 1.0, (height() - h) / 2.0, std::max(1.0, width() - 2.0 * r - 2.0), h};
}

double CSliderCtrlEx::XFromPos(int nPos) const
{
    const QRectF channel = ChannelRect();
    if (m_nMax == m_nMin)
        return channel.left();
    double fraction = double(nPos - m_nMin) / double(m_nMax - m_nMin);
    if (m_bInverted)
        fraction = 1.0 - fraction;
    return channel.left() + channel.width() * fraction;
}

int CSliderCtrlEx::PosFromX(double x) const
{
    const QRectF channel = ChannelRect();
    double fraction = std::clamp((x - channel.left()) / channel.width(), 0.0, 1.0);
    if (m_bInverted)
        fraction = 1.0 - fraction;
    return m_nMin + static_cast<int>(std::lround(fraction * double(m_nMax - m_nMin)));
}

QRectF CSliderCtrlEx::ThumbRect() const
{
    const double r = ThumbRadius();
    return {XFromPos(m_nPos) - r, height() / 2.0 - r, 2.0 * r, 2.0 * r};
}

// ---- painting ----
void CSliderCtrlEx::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPalette& pal = palette();
    const bool enabled = isEnabled();

    const QRectF channel = ChannelRect();
    const double radius = channel.height() / 2.0;
    QPainterPath channelPath;
    channelPath.addRoundedRect(channel, radius, radius);

    QLinearGradient rest(channel.topLeft(), channel.bottomLeft());
    rest.setColorAt(0.0, pal.color(QPalette::Mid).darker(110));
    rest.setColorAt(1.0, pal.color(QPalette::Midlight));
    painter.fillPath(channelPath, rest);

    const double thumbX = XFromPos(m_nPos);
    if (thumbX > channel.left()) {
        QLinearGradient played(channel.topLeft(), channel.topRight());
        played.setColorAt(0.0, enabled ? m_crRangeStart : pal.color(QPalette::Disabled, QPalette::Mid));
        played.setColorAt(1.0, enabled ? m_crRangeEnd : pal.color(QPalette::Disabled, QPalette::Dark));
        painter.save();
        painter.setClipRect(QRectF(channel.left(), 0, thumbX - channel.left(), height()));
        painter.fillPath(channelPath, played);
        // A soft highlight along the top edge gives the fill some depth.
        QLinearGradient gloss(channel.topLeft(), channel.bottomLeft());
        gloss.setColorAt(0.0, QColor(255, 255, 255, 90));
        gloss.setColorAt(0.55, QColor(255, 255, 255, 0));
        painter.fillPath(channelPath, gloss);
        painter.restore();
    }
    painter.setPen(QPen(pal.color(QPalette::Dark), 1.0));
    painter.drawPath(channelPath);

    const QRectF thumb = ThumbRect().adjusted(0.5, 0.5, -0.5, -0.5);
    QRadialGradient knob(thumb.center() - QPointF(thumb.width() * 0.2, thumb.height() * 0.25), thumb.width() * 0.75);
    const QColor face = pal.color(QPalette::Button);
    knob.setColorAt(0.0, face.lighter(125));
    knob.setColorAt(1.0, face.darker(m_bTracking || underMouse() ? 130 : 115));
    painter.setBrush(knob);
    // With the focus the thumb gets a ring in the highlight colour, thick enough to be seen.
    if (hasFocus())
        painter.setPen(QPen(pal.color(QPalette::Highlight), 2.0));
    else
        painter.setPen(QPen(pal.color(QPalette::Shadow).lighter(150), 1.0));
    painter.drawEllipse(hasFocus() ? thumb.adjusted(0.5, 0.5, -0.5, -0.5) : thumb);
    if (thumb.width() >= 10 && enabled) {
        const double dot = thumb.width() * 0.18;
        painter.setPen(Qt::NoPen);
        painter.setBrush(m_crRangeEnd);
        painter.drawEllipse(thumb.center(), dot, dot);
    }
}

// ---- input ----
void CSliderCtrlEx::Notify(unsigned code)
{
    emit Scroll(code, static_cast<unsigned>(m_nPos));
}

void CSliderCtrlEx::StepTo(int nPos, unsigned code)
{
    const int pos = std::clamp(nPos, m_nMin, m_nMax);
    if (pos != m_nPos) {
        m_nPos = pos;
        update();
    }
    Notify(code);
}

void CSliderCtrlEx::mousePressEvent(QMouseEvent* e)
{
    if (e->button() != Qt::LeftButton) {
        e->accept();
        return;
    }
    const QPointF pt = e->position();
    const QRectF thumb = ThumbRect();
    if (thumb.contains(pt)) {
        m_dGrabOffset = pt.x() - thumb.center().x();
        m_bTracking = true;
        update();
        return;
    }
    m_dGrabOffset = 0.0;
    m_bTracking = true;
    StepTo(PosFromX(pt.x()), TB_THUMBTRACK);
}

void CSliderCtrlEx::mouseMoveEvent(QMouseEvent* e)
{
    if (!m_bTracking)
        return;
    const int pos = PosFromX(e->position().x() - m_dGrabOffset);
    if (pos != m_nPos)
        StepTo(pos, TB_THUMBTRACK);
}

void CSliderCtrlEx::mouseReleaseEvent(QMouseEvent* e)
{
    if (e->button() != Qt::LeftButton || !m_bTracking)
        return;
    m_bTracking = false;
    update();
    Notify(TB_THUMBPOSITION);
    Notify(TB_ENDTRACK);
}

void CSliderCtrlEx::wheelEvent(QWheelEvent* e)
{
    // Suppressed: the wheel goes on to the parent, so scrolling past a position slider never seeks.
    if (m_bSuppressDefault) {
        e->ignore();
        return;
    }
    const int delta = e->angleDelta().y() != 0 ? e->angleDelta().y() : e->angleDelta().x();
    if (delta == 0)
        return;
    // Wheel up raises the value, as in every other slider.
    if (delta > 0)
        StepTo(m_nPos + m_nLineSize, TB_LINEDOWN);
    else
        StepTo(m_nPos - m_nLineSize, TB_LINEUP);
    Notify(TB_ENDTRACK);
    e->accept();
}

void CSliderCtrlEx::keyPressEvent(QKeyEvent* e)
{
    switch (e->key()) {
    case Qt::Key_Left:
        if (m_bInverted)
            StepTo(m_nPos + m_nLineSize, TB_LINEDOWN);
        else
            StepTo(m_nPos - m_nLineSize, TB_LINEUP);
        break;
    case Qt::Key_Right:
        if (m_bInverted)
            StepTo(m_nPos - m_nLineSize, TB_LINEUP);
        else
            StepTo(m_nPos + m_nLineSize, TB_LINEDOWN);
        break;
    case Qt::Key_Up: StepTo(m_nPos - m_nLineSize, TB_LINEUP); break;
    case Qt::Key_Down: StepTo(m_nPos + m_nLineSize, TB_LINEDOWN); break;
    case Qt::Key_PageUp: StepTo(m_nPos - GetPageSize(), TB_PAGEUP); break;
    case Qt::Key_PageDown: StepTo(m_nPos + GetPageSize(), TB_PAGEDOWN); break;
    case Qt::Key_Home: StepTo(m_nMin, TB_TOP); break;
    case Qt::Key_End: StepTo(m_nMax, TB_BOTTOM); break;
    default: QWidget::keyPressEvent(e); return;
    }
    m_bKeyStepping = true;
}

void CSliderCtrlEx::keyReleaseEvent(QKeyEvent* e)
{
    // One TB_ENDTRACK when the stepping key is let go (auto-repeat releases do not count).
    if (m_bKeyStepping && !e->isAutoRepeat()) {
        m_bKeyStepping = false;
        Notify(TB_ENDTRACK);
        return;
    }
    QWidget::keyReleaseEvent(e);
}
