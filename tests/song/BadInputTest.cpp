#include <QFileInfo>
#include <QRandomGenerator>
#include <gtest/gtest.h>

#include "SongTestFiles.h"

using namespace tunivox::test;

TEST(BadInput, DamagedFilesOfEveryContainerNeverCrashAndFailCleanly)
{
    const char* fixtures[] = { "tone-44k-stereo.mp3", "chord-44k-stereo-vbr.mp3", "melody-44k-stereo.wav",
                               "melody-48k-mono.flac", "melody-44k-stereo.m4a", "chord-44k-stereo.wma" };
    QRandomGenerator random(20240501);
    for (const char* fixture : fixtures) {
        const QByteArray bytes = FileBytes(FixturePath(QLatin1String(fixture)));
        ASSERT_FALSE(bytes.isEmpty()) << fixture;
        std::vector<QByteArray> damaged;
        for (qsizetype length : { qsizetype(0), qsizetype(1), qsizetype(10), qsizetype(200), bytes.size() / 2,
                                  bytes.size() - 1 })
            damaged.push_back(bytes.left(length));
        for (int n = 0; n < 24; ++n) {
            QByteArray flipped = bytes;
            // Most structure sits in the first kilobytes: aim half of the flips there.
            const auto span = static_cast<quint32>(n % 2 ? flipped.size() : std::min<qsizetype>(flipped.size(), 4096));
            for (int bit = 0; bit <= n % 8; ++bit)
                flipped[random.bounded(span)] ^= static_cast<char>(1 << random.bounded(8));
            damaged.push_back(flipped);
        }
        QByteArray noise(bytes.size(), Qt::Uninitialized);
        for (char& c : noise)
            c = static_cast<char>(random.bounded(256));
        damaged.push_back(noise);

        ScopedTempFolder folder;
        const QString name = QStringLiteral("damaged.") + QFileInfo(QLatin1String(fixture)).suffix();
        for (size_t i = 0; i < damaged.size(); ++i) {
            CId3Tag reader;
            const CMp3Song song = reader.ReadTag(folder.WriteFile(name, damaged[i]), QString());
            reader.ExtractPicture(song, folder.FilePath(QStringLiteral("cover.jpg")), kPictureTypeFrontCover);
            // Either a read to the end (path set) or the empty record, never a half-filled one.
            if (song.m_strFilePath.isEmpty() || i == 0) {
                EXPECT_TRUE(AllTextsEmpty(song)) << fixture << ", damaged copy " << i;
            }
        }
    }
}
