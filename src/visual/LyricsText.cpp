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

namespace {
constexpr int kDimmedAlpha = 0x70;
constexpr int kBandAlpha = 0x30;
} // namespace

SyncedLyricsLayout LayoutSyncedLyrics(const QFont& font, int nBoxWidth, const QStringList& lines)
{
    SyncedLyricsLayout layout;
    if (nBoxWidth <= 0)
        return layout;
    const QFontMetrics metrics(font);
    const int gap = metrics.height() / 3;
    int y = 0;
    for (const QString& line : lines) {
        // An empty line (an instrumental break) keeps one line's height.
        const QString shown = line.isEmpty() ? QStringLiteral(" ") : line;
        const int height = metrics.boundingRect(QRect(0, 0, nBoxWidth, 1 << 24), kTextFlags, shown).height() + gap;
        layout.tops.append(y);
        layout.heights.append(height);
        y += height;
    }
    layout.size = QSize(nBoxWidth, y);
    return layout;
}

QImage DrawSyncedLyricsPage(const QFont& font, ARGBCOLOR clrFont, const SyncedLyricsLayout& layout, int nBoxHeight,
                            int nPage, const QStringList& lines, int nCurrent)
{
    const int width = std::max(1, layout.size.width());
    QImage image(width, std::max(1, 2 * nBoxHeight), QImage::Format_ARGB32_Premultiplied);
    QColor clear = QColor::fromRgba(clrFont);
    clear.setAlpha(0);
    image.fill(clear);
    QPainter painter(&image);
    painter.setFont(font);
    const QColor full = QColor::fromRgba(clrFont);
    QColor dimmed = full;
    dimmed.setAlpha(full.alpha() * kDimmedAlpha / 255);
    QColor band = full;
    band.setAlpha(kBandAlpha);
    const int pageTop = nBoxHeight * nPage;
    for (int i = 0; i < lines.size() && i < layout.tops.size(); ++i) {
        const int top = layout.tops[i] - pageTop;
        if (top + layout.heights[i] < 0 || top > image.height())
            continue;
        const QRect rect(0, top, width, layout.heights[i]);
        if (i == nCurrent)
            painter.fillRect(rect, band);
        painter.setPen(i == nCurrent ? full : dimmed);
        painter.drawText(rect, Qt::TextWordWrap | Qt::AlignHCenter | Qt::AlignVCenter, lines[i]);
    }
    return image;
}
