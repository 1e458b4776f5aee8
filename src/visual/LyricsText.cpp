#include "visual/LyricsText.h"

#include <QFontMetrics>
#include <QPainter>

namespace {
constexpr int kTextFlags = Qt::TextWordWrap | Qt::AlignHCenter | Qt::AlignTop;
}

QFont LyricsFont(const VisualSettings& settings)
{
    QFont font(settings.m_strFontName);
    font.setPixelSize(std::max(1, (settings.m_nFontSize * 96 + 36) / 72));
    return font;
}

QSize MeasureLyrics(const QFont& font, int nBoxWidth, const QString& text)
{
    if (text.isEmpty() || nBoxWidth <= 0)
        return QSize(0, 0);
    const QFontMetrics metrics(font);
    return metrics.boundingRect(QRect(0, 0, nBoxWidth, 1 << 24), kTextFlags, text).size();
}

QImage DrawLyricsPage(const QFont& font, ARGBCOLOR clrFont, const QSize& textSize, int nBoxHeight, int nPage,
                      const QString& text)
{
    QImage image(std::max(1, textSize.width()), std::max(1, 2 * nBoxHeight), QImage::Format_ARGB32_Premultiplied);
    QColor clear = QColor::fromRgba(clrFont);
    clear.setAlpha(0);
    image.fill(clear);
    QPainter painter(&image);
    painter.setFont(font);
    painter.setPen(QColor::fromRgba(clrFont));
    const QRect rect(0, -nBoxHeight * nPage, textSize.width(), textSize.height());
    painter.drawText(rect, kTextFlags, text);
    painter.drawText(rect, kTextFlags, text);
    return image;
}
