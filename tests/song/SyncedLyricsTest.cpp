// Time-stamped lyrics: the LRC and SYLT readings, the line sung at a time, and which of a song's
// sources wins.
#include <QFile>
#include <gtest/gtest.h>
#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>
#include <taglib/synchronizedlyricsframe.h>

#include "SongTestFiles.h"
#include "song/SyncedLyrics.h"

using namespace tunivox::test;

namespace {

using Sylt = TagLib::ID3v2::SynchronizedLyricsFrame;

QString Show(const CSyncedLyrics& lines)
{
    QStringList parts;
    for (const SyncedLyricsLine& line : lines)
        parts.append(QStringLiteral("%1=%2").arg(line.nTimeMs).arg(line.strText));
    return parts.join(QLatin1Char('|'));
}

// Adds a SYLT frame of `entries` (time, text) to the MP3 at `path`.
void AddSylt(const QString& path, Sylt::TimestampFormat format, const std::vector<std::pair<unsigned, const char*>>& entries)
{
    TagLib::MPEG::File file(QFile::encodeName(path).constData());
    auto* frame = new Sylt(TagLib::String::UTF8);
    frame->setTimestampFormat(format);
    frame->setType(Sylt::Lyrics);
    Sylt::SynchedTextList list;
    for (const auto& [time, text] : entries)
        list.append(Sylt::SynchedText(time, TagLib::String(text, TagLib::String::UTF8)));
    frame->setSynchedText(list);
    file.ID3v2Tag(true)->addFrame(frame);
    ASSERT_TRUE(file.save());
}

} // namespace

TEST(SyncedLyrics, LrcTextReadsAsTimedLines)
{
    const struct
    {
        const char* pszName;
        QString text;
        const char* pszExpected;
    } cases[] = {
        {"two-digit fractions", QStringLiteral("[00:01.50]One\n[00:03.25]Two"), "1500=One|3250=Two"},
        {"every time form, sorted", QStringLiteral("[61:00.5]A\n[00:02.125]B\n[00:03:20]C\n[00:04]D"),
         "2125=B|3200=C|4000=D|3660500=A"},
        {"one line, two times", QStringLiteral("[00:10.00][00:01.00] Chorus "), "1000=Chorus|10000=Chorus"},
        {"tags, offset, word times, untimed lines",
         QStringLiteral("[ar:Someone]\n[offset:+500]\n[00:02.00]<00:02.00>Hel<00:02.50>lo\nno time here"), "1500=Hello"},
        {"a negative offset plays later", QStringLiteral("[offset:-250]\n[00:00.10]x"), "350=x"},
        {"no time before the start", QStringLiteral("[offset:1000]\n[00:00.50]x"), "0=x"},
        {"CRLF, byte order mark, an empty line", QStringLiteral("\uFEFF[00:01.00]a\r\n[00:02.00]\r\n"), "1000=a|2000="},
        {"no times at all", QStringLiteral("Just words\n[Chorus]\nmore"), ""},
        {"seconds past 59", QStringLiteral("[00:75.00]x"), ""},
        {"a time after the text is text", QStringLiteral("[00:01]a [00:02]b"), "1000=a [00:02]b"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Show(ParseLrcLyrics(c.text)), QLatin1String(c.pszExpected)) << c.pszName;

    // A line of 5,000 times gives its first 1,000, and the text after them.
    QString many;
    for (int i = 0; i < 5000; ++i)
        many += QStringLiteral("[%1:00.00]").arg(i, 2, 10, QLatin1Char('0'));
    const CSyncedLyrics lines = ParseLrcLyrics(many + QStringLiteral(" words"));
    ASSERT_EQ(lines.size(), 1000);
    EXPECT_EQ(lines.last().nTimeMs, 999 * 60000);
    EXPECT_EQ(lines.last().strText, QStringLiteral("words"));
}

TEST(SyncedLyrics, SyltEntriesJoinIntoLinesAndTimesFindTheirLine)
{
    EXPECT_EQ(Show(SyncedLyricsFromSyllables({{0, QStringLiteral("One")}, {1000, QStringLiteral("Two")}})),
              QLatin1String("0=One|1000=Two"));
    EXPECT_EQ(Show(SyncedLyricsFromSyllables({{0, QStringLiteral("Hel")},
                                               {300, QStringLiteral("lo")},
                                               {1000, QStringLiteral("\nWorld")},
                                               {1500, QStringLiteral(" again")}})),
              QLatin1String("0=Hello|1000=World again"));

    const CSyncedLyrics lines = ParseLrcLyrics(QStringLiteral("[00:01]a\n[00:02]b\n[00:02]c\n[00:05]d"));
    const std::pair<qint64, int> at[] = {{0, -1}, {999, -1}, {1000, 0}, {2000, 2}, {4999, 2}, {5000, 3}, {1 << 30, 3}};
    for (const auto& [time, line] : at)
        EXPECT_EQ(SyncedLineAt(lines, time), line) << time;
    EXPECT_EQ(SyncedLineAt({}, 0), -1);
}

TEST(SyncedLyrics, SyltThenTaggedTextThenLrcFileBesideTheSong)
{
    ScopedTempFolder folder;
    const QString song = folder.WriteFile(QStringLiteral("song.mp3"), FileBytes(FixturePath(QStringLiteral("tone-44k-stereo.mp3"))));
    const QString lrc = folder.FilePath(QStringLiteral("song.lrc"));
    const QString stamped = QStringLiteral("[00:02.00]from the tag");
    EXPECT_TRUE(ReadSyncedLyrics(song, QStringLiteral("plain words")).isEmpty()) << "no source has times";

    folder.WriteFile(QStringLiteral("song.lrc"), QByteArray("[00:03.00]Caf\xe9 from the file\n"));
    EXPECT_EQ(Show(ReadSyncedLyrics(song, QStringLiteral("plain"))), QStringLiteral("3000=Café from the file"))
        << "a file that is not UTF-8 reads as Latin-1";
    EXPECT_EQ(Show(ReadSyncedLyrics(song, stamped)), QLatin1String("2000=from the tag"));

    AddSylt(song, Sylt::AbsoluteMilliseconds, {{500, "from"}, {900, " SYLT"}});
    EXPECT_EQ(Show(ReadSyncedLyrics(song, stamped)), QLatin1String("500=from|900=SYLT"));

    // Times in MPEG frames: 1152 samples each at 44.1 kHz.
    const QString framed = folder.WriteFile(QStringLiteral("framed.mp3"), FileBytes(FixturePath(QStringLiteral("tone-44k-stereo.mp3"))));
    AddSylt(framed, Sylt::AbsoluteMpegFrames, {{38, "a"}, {383, "b"}});
    EXPECT_EQ(Show(ReadSyncedLyrics(framed, QString())), QLatin1String("992=a|10004=b"));

    QFile big(lrc);
    ASSERT_TRUE(big.open(QIODevice::WriteOnly));
    big.write(QByteArray((1 << 20) + 1, '\n'));
    big.close();
    EXPECT_TRUE(ReadSyncedLyrics(folder.FilePath(QStringLiteral("missing.mp3")), QString()).isEmpty());
    const QString copy = folder.WriteFile(QStringLiteral("other.mp3"), FileBytes(FixturePath(QStringLiteral("tone-44k-stereo.mp3"))));
    QFile::rename(lrc, folder.FilePath(QStringLiteral("other.lrc")));
    EXPECT_TRUE(ReadSyncedLyrics(copy, QString()).isEmpty()) << "an .lrc over 1 MiB is not read";
}
