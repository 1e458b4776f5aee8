#include <QFileInfo>
#include <QRandomGenerator>
#include <gtest/gtest.h>

#include "SongTestFiles.h"

using namespace tunivox::test;

namespace {

// Damaged variants of one file: cut at several lengths, bits flipped, its length in random bytes.
std::vector<std::pair<QString, QByteArray>> DamagedCopies(const QByteArray& bytes, quint32 seed)
{
    std::vector<std::pair<QString, QByteArray>> copies;
    for (qsizetype length : { qsizetype(0), qsizetype(1), qsizetype(4), qsizetype(10), qsizetype(64),
                              qsizetype(200), bytes.size() / 3, bytes.size() / 2, bytes.size() - 1 })
        copies.emplace_back(QStringLiteral("cut at %1").arg(length), bytes.left(length));
    QRandomGenerator random(seed);
    for (int n = 0; n < 24; ++n) {
        QByteArray flipped = bytes;
        // Most structure sits in the first kilobytes; aim half of the flips there.
        const qsizetype span = n % 2 ? flipped.size() : std::min<qsizetype>(flipped.size(), 4096);
        for (int bit = 0; bit < 1 + n % 8; ++bit) {
            const qsizetype at = random.bounded(static_cast<quint32>(span));
            flipped[at] = static_cast<char>(flipped[at] ^ (1 << random.bounded(8)));
        }
        copies.emplace_back(QStringLiteral("flips #%1").arg(n), flipped);
    }
    QByteArray noise(bytes.size(), Qt::Uninitialized);
    for (char& c : noise)
        c = static_cast<char>(random.bounded(256));
    copies.emplace_back(QStringLiteral("random bytes"), noise);
    return copies;
}

} // namespace

TEST(BadInput, DamagedFilesOfEveryContainerNeverCrashAndFailCleanly)
{
    const char* fixtures[] = { "tone-44k-stereo.mp3", "chord-44k-stereo-vbr.mp3", "melody-44k-stereo.wav",
                               "melody-48k-mono.flac", "melody-44k-stereo.m4a", "chord-44k-stereo.wma" };
    quint32 seed = 1;
    for (const char* fixture : fixtures) {
        const QString name = QLatin1String(fixture);
        const QByteArray bytes = FileBytes(FixturePath(name));
        ASSERT_FALSE(bytes.isEmpty()) << fixture;
        ScopedTempFolder folder;
        const QString path = folder.FilePath(QStringLiteral("damaged.") + name.section(QLatin1Char('.'), -1));
        const QString cover = folder.FilePath(QStringLiteral("cover.jpg"));
        for (const auto& [what, damaged] : DamagedCopies(bytes, seed++)) {
            folder.WriteFile(QFileInfo(path).fileName(), damaged);
            CId3Tag reader;
            const CMp3Song song = reader.ReadTag(path, QString());
            reader.ExtractPicture(song, cover, kPictureTypeFrontCover);
            reader.ExtractPicture(song, cover, kPictureTypeOther);
            // Either a full read (path set) or the empty record, never a half-filled one.
            if (song.m_strFilePath.isEmpty()) {
                EXPECT_TRUE(song.m_strTitle.isEmpty() && song.m_strSampleRate.isEmpty())
                    << fixture << ", " << what.toStdString();
            }
            if (what == QLatin1String("cut at 0")) {
                EXPECT_TRUE(song.m_strFilePath.isEmpty()) << fixture << ": a zero-length file is unreadable";
            }
        }
    }
}
