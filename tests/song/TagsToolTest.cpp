#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <gtest/gtest.h>
#include <taglib/mpegfile.h>
#include <taglib/tag.h>

#include "SongTestFiles.h"

using namespace tunivox::test;

namespace {

struct ToolRun { int exitCode; QList<QByteArray> lines; };

ToolRun RunTool(const QStringList& arguments)
{
    QProcess tool;
    tool.start(QStringLiteral(TUNIVOX_TAGS_TOOL), arguments);
    const bool finished = tool.waitForFinished(30000);
    QList<QByteArray> lines = tool.readAllStandardOutput().split('\n');
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    return { finished ? tool.exitCode() : -1, lines };
}

QString TaggedSong(const ScopedTempFolder& folder)
{
    const QString path = BareCopy(folder, Container::Mpeg, QStringLiteral("song \"one\".mp3"));
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

TEST(TagsTool, JsonLinesCarryEveryFieldAndTheControlsCover)
{
    ScopedTempFolder folder;
    const QString song = TaggedSong(folder);
    const QString covers = folder.FilePath(QStringLiteral("covers"));
    const ToolRun run = RunTool({ QStringLiteral("--json"), QStringLiteral("--cover"), covers, song,
                                  FixturePath(QStringLiteral("random-bytes.flac")) });
    EXPECT_EQ(run.exitCode, 1) << "one file could not be read";
    ASSERT_EQ(run.lines.size(), 2);

    QJsonParseError error;
    const QJsonObject good = QJsonDocument::fromJson(run.lines[0], &error).object();
    ASSERT_EQ(error.error, QJsonParseError::NoError) << run.lines[0].toStdString();
    const Mp3SongTextField* fields = Mp3SongTextFields();
    for (int i = 0; i < kMp3SongTextFieldCount; ++i)
        EXPECT_TRUE(good.value(QLatin1String(fields[i].pszName)).isString()) << fields[i].pszName;
    EXPECT_EQ(good.value(QStringLiteral("m_strTitle")).toString(), QStringLiteral("Quote \" back\\slash\ttab ünï"));
    EXPECT_EQ(good.value(QStringLiteral("m_strComment")).toString(), QStringLiteral("first line\nsecond line"));
    EXPECT_EQ(good.value(QStringLiteral("m_bHasPicture")).toInt(), 1);
    EXPECT_EQ(FileBytes(good.value(QStringLiteral("cover")).toString()), QByteArray("front"));

    const QJsonObject bad = QJsonDocument::fromJson(run.lines[1], &error).object();
    ASSERT_EQ(error.error, QJsonParseError::NoError);
    EXPECT_TRUE(bad.value(QStringLiteral("m_strFilePath")).toString().isEmpty());
    EXPECT_FALSE(bad.value(QStringLiteral("error")).toString().isEmpty());
}

TEST(TagsTool, ListingAlignsValuesAndIndentsContinuationLines)
{
    ScopedTempFolder folder;
    const ToolRun run = RunTool({ TaggedSong(folder) });
    EXPECT_EQ(run.exitCode, 0);
    const qsizetype column = run.lines.value(0).indexOf(" : ") + 3;
    ASSERT_GT(column, 3);
    qsizetype commentLine = -1;
    for (qsizetype i = 0; i < run.lines.size(); ++i) {
        if (run.lines[i].startsWith("m_strComment "))
            commentLine = i;
        if (!run.lines[i].isEmpty() && !run.lines[i].startsWith(' ')) {
            EXPECT_EQ(run.lines[i].indexOf(" : ") + 3, column) << run.lines[i].toStdString();
        }
    }
    ASSERT_GE(commentLine, 0);
    EXPECT_TRUE(run.lines[commentLine].endsWith(" : first line"));
    EXPECT_EQ(run.lines[commentLine + 1], QByteArray(column, ' ') + "second line");
    EXPECT_EQ(RunTool({ folder.FilePath(QStringLiteral("missing.mp3")) }).exitCode, 1);
    EXPECT_EQ(RunTool({}).exitCode, 2);
}
