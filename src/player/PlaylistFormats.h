#pragma once
// Playlist files a listener brings from other players: M3U/M3U8 (with #EXTINF lengths and titles),
// PLS and XSPF, chosen by the file name's extension. Text is UTF-8 (an ".m3u" or ".pls" that is not
// valid UTF-8 is read as Latin-1, as older players wrote them). Entries may be absolute or relative
// to the playlist's folder, or file: URLs.
//
// Reading never stops at an entry whose file is not there: it is listed in `missing` and the rest is
// read. A file that is not a playlist of its kind (not text, a broken #EXTINF, a PLS without its
// [playlist] header, XML that is not XSPF) gives an error naming the line, and no entries.
// Writing goes through a temporary file, so a failed save leaves an existing playlist as it was.
//
// These are not the external player's list file ("path,title" lines), which keeps its own format.
//
// Threading: plain functions on their arguments and the file system; safe on any thread.

#include <QList>
#include <QString>
#include <QStringList>

#include "tunivox_export.h"

enum class PlaylistFormat { Unknown, M3u, Pls, Xspf };

// How WritePlaylist stores paths: relative to the playlist's folder (portable with the music), or absolute.
enum class PlaylistPaths { Relative, Absolute };

struct PlaylistFileEntry
{
    QString strPath;   // absolute local path (as read: resolved against the playlist's folder)
    QString strTitle;  // empty when the file gives none
    int nSeconds = -1; // length, -1 when unknown
};

struct PlaylistReadResult
{
    QString strError;                 // empty when the file was read
    QList<PlaylistFileEntry> entries; // the entries whose files exist, in the playlist's order
    QStringList missing;              // entries that name no existing local file (resolved path or as written)
    bool Ok() const { return strError.isEmpty(); }
};

// By extension: .m3u/.m3u8 M3u, .pls Pls, .xspf Xspf (any case); else Unknown.
TUNIVOX_EXPORT PlaylistFormat PlaylistFormatFromPath(const QString& path);

TUNIVOX_EXPORT PlaylistReadResult ReadPlaylist(const QString& playlistPath);

// Writes `entries` in the format of the playlist's extension. Returns false with *error set (when
// error is not null) for an unknown extension or a file that cannot be written.
TUNIVOX_EXPORT bool WritePlaylist(const QString& playlistPath, const QList<PlaylistFileEntry>& entries,
                                  PlaylistPaths paths, QString* error = nullptr);
