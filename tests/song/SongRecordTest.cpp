#include <QSet>
#include <gtest/gtest.h>

#include "SongTestFiles.h"

using namespace tunivox::test;

namespace {

CMp3Song DistinctSong()
{
    CMp3Song song;
    const Mp3SongTextField* fields = Mp3SongTextFields();
    for (int i = 0; i < kMp3SongTextFieldCount; ++i)
        song.*fields[i].pMember = QStringLiteral("value %1 of %2").arg(i).arg(QLatin1String(fields[i].pszName));
    song.m_bHasPicture = 1;
    return song;
}

void ExpectSameRecord(const CMp3Song& actual, const CMp3Song& expected)
{
    const Mp3SongTextField* fields = Mp3SongTextFields();
    for (int i = 0; i < kMp3SongTextFieldCount; ++i)
        EXPECT_EQ(actual.*fields[i].pMember, expected.*fields[i].pMember) << fields[i].pszName;
    EXPECT_EQ(actual.m_bHasPicture, expected.m_bHasPicture);
}

} // namespace

TEST(Mp3Song, FieldTableNamesEveryTextMemberOnce)
{
    QSet<QString> names;
    QSet<const void*> members;
    CMp3Song song;
    const Mp3SongTextField* fields = Mp3SongTextFields();
    for (int i = 0; i < kMp3SongTextFieldCount; ++i) {
        names.insert(QLatin1String(fields[i].pszName));
        members.insert(&(song.*fields[i].pMember));
    }
    EXPECT_EQ(names.size(), kMp3SongTextFieldCount);
    EXPECT_EQ(members.size(), kMp3SongTextFieldCount);
    EXPECT_EQ(QLatin1String(fields[0].pszName), QLatin1String("m_strArtist"));
    EXPECT_EQ(QLatin1String(fields[kMp3SongTextFieldCount - 1].pszName), QLatin1String("m_strAux16"));
    // Every member is either in the table or the flag: nothing else hides in the record.
    EXPECT_LT(sizeof(CMp3Song) - kMp3SongTextFieldCount * sizeof(QString), sizeof(QString));
    EXPECT_EQ(CMp3Song().m_bHasPicture, 0);
}

TEST(Mp3Song, CopiesCarryEveryFieldAndSelfAssignmentKeepsThem)
{
    const CMp3Song original = DistinctSong();
    const CMp3Song constructed(original);
    ExpectSameRecord(constructed, original);

    CMp3Song assigned;
    assigned = original;
    ExpectSameRecord(assigned, original);

    CMp3Song& alias = assigned;
    assigned = alias;
    ExpectSameRecord(assigned, original);
}

TEST(Id3Tag, HasExtensionIsACaseInsensitiveSubstringTest)
{
    struct Case { const char* path; const char* ext; int expected; };
    const Case cases[] = {
        { "/music/Song.MP3", "mp3", 1 },
        { "/music/song.mp3", "MP3", 1 },
        { "/music/a.mp3.bak", "mp3", 1 },
        { "/music/album.mp3/track.flac", "mp3", 1 },
        { "/music/song.mp3", "mp", 1 },
        { "/music/mp3s/song.ogg", "mp3", 0 },
        { "/music/song.flac", "flac", 1 },
        { "", "mp3", 0 },
    };
    for (const Case& c : cases)
        EXPECT_EQ(CId3Tag::HasExtension(QString::fromUtf8(c.path), QString::fromUtf8(c.ext)), c.expected)
            << c.path << " / " << c.ext;
}

TEST(Id3Tag, UntaggedFilesStillCarryTheirAudioProperties)
{
    struct Case { const char* fixture; const char* sampleRate; const char* channels; };
    const Case cases[] = {
        { "tone-44k-stereo.mp3", "44100", "Stereo" },
        { "noise-22k-mono.mp3", "22050", "Mono" },
        { "tone-48k-mono.wav", "48000", "Mono" },
        { "melody-48k-mono.flac", "48000", "Mono" },
        { "melody-44k-stereo.m4a", "44100", "Stereo" },
    };
    for (const Case& c : cases) {
        const CMp3Song song = ReadSong(FixturePath(QLatin1String(c.fixture)));
        EXPECT_EQ(song.m_strSampleRate, QLatin1String(c.sampleRate)) << c.fixture;
        EXPECT_EQ(song.m_strChannels, QLatin1String(c.channels)) << c.fixture;
        EXPECT_EQ(song.m_strCodecInfo, QLatin1String("n/a")) << c.fixture;
        EXPECT_GT(song.m_strBitrate.toInt(), 0) << c.fixture;
        EXPECT_GT(song.m_strLength.toInt(), 0) << c.fixture;
    }
    const CMp3Song wma = ReadSong(FixturePath(QStringLiteral("tone-22k-mono.wma")));
    EXPECT_FALSE(wma.m_strFilePath.isEmpty());
    for (const QString& property : { wma.m_strSampleRate, wma.m_strChannels, wma.m_strCodecInfo,
                                     wma.m_strBitrate, wma.m_strLength })
        EXPECT_TRUE(property.isEmpty()) << "the ASF path reads no audio properties";
}
