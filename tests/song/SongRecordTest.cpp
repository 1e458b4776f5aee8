#include <QSet>
#include <gtest/gtest.h>

#include "SongTestFiles.h"

using namespace tunivox::test;

TEST(Mp3Song, FieldTableCoversTheRecordAndCopiesCarryEveryField)
{
    CMp3Song original;
    QSet<QString> names;
    const Mp3SongTextField* fields = Mp3SongTextFields();
    for (int i = 0; i < kMp3SongTextFieldCount; ++i) {
        names.insert(QLatin1String(fields[i].pszName));
        original.*fields[i].pMember = QStringLiteral("value %1").arg(i);
    }
    original.m_bHasPicture = 1;
    EXPECT_EQ(names.size(), kMp3SongTextFieldCount);
    // Nothing but the 54 texts and the flag hides in the record.
    EXPECT_LT(sizeof(CMp3Song) - kMp3SongTextFieldCount * sizeof(QString), sizeof(QString));
    EXPECT_EQ(CMp3Song().m_bHasPicture, 0);

    CMp3Song assigned;
    assigned = original;
    CMp3Song& alias = assigned;
    assigned = alias;
    for (const CMp3Song& copy : { CMp3Song(original), assigned }) {
        for (int i = 0; i < kMp3SongTextFieldCount; ++i)
            EXPECT_EQ(copy.*fields[i].pMember, QStringLiteral("value %1").arg(i)) << fields[i].pszName;
        EXPECT_EQ(copy.m_bHasPicture, 1);
    }
}

TEST(Id3Tag, HasExtensionIsACaseInsensitiveSubstringTest)
{
    EXPECT_EQ(CId3Tag::HasExtension(QStringLiteral("/music/Song.MP3"), QStringLiteral("mp3")), 1);
    EXPECT_EQ(CId3Tag::HasExtension(QStringLiteral("/music/song.mp3"), QStringLiteral("MP3")), 1);
    EXPECT_EQ(CId3Tag::HasExtension(QStringLiteral("/music/a.mp3.bak"), QStringLiteral("mp3")), 1);
    EXPECT_EQ(CId3Tag::HasExtension(QStringLiteral("/music/mp3s/song.ogg"), QStringLiteral("mp3")), 0);
}

TEST(Id3Tag, UntaggedFilesStillCarryTheirAudioProperties)
{
    struct Case { const char* fixture; const char* sampleRate; const char* channels; };
    const Case cases[] = {
        { "tone-44k-stereo.mp3", "44100", "Stereo" }, { "noise-22k-mono.mp3", "22050", "Mono" },
        { "tone-48k-mono.wav", "48000", "Mono" },     { "melody-48k-mono.flac", "48000", "Mono" },
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
    EXPECT_TRUE(wma.m_strSampleRate.isEmpty() && wma.m_strChannels.isEmpty() && wma.m_strCodecInfo.isEmpty()
                && wma.m_strBitrate.isEmpty() && wma.m_strLength.isEmpty())
        << "the ASF path reads no audio properties";
}
