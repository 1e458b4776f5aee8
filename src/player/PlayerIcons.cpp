#include "player/PlayerIcons.h"

#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>

namespace {

void DrawGlyph(QPainter& p, PlayerIcon icon, const QRectF& r, const QColor& colour)
{
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(Qt::NoPen);
    p.setBrush(colour);
    const qreal w = r.width();
    const qreal h = r.height();
    auto at = [&](qreal fx, qreal fy) { return QPointF(r.left() + fx * w, r.top() + fy * h); };
    auto triangle = [&](qreal x0, qreal x1, bool right) {
        QPainterPath path;
        if (right) {
            path.moveTo(at(x0, 0.2));
            path.lineTo(at(x1, 0.5));
            path.lineTo(at(x0, 0.8));
        } else {
            path.moveTo(at(x1, 0.2));
            path.lineTo(at(x0, 0.5));
            path.lineTo(at(x1, 0.8));
        }
        path.closeSubpath();
        p.drawPath(path);
    };
    switch (icon) {
    case PlayerIcon::Previous:
        p.drawRect(QRectF(at(0.18, 0.22), at(0.28, 0.78)));
        triangle(0.28, 0.55, false);
        triangle(0.52, 0.82, false);
        break;
    case PlayerIcon::Play:
        triangle(0.28, 0.8, true);
        break;
    case PlayerIcon::Pause:
        p.drawRoundedRect(QRectF(at(0.25, 0.2), at(0.43, 0.8)), w * 0.03, w * 0.03);
        p.drawRoundedRect(QRectF(at(0.57, 0.2), at(0.75, 0.8)), w * 0.03, w * 0.03);
        break;
    case PlayerIcon::Stop:
        p.drawRoundedRect(QRectF(at(0.24, 0.24), at(0.76, 0.76)), w * 0.05, w * 0.05);
        break;
    case PlayerIcon::Next:
        triangle(0.18, 0.48, true);
        triangle(0.45, 0.72, true);
        p.drawRect(QRectF(at(0.72, 0.22), at(0.82, 0.78)));
        break;
    case PlayerIcon::Visualization: {
        const qreal bars[] = {0.45, 0.75, 0.35, 0.6, 0.5};
        for (int i = 0; i < 5; ++i) {
            const qreal x = 0.16 + i * 0.14;
            p.drawRoundedRect(QRectF(at(x, 0.82 - bars[i] * 0.7), at(x + 0.1, 0.82)), w * 0.02, w * 0.02);
        }
        break;
    }
    }
}

class PlayerIconEngine : public QIconEngine
{
public:
    explicit PlayerIconEngine(PlayerIcon icon) : m_icon(icon) {}
    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override
    {
        QColor colour(0x2b, 0x3a, 0x55);
        if (mode == QIcon::Disabled)
            colour = QColor(0xa0, 0xa6, 0xb0);
        else if (mode == QIcon::Active || mode == QIcon::Selected)
            colour = QColor(0x1a, 0x6f, 0xd0);
        DrawGlyph(*painter, m_icon, rect, colour);
    }
    QIconEngine* clone() const override { return new PlayerIconEngine(m_icon); }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap pm(size);
        pm.fill(Qt::transparent);
        QPainter painter(&pm);
        paint(&painter, QRect(QPoint(0, 0), size), mode, state);
        return pm;
    }

private:
    PlayerIcon m_icon;
};

} // namespace

QIcon MakePlayerIcon(PlayerIcon icon) { return QIcon(new PlayerIconEngine(icon)); }
