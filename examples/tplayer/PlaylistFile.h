#pragma once
// Reads the external player's list file: one "path,title" line per entry, "\r\n" line ends, no
// header. Paths may hold commas themselves, so the path is the shortest prefix before a comma that
// names an existing file (else everything before the last comma).
//
// A list file is UTF-8 text. A file holding a NUL byte, or a line that is no UTF-8 and names no
// existing file either, is no list file (a song or a program given by mistake): it is refused as a
// whole rather than read as entries of garbage.

#include <QList>
#include <QString>

struct PlaylistEntry
{
    QString strPath;
    QString strTitle;
};

struct PlaylistFileRead
{
    QString strError; // empty when the file was read as a list
    QList<PlaylistEntry> entries;
};

PlaylistFileRead ReadPlaylistFile(const QString& listFile);
