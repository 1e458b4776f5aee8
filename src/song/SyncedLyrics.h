#pragma once
// Time-stamped ("synchronised") lyrics: each line with the time from the song's start at which it
// is sung. They come as LRC text ("[mm:ss.xx]line", in a song's lyrics tag or in an .lrc file with
// the song's name beside it) or as an ID3v2 SYLT frame.
//
// Threading: plain values and pure functions; ReadSyncedLyrics opens its own files. Any thread.

#include <QString>
#include <QVector>

#include "tunivox_export.h"

struct SyncedLyricsLine
{
    qint64 nTimeMs = 0;
    QString strText;
    bool operator==(const SyncedLyricsLine&) const = default;
};

// Sorted by time (lines sharing a time keep their order); empty when a song has none.
using CSyncedLyrics = QVector<SyncedLyricsLine>;

// One SYLT entry as stored: the time in milliseconds and its text. A text starting with a line feed
// starts a new line; without any such text every entry is a line of its own.
struct SyncedLyricsSyllable
{
    qint64 nTimeMs = 0;
    QString strText;
};

// LRC text to lines. Every "[mm:ss]", "[mm:ss.x]", "[mm:ss.xx]" or "[mm:ss.xxx]" at a line's start
// gives that line one entry; "[offset:+/-ms]" moves every time earlier (+) or later (-); other
// "[tag:…]" lines and lines without a time are left out; word times ("<mm:ss.xx>") are dropped
// from the text. Text without a single time gives no lines. Read in one pass; the first 1,000 times
// of a line and the first 1 Mi characters of the text count.
TUNIVOX_EXPORT CSyncedLyrics ParseLrcLyrics(const QString& text);
// SYLT entries to lines (syllables joined into their line).
TUNIVOX_EXPORT CSyncedLyrics SyncedLyricsFromSyllables(const QVector<SyncedLyricsSyllable>& syllables);
// The line being sung at `nTimeMs`: the last one whose time has come, -1 before the first.
TUNIVOX_EXPORT int SyncedLineAt(const CSyncedLyrics& lines, qint64 nTimeMs);

// The song's synchronised lyrics, first found of: an ID3v2 SYLT frame of lyrics (MP3, WAV), time
// stamps in `lyricsText` (its lyrics tag as read), an .lrc file beside it ("song.lrc" for
// "song.mp3"; UTF-8, else Latin-1; at most 1 MiB). Empty when none has a time.
TUNIVOX_EXPORT CSyncedLyrics ReadSyncedLyrics(const QString& audioPath, const QString& lyricsText);
