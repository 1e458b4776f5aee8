#include <QDir>
#include <QFileInfo>
#include <gtest/gtest.h>

#include "SongTestFiles.h"

using namespace tunivox::test;

TEST(CoverPictures, ChoiceByTypeAndOrderInEveryTypedContainer)
{
    const QByteArray png = FileBytes(FixturePath(QStringLiteral("cover.png")));
    ASSERT_TRUE(png.startsWith("\x89PNG"));
    struct Case { const char* name; std::vector<PictureSpec> pictures; QByteArray expected; };
    const Case cases[] = {
        { "back cover only", { { 4, "back" } }, "<none>" },
        { "other then front", { { 0, "other" }, { 3, "front" } }, "front" },
        { "back then other", { { 4, "back" }, { 0, "other" } }, "other" },
        { "two fronts", { { 3, "front 1" }, { 3, "front 2" } }, "front 1" },
        { "empty front skipped", { { 3, "" }, { 3, "front 2" } }, "front 2" },
        { "png kept byte for byte", { { 3, png } }, png },
    };
    for (Container container : { Container::Mpeg, Container::Wav, Container::Flac, Container::Asf }) {
        for (const Case& c : cases) {
            ScopedTempFolder folder;
            const QString path = BareCopy(folder, container);
            AddPictures(path, container, c.pictures);
            // As the player control asks: front cover, else "other".
            CId3Tag reader;
            const CMp3Song song = reader.ReadTag(path, QString());
            const QString out = folder.FilePath(QStringLiteral("_tmpPlayerPic_1600.jpg"));
            if (!reader.ExtractPicture(song, out, kPictureTypeFrontCover))
                reader.ExtractPicture(song, out, kPictureTypeOther);
            EXPECT_EQ(QFileInfo::exists(out) ? FileBytes(out) : QByteArray("<none>"), c.expected)
                << QFileInfo(path).suffix().toStdString() << ": " << c.name;
        }
    }
}

TEST(CoverPictures, WriteFailuresAreSwallowedAndWritesTruncate)
{
    ScopedTempFolder folder;
    const QString path = BareCopy(folder, Container::Mpeg);
    AddPictures(path, Container::Mpeg, { { 3, QByteArray("front") } });
    const CMp3Song song = ReadSong(path);

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
