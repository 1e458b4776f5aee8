#pragma once
// The demo host's tag writer, as a tagging application has one: texts through TagLib's generic
// properties, the front cover in each container's own picture form. It writes in place while the
// song may be playing; the player follows the file.

#include <QByteArray>
#include <QString>

struct SongTags
{
    QString strTitle;
    QString strArtist;
    QString strAlbum;
    QString strYear;
    QString strTrack;
    QString strGenre;
    QString strLyrics;
    QByteArray cover;      // empty: the cover is left as it is
    QString strCoverMime;  // "image/jpeg" or "image/png"
};

// The values the dialog starts from (the cover is not loaded).
SongTags ReadSongTags(const QString& path);
// Saves into `path` the texts of `tags` that differ from `before` (what the file held: untouched
// fields keep their exact form, e.g. a track "3/12" read as "3"); an emptied text removes its field.
// False with `*error` set on failure.
bool WriteSongTags(const QString& path, const SongTags& before, const SongTags& tags, QString* error);
