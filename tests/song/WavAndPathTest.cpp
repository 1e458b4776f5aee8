#include <QDir>
#include <gtest/gtest.h>
#include <taglib/id3v2tag.h>
#include <taglib/wavfile.h>

#include "SongTestFiles.h"

using namespace tunivox::test;

TEST(WavTags, Id3v2ChunkIsReadLikeAnMp3Tag)
{
    ScopedTempFolder folder;
    const QString path = BareCopy(folder, Container::Wav);
    {
        TagLib::RIFF::WAV::File file(QFile::encodeName(path).constData());
        file.ID3v2Tag()->setTitle("Wave Title");
        file.ID3v2Tag()->setYear(2001);
        AddId3v2Frame(file.ID3v2Tag(), "TRCK", QStringLiteral("4/10"));
        AddId3v2Frame(file.ID3v2Tag(), "TCOM", QStringLiteral("Composer"));
        ASSERT_TRUE(file.save(TagLib::RIFF::WAV::File::ID3v2));
    }
    CId3Tag reader;
    reader.m_song.m_bHasPicture = 1;
    const CMp3Song song = reader.ReadTag(path, QString());
    EXPECT_EQ(song.m_strTitle, QLatin1String("Wave Title"));
    EXPECT_EQ(song.m_strYear, QLatin1String("2001"));
    EXPECT_EQ(song.m_strTrack, QLatin1String("4/10"));
    EXPECT_EQ(song.m_strComposer, QLatin1String("Composer"));
    EXPECT_EQ(song.m_strChannels, QLatin1String("Mono"));
    EXPECT_EQ(song.m_bHasPicture, 0);
}

TEST(SongPaths, ExtensionDecidesTheReaderAndInvalidFilesComeBackEmpty)
{
    ScopedTempFolder folder;
    QDir().mkpath(folder.FilePath(QStringLiteral("album.mp3")));
    QDir().mkpath(folder.FilePath(QStringLiteral("Über Ordner")));
    const QString upperCase =
        CopyFixture(folder, QStringLiteral("tone-44k-stereo.mp3"), QStringLiteral("Über Ordner/Song.MP3"));
    const CMp3Song mp3 = ReadSong(upperCase);
    EXPECT_EQ(mp3.m_strFilePath, upperCase);
    EXPECT_EQ(mp3.m_strTitle, QLatin1String("Title of tone-44k-stereo"));

    const QString unknown = CopyFixture(folder, QStringLiteral("melody-44k-stereo.ogg"), QStringLiteral("song.ogg"));
    CMp3Song other = ReadSong(unknown);
    EXPECT_EQ(other.m_strFilePath, unknown) << "an unknown type keeps the path";
    other.m_strFilePath.clear();
    EXPECT_TRUE(AllTextsEmpty(other)) << "and nothing else";

    const QString invalid[] = {
        CopyFixture(folder, QStringLiteral("melody-48k-mono.flac"), QStringLiteral("album.mp3/song.flac")),
        FixturePath(QStringLiteral("random-bytes.flac")), FixturePath(QStringLiteral("empty.mp3")),
        FixturePath(QStringLiteral("not-audio.mp3")), folder.FilePath(QStringLiteral("missing.m4a")),
        folder.FilePath(QStringLiteral("missing.wma")), folder.WriteFile(QStringLiteral("header.wav"), "RIFF"),
    };
    for (const QString& path : invalid) {
        CId3Tag reader;
        const CMp3Song song = reader.ReadTag(path, QString());
        EXPECT_TRUE(AllTextsEmpty(song)) << path.toStdString() << ": not even the path";
        EXPECT_EQ(reader.ExtractPicture(song, folder.FilePath(QStringLiteral("p.jpg")), 3), 0);
    }
}
