#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <gtest/gtest.h>
#include <taglib/mpegfile.h>
#include <taglib/tag.h>

#include "SongTestFiles.h"

using namespace tunivox::test;

namespace {

int RunTool(const QStringList& arguments, QList<QByteArray>* lines = nullptr)
{
    QProcess tool;
    tool.start(QStringLiteral(TUNIVOX_TAGS_TOOL), arguments);
    if (!tool.waitForFinished(30000))
        return -1;
    if (lines)
        *lines = tool.readAllStandardOutput().trimmed().split('\n');
    return tool.exitCode();
}

QString TaggedSong(const ScopedTempFolder& folder)
{
    const QString path = BareCopy(folder, Container::Mpeg);
    {
        TagLib::MPEG::File file(QFile::encodeName(path).constData());
        file.tag()->setTitle(TagLib::String("Quote \" back\\slash\ttab ünï", TagLib::String::UTF8));
        file.tag()->setComment("first line\nsecond line");
        file.save();
    }
    AddPictures(path, Container::Mpeg, { { 0, QByteArray("other") }, { 3, QByteArray("front") } });
    return path;
}

} // namespace

TEST(TagsTool, PrintsEveryFieldWritesTheControlsCoverAndFlagsUnreadableFiles)
{
    ScopedTempFolder folder;
    const QString song = TaggedSong(folder);
    QList<QByteArray> lines;
    EXPECT_EQ(RunTool({ QStringLiteral("--json"), QStringLiteral("--cover"), folder.FilePath(QStringLiteral("covers")),
                        song, FixturePath(QStringLiteral("random-bytes.flac")) },
                      &lines),
              1)
        << "one file could not be read";
    ASSERT_EQ(lines.size(), 2);
    const QJsonObject good = QJsonDocument::fromJson(lines[0]).object();
    const Mp3SongTextField* fields = Mp3SongTextFields();
    for (int i = 0; i < kMp3SongTextFieldCount; ++i)
        EXPECT_TRUE(good.value(QLatin1String(fields[i].pszName)).isString()) << fields[i].pszName;
    EXPECT_EQ(good.value(QStringLiteral("m_strTitle")).toString(), QStringLiteral("Quote \" back\\slash\ttab ünï"));
    EXPECT_EQ(good.value(QStringLiteral("m_bHasPicture")).toInt(), 1);
    EXPECT_EQ(FileBytes(good.value(QStringLiteral("cover")).toString()), QByteArray("front"));
    EXPECT_FALSE(QJsonDocument::fromJson(lines[1]).object().value(QStringLiteral("error")).toString().isEmpty());

    // The listing aligns values in one column and indents continuation lines under it.
    EXPECT_EQ(RunTool({ song }, &lines), 0);
    const qsizetype column = lines.value(0).indexOf(" : ") + 3;
    const qsizetype comment = lines.indexOf(QByteArray("m_strComment").leftJustified(column - 3) + " : first line");
    ASSERT_GT(comment, 0);
    EXPECT_EQ(lines.value(comment + 1), QByteArray(column, ' ') + "second line");
    EXPECT_EQ(RunTool({}), 2);
}
