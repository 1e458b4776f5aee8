#include <QDir>
#include <QSet>
#include <gtest/gtest.h>

#include "SongTestFiles.h"

using namespace tunivox::test;

TEST(Mp3Song, FieldTableNamesEveryTextOfTheRecordOnce)
{
    QSet<QString> names;
    for (int i = 0; i < kMp3SongTextFieldCount; ++i)
        names.insert(QLatin1String(Mp3SongTextFields()[i].pszName));
    EXPECT_EQ(names.size(), kMp3SongTextFieldCount);
    // Nothing but the 54 texts and the flag hides in the record, so listings and JSON miss nothing.
    EXPECT_LT(sizeof(CMp3Song) - kMp3SongTextFieldCount * sizeof(QString), sizeof(QString));
    EXPECT_EQ(CMp3Song().m_bHasPicture, 0);
}

TEST(SongPaths, ExtensionAnywhereInThePathDecidesTheReader)
{
    ScopedTempFolder folder;
    for (const char* sub : { "album.mp3", "Über Ordner", "mp3s" })
        QDir().mkpath(folder.FilePath(QString::fromUtf8(sub)));
    auto copy = [&](const char* fixture, const char* name) {
        return folder.WriteFile(QString::fromUtf8(name), FileBytes(FixturePath(QLatin1String(fixture))));
    };
    const CMp3Song upperCase = ReadSong(copy("tone-44k-stereo.mp3", "Über Ordner/Song.MP3"));
    EXPECT_EQ(upperCase.m_strTitle, QLatin1String("Title of tone-44k-stereo"));
    EXPECT_EQ(CId3Tag::HasExtension(QStringLiteral("a.mp3.bak"), QStringLiteral("MP3")), 1);

    const QString unknown = copy("melody-44k-stereo.ogg", "mp3s/song.ogg");
    CMp3Song other = ReadSong(unknown);
    EXPECT_EQ(other.m_strFilePath, unknown) << "an unknown type keeps the path";
    other.m_strFilePath.clear();
    EXPECT_TRUE(AllTextsEmpty(other)) << "and nothing else";

    const QString invalid[] = {
        copy("melody-48k-mono.flac", "album.mp3/song.flac"), FixturePath(QStringLiteral("random-bytes.flac")),
        FixturePath(QStringLiteral("empty.mp3")), FixturePath(QStringLiteral("not-audio.mp3")),
        folder.FilePath(QStringLiteral("missing.m4a")), folder.FilePath(QStringLiteral("missing.wma")),
        folder.WriteFile(QStringLiteral("header.wav"), "RIFF"),
    };
    for (const QString& path : invalid) {
        CId3Tag reader;
        const CMp3Song song = reader.ReadTag(path, QString());
        EXPECT_TRUE(AllTextsEmpty(song)) << path.toStdString() << ": not even the path";
        EXPECT_EQ(reader.ExtractPicture(song, folder.FilePath(QStringLiteral("p.jpg")), 3), 0);
    }
}
