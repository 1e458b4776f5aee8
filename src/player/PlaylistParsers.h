#pragma once
// The text side of each playlist format: parsing a playlist into locations as written, and writing
// locations back. Resolving locations against the playlist's folder is PlaylistFormats.cpp's job.
//
// Threading: pure functions; any thread.

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringView>

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

// Calls visit(number, line) for each line ("\n", "\r\n" or "\r" line ends; numbers from 1) until it
// returns false. No copy of the text: a file of a million empty lines costs nothing per line.
template <typename Visit>
void ForEachLine(const QString& text, Visit visit)
{
    const qsizetype size = text.size();
    qsizetype start = 0;
    for (int number = 1; start <= size; ++number) {
        qsizetype end = start;
        while (end < size && text[end] != QLatin1Char('\n') && text[end] != QLatin1Char('\r'))
            ++end;
        if (!visit(number, QStringView(text).mid(start, end - start)))
            return;
        if (end < size && text[end] == QLatin1Char('\r') && end + 1 < size && text[end + 1] == QLatin1Char('\n'))
            ++end;
        start = end + 1;
    }
}

// Whole seconds of a length given in seconds; -1 (unknown) for one that is negative, not a number
// or beyond what a song can last.
int SecondsOrUnknown(double seconds);

} // namespace playlist_text
