#include "visual/VisualImages.h"

#include <QImageReader>
#include <QPainter>
#include <QPainterPath>

namespace {

QImage Canvas(int w, int h)
{
    QImage image(w, h, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

void PaintIcon(QPainter& p, int nImage)
{
    p.setRenderHint(QPainter::Antialiasing);
    const QColor ink(40, 60, 90);
    p.setPen(QPen(ink, 1.4));
    switch (nImage) {
    case 0: // lyrics: lines of text
        for (int y : {4, 8, 12})
            p.drawLine(QPointF(3, y), QPointF(y == 8 ? 11 : 13, y));
        break;
    case 1: // art: a framed picture
        p.drawRect(QRectF(2.5, 3.5, 11, 9));
        p.setBrush(ink);
        p.drawPolygon(QPolygonF({QPointF(4, 11), QPointF(7, 7), QPointF(9, 9), QPointF(11, 6), QPointF(12, 11)}));
        break;
    case 2: // slide show: stacked frames
        p.drawRect(QRectF(5.5, 2.5, 8, 7));
        p.setBrush(Qt::white);
        p.drawRect(QRectF(2.5, 6.5, 8, 7));
        break;
    case 3: // visualization: spectrum bars
        p.setBrush(ink);
        for (int i = 0; i < 4; ++i) {
            const int h = (i * 5 + 4) % 11 + 3;
            p.drawRect(QRectF(2 + i * 3.3, 14 - h, 2, h));
        }
        break;
    case 4: { // switch mode: two arrows
        QPainterPath path;
        path.moveTo(3, 6); path.lineTo(12, 6); path.moveTo(9, 3); path.lineTo(12, 6); path.lineTo(9, 9);
        path.moveTo(13, 11); path.lineTo(4, 11); path.moveTo(7, 8); path.lineTo(4, 11); path.lineTo(7, 14);
        p.drawPath(path);
        break;
    }
    default: // always on top: a pin
        p.setBrush(QColor(200, 50, 50));
        p.drawEllipse(QRectF(4.5, 1.5, 7, 7));
        p.drawLine(QPointF(8, 8.5), QPointF(8, 15));
        break;
    }
}

} // namespace

QIcon VisualToolbarIcon(int nImage)
{
    QImage image = Canvas(16, 16);
    QPainter p(&image);
    PaintIcon(p, nImage);
    p.end();
    return QIcon(QPixmap::fromImage(image));
}

QImage VisualArrowImage(bool bUp)
{
    QImage image = Canvas(64, 32);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    const QPolygonF triangle = bUp ? QPolygonF({QPointF(8, 28), QPointF(32, 4), QPointF(56, 28)})
                                   : QPolygonF({QPointF(8, 4), QPointF(32, 28), QPointF(56, 4)});
    p.setPen(QPen(QColor(0, 0, 0, 160), 3));
    p.setBrush(QColor(255, 255, 255));
    p.drawPolygon(triangle);
    return image;
}

QImage VisualDefaultArt()
{
    QImage image = Canvas(256, 256);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    QRadialGradient disc(128, 128, 120);
    disc.setColorAt(0.0, QColor(70, 70, 80));
    disc.setColorAt(0.95, QColor(20, 20, 28));
    disc.setColorAt(1.0, QColor(20, 20, 28, 0));
    p.setBrush(disc);
    p.setPen(Qt::NoPen);
    p.drawEllipse(QPointF(128, 128), 120, 120);
    p.setBrush(QColor(120, 160, 220));
    p.drawEllipse(QPointF(128, 128), 34, 34);
    p.setBrush(QColor(20, 20, 28));
    p.drawEllipse(QPointF(128, 128), 5, 5);
    p.setPen(QPen(QColor(255, 255, 255, 40), 2));
    p.setBrush(Qt::NoBrush);
    for (int r = 50; r < 115; r += 12)
        p.drawEllipse(QPointF(128, 128), r, r);
    return image;
}

QImage LoadVisualPicture(const QString& path, int nMaxSide)
{
    QImageReader reader(path);
    reader.setDecideFormatFromContent(true);
    reader.setAutoTransform(true);
    const QSize size = reader.size();
    if (size.isValid() && (size.width() > nMaxSide || size.height() > nMaxSide))
        reader.setScaledSize(size.scaled(nMaxSide, nMaxSide, Qt::KeepAspectRatio));
    return reader.read();
}
