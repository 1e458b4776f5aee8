#include <QDir>
#include <gtest/gtest.h>
#include <taglib/commentsframe.h>
#include <taglib/id3v2tag.h>
#include <taglib/textidentificationframe.h>
#include <taglib/wavfile.h>

#include "SongTestFiles.h"

using namespace tunivox::test;

namespace {

bool AllTextsEmpty(const CMp3Song& song)
{
    const Mp3SongTextField* fields = Mp3SongTextFields();
    for (int i = 0; i < kMp3SongTextFieldCount; ++i)
        if (!(song.*fields[i].pMember).isEmpty())
            return false;
    return true;
}

} // namespace

TEST(WavTags, Id3v2ChunkIsReadLikeAnMp3Tag)
{
    ScopedTempFolder folder;
    const QString path = BareCopy(folder, Container::Wav, QStringLiteral("song.wav"));
    {
        TagLib::RIFF::WAV::File file(QFile::encodeName(path).constData());
        TagLib::ID3v2::Tag* tag = file.ID3v2Tag();
        tag->setTitle("Wave Title");
        tag->setYear(2001);
        auto* track = new TagLib::ID3v2::TextIdentificationFrame("TRCK", TagLib::String::UTF8);
        track->setText("4/10");
        tag->addFrame(track);
        auto* composer = new TagLib::ID3v2::TextIdentificationFrame("TCOM", TagLib::String::UTF8);
        composer->setText("Composer");
        tag->addFrame(composer);
        ASSERT_TRUE(file.save(TagLib::RIFF::WAV::File::ID3v2));
    }
    CId3Tag reader;
    reader.m_song.m_bHasPicture = 1;
    const CMp3Song song = reader.ReadTag(path, QString());
    EXPECT_EQ(song.m_strTitle, QLatin1String("Wave Title"));
    EXPECT_EQ(song.m_strYear, QLatin1String("2001"));
    EXPECT_EQ(song.m_strTrack, QLatin1String("4/10"));
    EXPECT_EQ(song.m_strComposer, QLatin1String("Composer"));
    EXPECT_TRUE(song.m_strV1Track.isEmpty()) << "WAV files have no ID3v1 step";
    EXPECT_EQ(song.m_strChannels, QLatin1String("Stereo"));
    EXPECT_EQ(song.m_bHasPicture, 0);
}

TEST(SongPaths, ExtensionDecidesTheReaderAndInvalidFilesComeBackEmpty)
{
    ScopedTempFolder folder;
    QDir().mkpath(folder.FilePath(QStringLiteral("album.mp3")));
    QDir().mkpath(folder.FilePath(QStringLiteral("Über Ordner")));
    const QString flacInMp3Folder =
        CopyFixture(folder, QStringLiteral("melody-48k-mono.flac"), QStringLiteral("album.mp3/song.flac"));
    const QString upperCase =
        CopyFixture(folder, QStringLiteral("tone-44k-stereo.mp3"), QStringLiteral("Über Ordner/Song.MP3"));
    const QString unknown = CopyFixture(folder, QStringLiteral("melody-44k-stereo.ogg"), QStringLiteral("song.ogg"));

    const CMp3Song mp3 = ReadSong(upperCase);
    EXPECT_EQ(mp3.m_strFilePath, upperCase);
    EXPECT_EQ(mp3.m_strTitle, QLatin1String("Title of tone-44k-stereo"));

    const CMp3Song other = ReadSong(unknown);
    EXPECT_EQ(other.m_strFilePath, unknown) << "an unknown type keeps the path";
    CMp3Song withoutPath = other;
    withoutPath.m_strFilePath.clear();
    EXPECT_TRUE(AllTextsEmpty(withoutPath)) << "and nothing else";

    for (const QString& invalid : { flacInMp3Folder, FixturePath(QStringLiteral("random-bytes.flac")),
                                    FixturePath(QStringLiteral("empty.mp3")), FixturePath(QStringLiteral("not-audio.mp3")),
                                    folder.FilePath(QStringLiteral("missing.m4a")),
                                    folder.FilePath(QStringLiteral("missing.wma")) }) {
        CId3Tag reader;
        const CMp3Song song = reader.ReadTag(invalid, QString());
        EXPECT_TRUE(AllTextsEmpty(song)) << invalid.toStdString() << ": not even the path";
        EXPECT_EQ(reader.ExtractPicture(song, folder.FilePath(QStringLiteral("p.jpg")), 3), 0);
    }
}
