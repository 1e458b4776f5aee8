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
constexpr int kDimmedAlpha = 0x90;
constexpr int kBandAlpha = 0x30;
constexpr int kHaloAlpha = 0xA0;

// Light text gets a dark rim and dark text a light one, so a line stays readable over any picture or
// plug-in drawing behind the box, dimmed lines too.
QColor HaloFor(const QColor& text, int alpha)
{
    QColor halo = text.lightness() >= 128 ? QColor(Qt::black) : QColor(Qt::white);
    halo.setAlpha(alpha);
    return halo;
}
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
        const QColor& text = i == nCurrent ? full : dimmed;
        constexpr int flags = Qt::TextWordWrap | Qt::AlignHCenter | Qt::AlignVCenter;
        painter.setPen(HaloFor(text, text.alpha() * kHaloAlpha / 255));
        for (const QPoint offset : {QPoint(-1, 0), QPoint(1, 0), QPoint(0, -1), QPoint(0, 1)})
            painter.drawText(rect.translated(offset), flags, lines[i]);
        painter.setPen(text);
        painter.drawText(rect, flags, lines[i]);
    }
    return image;
}
