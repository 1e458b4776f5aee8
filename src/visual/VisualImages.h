#pragma once
// The visualization's pictures: tool bar icons, the lyrics arrows and the default cover art are
// painted at run time; cover and background files are decoded by content, whatever their name says.
//
// Threading: QImage work only; any thread. Tool bar icons (QIcon) on the GUI thread.

#include <QIcon>
#include <QImage>
#include <QString>

// Images of the tool bar buttons, in image-list order: lyrics, art, slide show, visualization,
// switch mode, always on top.
QIcon VisualToolbarIcon(int nImage);
QImage VisualArrowImage(bool bUp);
QImage VisualDefaultArt();
// Decodes a picture file by its content; pictures larger than `nMaxSide` are scaled down.
// A null image when the file is missing or not a picture.
QImage LoadVisualPicture(const QString& path, int nMaxSide = 2048);
