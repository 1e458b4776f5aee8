#include <QDir>
#include <QFileInfo>
#include <gtest/gtest.h>

#include "SongTestFiles.h"

using namespace tunivox::test;

namespace {

const char* Name(Container container)
{
    switch (container) {
    case Container::Mpeg: return "mp3";
    case Container::Wav: return "wav";
    case Container::Flac: return "flac";
    case Container::Mp4: return "m4a";
    case Container::Asf: return "wma";
    }
    return "?";
}

// What the player control does: front cover, else "other". Returns the bytes written, if any.
QByteArray ControlCover(const ScopedTempFolder& folder, const QString& path)
{
    CId3Tag reader;
    const CMp3Song song = reader.ReadTag(path, QString());
    const QString out = folder.FilePath(QStringLiteral("_tmpPlayerPic_1600.jpg"));
    QFile::remove(out);
    if (!reader.ExtractPicture(song, out, kPictureTypeFrontCover))
        reader.ExtractPicture(song, out, kPictureTypeOther);
    return QFileInfo::exists(out) ? FileBytes(out) : QByteArray("<none>");
}

} // namespace

TEST(CoverPictures, ChoiceByTypeAndOrderInEveryTypedContainer)
{
    const QByteArray png = FileBytes(FixturePath(QStringLiteral("cover.png")));
    ASSERT_TRUE(png.startsWith("\x89PNG"));
    struct Case { const char* name; std::vector<PictureSpec> pictures; QByteArray expected; };
    const Case cases[] = {
        { "back cover only", { { 4, "back" } }, "<none>" },
        { "other then front", { { 0, "other" }, { 3, "front" } }, "front" },
        { "other only", { { 4, "back" }, { 0, "other" } }, "other" },
        { "two fronts", { { 3, "front 1" }, { 3, "front 2" } }, "front 1" },
        { "empty front skipped", { { 3, "" }, { 3, "front 2" } }, "front 2" },
        { "png kept byte for byte", { { 3, png } }, png },
    };
    for (Container container : { Container::Mpeg, Container::Wav, Container::Flac, Container::Asf }) {
        for (const Case& c : cases) {
            ScopedTempFolder folder;
            const QString path = BareCopy(folder, container, QStringLiteral("song.") + QLatin1String(Name(container)));
            AddPictures(path, container, c.pictures);
            EXPECT_EQ(ControlCover(folder, path), c.expected) << Name(container) << ": " << c.name;
        }
    }
}

TEST(CoverPictures, Mp4SkipsEmptyCovers)
{
    ScopedTempFolder folder;
    const QString path = BareCopy(folder, Container::Mp4, QStringLiteral("song.m4a"));
    AddPictures(path, Container::Mp4, { { 3, QByteArray() }, { 3, QByteArray("second") } });
    EXPECT_EQ(ControlCover(folder, path), QByteArray("second"));
}

TEST(CoverPictures, WriteFailuresAreSwallowedAndWritesTruncate)
{
    ScopedTempFolder folder;
    const QString path = BareCopy(folder, Container::Mpeg, QStringLiteral("song.mp3"));
    AddPictures(path, Container::Mpeg, { { 3, QByteArray("front") } });
    const CMp3Song song = ReadSong(path);

    // Root ignores permissions, so only targets that cannot be files for anyone.
    const QString folderTarget = folder.FilePath(QStringLiteral("a folder.jpg"));
    QDir().mkpath(folderTarget);
    const QString fileAsFolder = folder.WriteFile(QStringLiteral("plain"), QByteArray("x"));
    const QString unwritable[] = { folderTarget, fileAsFolder + QStringLiteral("/pic.jpg"),
                                   folder.FilePath(QStringLiteral("missing/pic.jpg")) };
    for (const QString& target : unwritable) {
        EXPECT_NO_THROW(CId3Tag().ExtractPicture(song, target, kPictureTypeFrontCover)) << target.toStdString();
        EXPECT_FALSE(QFileInfo(target).isFile()) << target.toStdString();
    }

    const QString existing = folder.WriteFile(QStringLiteral("old.jpg"), QByteArray(100, 'x'));
    EXPECT_EQ(CId3Tag().ExtractPicture(song, existing, kPictureTypeFrontCover), 1);
    EXPECT_EQ(FileBytes(existing), QByteArray("front"));
    CId3Tag::WriteBufferToFile(existing, "", 0);
    EXPECT_TRUE(QFileInfo::exists(existing));
    EXPECT_EQ(QFileInfo(existing).size(), 0);
}
