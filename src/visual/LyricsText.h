#pragma once
// Lyrics text: the font of the settings, measuring with word breaking and centring in the box's
// width, and drawing one page of the two-box-high lyrics texture; the same for time-stamped lyrics
// with the line being sung highlighted.
//
// Threading: QImage painting; used on the render thread.

#include <QFont>
#include <QImage>
#include <QSize>
#include <QString>
#include <QStringList>
#include <QVector>

#include "visual/VisualSettings.h"
#include "tunivox_export.h"

// The settings' face at its point size, taken at 96 pixels per inch whatever the screen says.
TUNIVOX_EXPORT QFont LyricsFont(const VisualSettings& settings);
QSize MeasureLyrics(const QFont& font, int nBoxWidth, const QString& text);
// A texture image of the text's width and twice the box height holding the text moved up by
// box height × page, drawn twice over (as the renderer always has) on the font colour at alpha 0.
QImage DrawLyricsPage(const QFont& font, ARGBCOLOR clrFont, const QSize& textSize, int nBoxHeight, int nPage,
                      const QString& text);

// Time-stamped lyrics laid out one line under the other, each wrapped and centred in the box's
// width, with a small gap between lines.
struct SyncedLyricsLayout
{
    QVector<int> tops;    // of each line, from the text's top
    QVector<int> heights;
    QSize size;           // the box's width by the whole text's height
};
TUNIVOX_EXPORT SyncedLyricsLayout LayoutSyncedLyrics(const QFont& font, int nBoxWidth, const QStringList& lines);
// One page of the texture, as DrawLyricsPage, with line `nCurrent` in the full font colour over a
// faint band and the other lines dimmed (-1: all dimmed). Every line has a thin rim of the opposite
// lightness, so it reads over any picture behind the box.
TUNIVOX_EXPORT QImage DrawSyncedLyricsPage(const QFont& font, ARGBCOLOR clrFont, const SyncedLyricsLayout& layout, int nBoxHeight,
                            int nPage, const QStringList& lines, int nCurrent);
