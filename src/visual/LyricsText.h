#pragma once
// Lyrics text: the font of the settings, measuring with word breaking and centring in the box's
// width, and drawing one page of the two-box-high lyrics texture.
//
// Threading: QImage painting; used on the render thread.

#include <QFont>
#include <QImage>
#include <QSize>
#include <QString>

#include "visual/VisualSettings.h"

// The settings' face at its point size, taken at 96 pixels per inch whatever the screen says.
QFont LyricsFont(const VisualSettings& settings);
QSize MeasureLyrics(const QFont& font, int nBoxWidth, const QString& text);
// A texture image of the text's width and twice the box height holding the text moved up by
// box height × page, drawn twice over (as the renderer always has) on the font colour at alpha 0.
QImage DrawLyricsPage(const QFont& font, ARGBCOLOR clrFont, const QSize& textSize, int nBoxHeight, int nPage,
                      const QString& text);
