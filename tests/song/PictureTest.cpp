#include <QDir>
#include <QFileInfo>
#include <gtest/gtest.h>

#include "SongTestFiles.h"

using namespace tunivox::test;

TEST(CoverPictures, ChoiceByTypeAndOrderInEveryContainer)
{
    const QByteArray png = FileBytes(FixturePath(QStringLiteral("cover.png")));
    ASSERT_TRUE(png.startsWith("\x89PNG"));
    struct Case { const char* name; std::vector<PictureData> pictures; QByteArray expected, expectedMp4; };
    const Case cases[] = {
        { "back cover only", { { 4, "back" } }, "<none>", "back" },
        { "other then front", { { 0, "other" }, { 3, "front" } }, "front", "other" },
        { "back then other", { { 4, "back" }, { 0, "other" } }, "other", "back" },
        { "two fronts", { { 3, "front 1" }, { 3, "front 2" } }, "front 1", "front 1" },
        { "empty front skipped", { { 3, "" }, { 3, "front 2" } }, "front 2", "front 2" },
        { "png kept byte for byte", { { 3, png } }, png, png },
    };
    for (Container container : { Container::Mpeg, Container::Wav, Container::Flac, Container::Mp4, Container::Asf }) {
        for (const Case& c : cases) {
            ScopedTempFolder folder;
            CId3Tag reader;
            const CMp3Song song = reader.ReadTag(TaggedCopy(folder, container, {}, c.pictures), QString());
            // As the player control asks: front cover, else "other"; MP4 covers have no type.
            const QString out = folder.FilePath(QStringLiteral("_tmpPlayerPic_1600.jpg"));
            if (!reader.ExtractPicture(song, out, kPictureTypeFrontCover))
                reader.ExtractPicture(song, out, kPictureTypeOther);
            EXPECT_EQ(QFileInfo::exists(out) ? FileBytes(out) : QByteArray("<none>"),
                      container == Container::Mp4 ? c.expectedMp4 : c.expected)
                << QFileInfo(song.m_strFilePath).suffix().toStdString() << ": " << c.name;
        }
    }
}

TEST(CoverPictures, WriteFailuresAreSwallowedAndWritesTruncate)
{
    ScopedTempFolder folder;
    const CMp3Song song = ReadSong(TaggedCopy(folder, Container::Mpeg, {}, { { 3, "front" } }));
    // Root ignores permissions, so only targets that cannot be files for anyone.
    QDir().mkpath(folder.FilePath(QStringLiteral("a folder.jpg")));
    const QString unwritable[] = { folder.FilePath(QStringLiteral("a folder.jpg")),
                                   folder.WriteFile(QStringLiteral("plain"), "x") + QStringLiteral("/pic.jpg"),
                                   folder.FilePath(QStringLiteral("missing/pic.jpg")) };
    for (const QString& target : unwritable) {
        EXPECT_NO_THROW(CId3Tag().ExtractPicture(song, target, kPictureTypeFrontCover)) << target.toStdString();
        EXPECT_FALSE(QFileInfo(target).isFile()) << target.toStdString();
    }
    const QString existing = folder.WriteFile(QStringLiteral("old.jpg"), QByteArray(100, 'x'));
    EXPECT_EQ(CId3Tag().ExtractPicture(song, existing, kPictureTypeFrontCover), 1);
    EXPECT_EQ(FileBytes(existing), QByteArray("front"));
}
