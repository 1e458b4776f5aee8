// Playlist files: what is written reads back the same in every format and path style, files written
// by other players are understood, and broken files give a clear error instead of a partial list.
#include <QDir>
#include <QFile>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "player/PlaylistFormats.h"
#include "support/TestFolders.h"

using namespace tunivox::test;

namespace {

QString ReadText(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

} // namespace

// Every format and path style reads back what was written and reports what is gone.
TEST(PlaylistFiles, ReadBackWhatWasWrittenAndReportWhatIsGone)
{
    const struct
    {
        const char* playlist;
        PlaylistPaths paths;
    } cases[] = {{"list.m3u", PlaylistPaths::Relative},  {"list.m3u8", PlaylistPaths::Absolute},
                 {"list.M3U8", PlaylistPaths::Relative}, {"list.pls", PlaylistPaths::Relative},
                 {"list.pls", PlaylistPaths::Absolute},  {"list.xspf", PlaylistPaths::Relative},
                 {"list.xspf", PlaylistPaths::Absolute}};
    // Names that trip up each format: separators of PLS and M3U, URL escapes, non-ASCII, a space.
    const QStringList names = {QStringLiteral("music/Ünïcødé — Sång.mp3"), QStringLiteral("music/a,b=c #1 100%.flac"),
                               QStringLiteral("music/sub dir/gone.ogg"), QStringLiteral("music/sub dir/x:y.m4a")};
    for (const auto& c : cases) {
        const bool relative = c.paths == PlaylistPaths::Relative;
        SCOPED_TRACE(std::string(c.playlist) + (relative ? " relative" : " absolute"));
        ScopedTempFolder root;
        QList<PlaylistFileEntry> entries;
        for (const QString& name : names)
            entries.append({root.WriteFile(name, "x"), QStringLiteral("Ärtist, \"%1\" & <co>").arg(name.size()),
                            int(name.size())});
        entries[1].nSeconds = -1;
        entries[3].strTitle.clear();

        const QString playlist = root.FilePath(QStringLiteral("lists/") + QLatin1String(c.playlist));
        QDir().mkpath(root.FilePath(QStringLiteral("lists")));
        QString error;
        ASSERT_TRUE(WritePlaylist(playlist, entries, c.paths, &error)) << error.toStdString();
        EXPECT_EQ(ReadText(playlist).contains(root.Path().chopped(1)), !relative) << ReadText(playlist).toStdString();

        // Relative lists travel with the music: read them from the folder's new place.
        QString base = root.Path();
        if (relative) {
            const QString moved = root.FilePath(QStringLiteral("moved"));
            ASSERT_TRUE(QDir().mkpath(moved));
            ASSERT_TRUE(QDir().rename(root.FilePath(QStringLiteral("music")), moved + QStringLiteral("/music")));
            ASSERT_TRUE(QDir().rename(root.FilePath(QStringLiteral("lists")), moved + QStringLiteral("/lists")));
            base = moved + QLatin1Char('/');
            for (PlaylistFileEntry& entry : entries)
                entry.strPath.replace(root.Path(), base);
        }
        ASSERT_TRUE(QFile::remove(entries[2].strPath));

        const PlaylistReadResult read = ReadPlaylist(base + QStringLiteral("lists/") + QLatin1String(c.playlist));
        ASSERT_TRUE(read.Ok()) << read.strError.toStdString();
        EXPECT_EQ(read.missing, QStringList {entries[2].strPath});
        entries.removeAt(2);
        ASSERT_EQ(read.entries.size(), entries.size());
        for (int i = 0; i < entries.size(); ++i) {
            EXPECT_EQ(read.entries[i].strPath, entries[i].strPath) << i;
            EXPECT_EQ(read.entries[i].strTitle, entries[i].strTitle) << i;
            EXPECT_EQ(read.entries[i].nSeconds, entries[i].nSeconds) << i;
        }
    }
}

// Names a line cannot hold as they are (line breaks, blanks at either end, a name that looks like a
// URL) read back as they were in every format, written as file URLs where the format is lines.
TEST(PlaylistFiles, NamesThatALineCannotHoldReadBack)
{
    ScopedTempFolder root;
    QList<PlaylistFileEntry> entries;
    for (const QString& name : {QStringLiteral("line\nfeed.mp3"), QStringLiteral("carriage\r\nreturn\r.mp3"),
                                QStringLiteral(" blanks at either end.mp3 "), QStringLiteral("file:name.mp3")})
        entries.append({root.WriteFile(name, "x"), QStringLiteral("Title"), 60});
    for (const char* playlist : {"odd.m3u", "odd.m3u8", "odd.pls", "odd.xspf"}) {
        for (PlaylistPaths paths : {PlaylistPaths::Relative, PlaylistPaths::Absolute}) {
            SCOPED_TRACE(std::string(playlist) + (paths == PlaylistPaths::Relative ? " relative" : " absolute"));
            QString error;
            ASSERT_TRUE(WritePlaylist(root.FilePath(QLatin1String(playlist)), entries, paths, &error)) << error.toStdString();
            const PlaylistReadResult read = ReadPlaylist(root.FilePath(QLatin1String(playlist)));
            ASSERT_TRUE(read.Ok()) << read.strError.toStdString();
            EXPECT_TRUE(read.missing.isEmpty()) << read.missing.join(QLatin1Char('|')).toStdString();
            ASSERT_EQ(read.entries.size(), entries.size());
            for (int i = 0; i < entries.size(); ++i)
                EXPECT_EQ(read.entries[i].strPath, entries[i].strPath) << i;
        }
    }
}

// Files as other players and people write them.
TEST(PlaylistFiles, ReadsWhatOtherPlayersWrite)
{
    ScopedTempFolder root;
    const QString a = root.WriteFile(QStringLiteral("m/A song.mp3"), "x");
    const QString cafe = root.WriteFile(QStringLiteral("m/Café.mp3"), "x");
    struct Case
    {
        const char* name;
        QByteArray text;
        QStringList paths;
        QStringList titles;
        int missing;
    } cases[] = {
        {"windows.m3u", "\xEF\xBB\xBF#EXTM3U\r\n#EXTINF:61 tvg-id=\"x\",Title, with comma\r\nm\\A song.mp3\r\n"
                        "http://radio.example/stream\r\n# a comment\r\nfile://" + root.Path().toUtf8() + "m/Caf%C3%A9.mp3\r\n",
         {a, cafe}, {QStringLiteral("Title, with comma"), QString()}, 1},
        {"latin1.m3u", "m/Caf\xE9.mp3\n", {cafe}, {QString()}, 0},
        {"shuffled.pls", "; made by hand\n[Playlist]\nTITLE2=Second\nfile2=m/A song.mp3\nFile1=" + cafe.toUtf8() +
                             "\nnumberofentries=2\nVersion=2\n",
         {cafe, a}, {QString(), QStringLiteral("Second")}, 0},
        {"other.xspf", "<?xml version=\"1.0\"?>\n<playlist version=\"1\" xmlns=\"http://xspf.org/ns/0/\"><title>x</title>"
                       "<trackList><track><location>m/A%20song.mp3</location><extension application=\"x\"><a/></extension>"
                       "<title>One</title></track><track><identifier>id:1</identifier></track>"
                       "<track><location>m/Caf%C3%A9.mp3</location><location>m/none.mp3</location></track></trackList></playlist>",
         {a, cafe}, {QStringLiteral("One"), QString()}, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const PlaylistReadResult read = ReadPlaylist(root.WriteFile(QLatin1String(c.name), c.text));
        ASSERT_TRUE(read.Ok()) << read.strError.toStdString();
        QStringList paths, titles;
        for (const PlaylistFileEntry& entry : read.entries) {
            paths.append(entry.strPath);
            titles.append(entry.strTitle);
        }
        EXPECT_EQ(paths, c.paths);
        EXPECT_EQ(titles, c.titles);
        EXPECT_EQ(read.missing.size(), c.missing) << read.missing.join(QLatin1Char('|')).toStdString();
    }
}

// A length no song has reads as unknown, never as a wrapped-around number.
TEST(PlaylistFiles, LengthsBeyondAnySongReadAsUnknown)
{
    ScopedTempFolder root;
    root.WriteFile(QStringLiteral("a.mp3"), "x");
    struct Case
    {
        const char* name;
        QByteArray text;
        QList<int> seconds;
    } cases[] = {
        {"limits.m3u", "#EXTINF:1e300,a\na.mp3\n#EXTINF:nan,a\na.mp3\n#EXTINF:inf,a\na.mp3\n#EXTINF:-inf,a\na.mp3\n"
                       "#EXTINF:3000000000,a\na.mp3\n#EXTINF:-5,a\na.mp3\n#EXTINF:2.5,a\na.mp3\n",
         {-1, -1, -1, -1, -1, -1, 3}},
        {"limits.pls", "[playlist]\nFile1=a.mp3\nLength1=3000000000\nFile2=a.mp3\nLength2=1e300\nFile3=a.mp3\nLength3=7\n",
         {-1, -1, 7}},
        {"limits.xspf", "<playlist version=\"1\" xmlns=\"http://xspf.org/ns/0/\"><trackList>"
                        "<track><location>a.mp3</location><duration>9223372036854775807</duration></track>"
                        "<track><location>a.mp3</location><duration>99999999999999999999999</duration></track>"
                        "<track><location>a.mp3</location><duration>-1</duration></track>"
                        "<track><location>a.mp3</location><duration>2500</duration></track></trackList></playlist>",
         {-1, -1, -1, 3}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const PlaylistReadResult read = ReadPlaylist(root.WriteFile(QLatin1String(c.name), c.text));
        ASSERT_TRUE(read.Ok()) << read.strError.toStdString();
        QList<int> seconds;
        for (const PlaylistFileEntry& entry : read.entries)
            seconds.append(entry.nSeconds);
        EXPECT_EQ(seconds, c.seconds);
    }
}

TEST(PlaylistFiles, BrokenFilesGiveAClearErrorAndNoEntries)
{
    ScopedTempFolder root;
    root.WriteFile(QStringLiteral("a.mp3"), "x");
    // Neither blocks nor reads for ever: a FIFO and a device under a playlist's name.
    ASSERT_EQ(mkfifo(QFile::encodeName(root.FilePath(QStringLiteral("fifo.m3u"))).constData(), 0600), 0);
    ASSERT_TRUE(QFile::link(QStringLiteral("/dev/zero"), root.FilePath(QStringLiteral("zero.pls"))));
    for (const char* name : {"fifo.m3u", "zero.pls"}) {
        const PlaylistReadResult read = ReadPlaylist(root.FilePath(QLatin1String(name)));
        EXPECT_EQ(read.strError, QLatin1String(name) + QStringLiteral(": not a regular file"));
    }
    struct Case
    {
        const char* name;
        QByteArray bytes;
        const char* error;
    } cases[] = {
        {"length.m3u8", "#EXTM3U\na.mp3\n#EXTINF:abc,Title\na.mp3\n", "line 3: expected \"#EXTINF:seconds,title\""},
        {"nocomma.m3u", "#EXTINF:12 Title\na.mp3\n", "line 1"},
        {"binary.m3u", QByteArray("a.mp3\n\0\x01\x02", 9), "not a text file"},
        {"latin1.m3u8", "\xE9t\xE9.mp3\n", "not UTF-8 text"},
        {"header.pls", "File1=a.mp3\n", "line 1: a PLS playlist starts with \"[playlist]\""},
        {"empty.pls", "", "empty file"},
        {"pair.pls", "[playlist]\nFile1 a.mp3\n", "line 2: expected \"key=value\""},
        {"count.pls", "[playlist]\nFile1=a.mp3\nNumberOfEntries=2\n", "line 3: NumberOfEntries=2, but the playlist lists 1"},
        {"length.pls", "[playlist]\nFile1=a.mp3\nLength1=long\n", "line 3: Length1 is not a number"},
        {"two.pls", "[playlist]\nFile1=a.mp3\n[other]\n", "line 3: a second section"},
        {"cut.xspf", "<playlist version=\"1\" xmlns=\"http://xspf.org/ns/0/\">\n<trackList><track><location>a.mp3</location>",
         "line 2"},
        {"feed.xspf", "<rss version=\"2.0\"/>", "not an XSPF playlist"},
        {"notxml.xspf", "a.mp3\n", "line 1"},
        {"a.txt", "a.mp3\n", "not a playlist file"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const PlaylistReadResult read = ReadPlaylist(root.WriteFile(QLatin1String(c.name), c.bytes));
        EXPECT_TRUE(read.strError.startsWith(QLatin1String(c.name) + QStringLiteral(": "))) << read.strError.toStdString();
        EXPECT_TRUE(read.strError.contains(QLatin1String(c.error))) << read.strError.toStdString();
        EXPECT_TRUE(read.entries.isEmpty());
    }
    EXPECT_FALSE(ReadPlaylist(root.FilePath(QStringLiteral("none.m3u"))).Ok());
    EXPECT_FALSE(ReadPlaylist(root.Path() + QStringLiteral("dir.m3u/")).Ok());
}

TEST(PlaylistFiles, AFailedSaveSaysWhy)
{
    ScopedTempFolder root;
    const QList<PlaylistFileEntry> entries {{root.WriteFile(QStringLiteral("a.mp3"), "x"), QString(), -1}};
    struct Case
    {
        const char* name;
        const char* error;
    } cases[] = {{"list.txt", "use .m3u"}, {"none/list.m3u", "list.m3u: "}, {"busy.pls", "busy.pls: "}};
    // A folder where the playlist should go.
    QDir().mkpath(root.FilePath(QStringLiteral("busy.pls")));
    for (const Case& c : cases) {
        QString error;
        EXPECT_FALSE(WritePlaylist(root.FilePath(QLatin1String(c.name)), entries, PlaylistPaths::Absolute, &error)) << c.name;
        EXPECT_TRUE(error.contains(QLatin1String(c.error))) << error.toStdString();
    }
}
