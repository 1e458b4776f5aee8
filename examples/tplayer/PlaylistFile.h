#pragma once
// Reads the external player's list file: one "path,title" line per entry, "\r\n" line ends, no
// header. Paths may hold commas themselves, so the path is the shortest prefix before a comma that
// names an existing file (else everything before the last comma).

#include <QList>
#include <QString>

struct PlaylistEntry
{
    QString strPath;
    QString strTitle;
};

QList<PlaylistEntry> ReadPlaylistFile(const QString& listFile);
