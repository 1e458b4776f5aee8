#pragma once
// "Open playlist…" and "Save playlist…": M3U/M3U8, PLS and XSPF files through the library's
// playlist functions. Opening replaces the list; the songs are read in the background.
//
// Threading: GUI thread.

#include <QList>

#include "player/PlaylistFormats.h"

class CMediaPlayerCtrl;
class QStatusBar;
class QString;
class QWidget;

// The list as a playlist saves it: each song's path, the title the list shows (without its number)
// and its length in whole seconds from the song's record (-1 when the file gives none).
QList<PlaylistFileEntry> PlaylistEntriesOf(CMediaPlayerCtrl* player);

void OpenPlaylist(QWidget* parent, CMediaPlayerCtrl* player, QStatusBar* bar);
void SavePlaylist(QWidget* parent, CMediaPlayerCtrl* player, QStatusBar* bar);
// Replaces the list with the songs of `playlistPath`; false (with a message) when it cannot be read.
bool LoadPlaylist(const QString& playlistPath, CMediaPlayerCtrl* player, QWidget* parent, QStatusBar* bar);
