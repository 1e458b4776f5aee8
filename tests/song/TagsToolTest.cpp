#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <gtest/gtest.h>

#include "SongTestFiles.h"

using namespace tunivox::test;

namespace {

struct ToolRun
{
    int exitCode = -1;
    QByteArray output, errors;
};

ToolRun RunTool(const QStringList& arguments)
{
    QProcess tool;
    tool.start(QStringLiteral(TUNIVOX_TAGS_TOOL), arguments);
    ToolRun run;
    if (!tool.waitForFinished(30000))
        return run;
    run.exitCode = tool.exitCode();
    run.output = tool.readAllStandardOutput();
    run.errors = tool.readAllStandardError();
    return run;
}

} // namespace

TEST(TagsTool, PrintsEveryFieldAndWritesTheControlsCover)
{
    ScopedTempFolder folder;
    const QString title = QStringLiteral("Quote \" back\\slash\ttab ünï");
    const QString song = TaggedCopy(folder, Container::Mpeg, { { "TIT2", { title } }, { "COMM", { "first\nsecond" } } },
                                    { { 0, "other" }, { 3, "front" } });
    const QString covers = folder.FilePath(QStringLiteral("covers 'ü' $(x);"));
    ASSERT_TRUE(QDir().mkpath(covers));
    const ToolRun json = RunTool({ QStringLiteral("--json"), QStringLiteral("--cover"), covers, song });
    EXPECT_EQ(json.exitCode, 0) << json.errors.toStdString();
    const QJsonObject good = QJsonDocument::fromJson(json.output).object();
    const Mp3SongTextField* fields = Mp3SongTextFields();
    for (int i = 0; i < kMp3SongTextFieldCount; ++i)
        EXPECT_TRUE(good.value(QLatin1String(fields[i].pszName)).isString()) << fields[i].pszName;
    EXPECT_EQ(good.value(QStringLiteral("m_strTitle")).toString(), title);
    EXPECT_EQ(good.value(QStringLiteral("m_bHasPicture")).toInt(), 1);
    EXPECT_EQ(FileBytes(good.value(QStringLiteral("cover")).toString()), QByteArray("front"));

    // The listing aligns values in one column and indents continuation lines under it.
    const QList<QByteArray> lines = RunTool({ song }).output.split('\n');
    const qsizetype column = lines.value(0).indexOf(" : ") + 3;
    const qsizetype comment = lines.indexOf(QByteArray("m_strComment").leftJustified(column - 3) + " : first");
    ASSERT_GT(comment, 0);
    EXPECT_EQ(lines.value(comment + 1), QByteArray(column, ' ') + "second");
}

// Arguments -> exit status and what the tool says (on standard error, standard output for --help).
TEST(TagsTool, SaysWhyAFileIsNoSongAndExitsWithTheDocumentedStatus)
{
    ScopedTempFolder folder;
    const QString song = FixturePath(QStringLiteral("noise-22k-mono.mp3"));
    const QString text = folder.WriteFile(QStringLiteral("notes 'ü' $(x);.txt"), "just some text\n");
    const QString fakeSong = folder.WriteFile(QStringLiteral("text \"ä\".mp3"), "just some text\n");
    const QString subfolder = folder.FilePath(QStringLiteral("a folder; ü"));
    ASSERT_TRUE(QDir().mkpath(subfolder));
    const QString missing = folder.FilePath(QStringLiteral("missing `x`.mp3"));
    const QString cover = QStringLiteral("--cover");
    const struct { QStringList arguments; int status; QString said; } rows[] = {
        { { song }, 0, QString() },
        { { missing }, 1, missing + QStringLiteral(": no such file") },
        { { subfolder }, 1, subfolder + QStringLiteral(": is a folder") },
        { { QStringLiteral("/dev/null") }, 1, QStringLiteral("/dev/null: not a regular file") },
        { { text }, 1, text + QStringLiteral(": not an audio file (FFmpeg: ") },
        { { fakeSong }, 1, fakeSong + QStringLiteral(": not an audio file") },
        { { FixturePath(QStringLiteral("random-bytes.flac")) }, 1, QStringLiteral("random-bytes.flac: not an audio file") },
        { { song, text }, 1, QStringLiteral(": not an audio file") },
        { { cover, missing, song }, 1, missing + QStringLiteral(": cannot take the covers: no such folder") },
        { { cover, text, song }, 1, text + QStringLiteral(": cannot take the covers: not a folder") },
        { {}, 2, QStringLiteral("no file given") },
        { { QStringLiteral("--bogus"), song }, 2, QStringLiteral("Unknown option 'bogus'") },
        { { song, cover }, 2, QStringLiteral("Missing value after '--cover'") },
        { { QStringLiteral("--help") }, 0, QStringLiteral("usage: tunivox-tags") },
    };
    for (const auto& row : rows) {
        const ToolRun run = RunTool(row.arguments);
        EXPECT_EQ(run.exitCode, row.status) << row.arguments.join(' ').toStdString();
        const QString said = QString::fromUtf8(row.arguments.contains(QStringLiteral("--help")) ? run.output : run.errors);
        EXPECT_TRUE(row.said.isEmpty() ? said.isEmpty() : said.contains(row.said))
            << row.said.toStdString() << " in:\n" << said.toStdString();
    }
    const QString help = QString::fromUtf8(RunTool({ QStringLiteral("-h") }).output);
    for (const char* option : { "\n  --json", "\n  --cover DIR", "\n  -h, --help" })
        EXPECT_TRUE(help.contains(QLatin1String(option))) << option << " has no line in:\n" << help.toStdString();
    // A record is still printed for a file that is no song, with the reason, and the others go on.
    const QList<QByteArray> lines = RunTool({ QStringLiteral("--json"), text, song }).output.trimmed().split('\n');
    ASSERT_EQ(lines.size(), 2);
    EXPECT_TRUE(QJsonDocument::fromJson(lines[0]).object().value(QStringLiteral("error")).toString().startsWith(
        QStringLiteral("not an audio file")));
    EXPECT_FALSE(QJsonDocument::fromJson(lines[1]).object().contains(QStringLiteral("error")));
}
