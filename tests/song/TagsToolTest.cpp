#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <gtest/gtest.h>

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

} // namespace

TEST(TagsTool, PrintsEveryFieldWritesTheControlsCoverAndFlagsUnreadableFiles)
{
    ScopedTempFolder folder;
    const QString title = QStringLiteral("Quote \" back\\slash\ttab ünï");
    const QString song = TaggedCopy(folder, Container::Mpeg, { { "TIT2", { title } }, { "COMM", { "first\nsecond" } } },
                                    { { 0, "other" }, { 3, "front" } });
    QList<QByteArray> lines;
    EXPECT_EQ(RunTool({ QStringLiteral("--json"), QStringLiteral("--cover"), folder.FilePath(QStringLiteral("covers")),
                        song, FixturePath(QStringLiteral("random-bytes.flac")) }, &lines),
              1) << "one file could not be read";
    ASSERT_EQ(lines.size(), 2);
    const QJsonObject good = QJsonDocument::fromJson(lines[0]).object();
    const Mp3SongTextField* fields = Mp3SongTextFields();
    for (int i = 0; i < kMp3SongTextFieldCount; ++i)
        EXPECT_TRUE(good.value(QLatin1String(fields[i].pszName)).isString()) << fields[i].pszName;
    EXPECT_EQ(good.value(QStringLiteral("m_strTitle")).toString(), title);
    EXPECT_EQ(good.value(QStringLiteral("m_bHasPicture")).toInt(), 1);
    EXPECT_EQ(FileBytes(good.value(QStringLiteral("cover")).toString()), QByteArray("front"));
    EXPECT_FALSE(QJsonDocument::fromJson(lines[1]).object().value(QStringLiteral("error")).toString().isEmpty());

    // The listing aligns values in one column and indents continuation lines under it.
    EXPECT_EQ(RunTool({ song }, &lines), 0);
    const qsizetype column = lines.value(0).indexOf(" : ") + 3;
    const qsizetype comment = lines.indexOf(QByteArray("m_strComment").leftJustified(column - 3) + " : first");
    ASSERT_GT(comment, 0);
    EXPECT_EQ(lines.value(comment + 1), QByteArray(column, ' ') + "second");
    EXPECT_EQ(RunTool({}), 2);
    EXPECT_EQ(RunTool({ QStringLiteral("--bogus"), song }), 2) << "a bad command line exits 2";
    EXPECT_EQ(RunTool({ QStringLiteral("--help") }), 0);
}
