#pragma once
// The text side of each playlist format: parsing a playlist into locations as written, and writing
// locations back. Resolving locations against the playlist's folder is PlaylistFormats.cpp's job.
//
// Threading: pure functions; any thread.

#include <QByteArray>
#include <QList>
#include <QString>

namespace playlist_text {

struct Entry
{
    QString strLocation; // as written: a path (M3U, PLS) or a URI reference (XSPF)
    QString strTitle;
    int nSeconds = -1;
};

struct Parsed
{
    QString strError; // "line N: ..." when the text is not a playlist of its kind
    QList<Entry> entries;
};

Parsed ParseM3u(const QString& text);
Parsed ParsePls(const QString& text);
Parsed ParseXspf(const QByteArray& bytes);

QByteArray FormatM3u(const QList<Entry>& entries);
QByteArray FormatPls(const QList<Entry>& entries);
QByteArray FormatXspf(const QList<Entry>& entries);

// Line by line with "\n", "\r\n" or "\r" line ends; numbers from 1.
QList<QString> SplitLines(const QString& text);

} // namespace playlist_text
