// tunivox-play as a user runs it: exact capture, error report format and exit codes.
#include <QFile>
#include <gtest/gtest.h>

#include "AudioTestSupport.h"
#include "support/ProgramRun.h"
#include "support/TestFolders.h"

using namespace tunivox::test;

namespace {

struct ToolRun { int exitCode; QString errors, output; };

ToolRun PlayTool(const QStringList& arguments)
{
    const ProgramResult tool = RunProgram(QStringLiteral(TUNIVOX_BINARY_DIR "/bin/tunivox-play"), arguments, 30000);
    EXPECT_TRUE(tool.bFinished);
    return {tool.nExitCode, QString::fromUtf8(tool.errors), QString::fromUtf8(tool.output)};
}

TEST(PlayTool, CapturesWhatItPlaysAndReportsFailures)
{
    ScopedTempFolder folder;
    const QString capture = folder.FilePath(QStringLiteral("out.raw"));
    const QString song = FixturePath(QStringLiteral("noise-22k-mono.mp3"));
    const ToolRun played = PlayTool({QStringLiteral("--untimed"), QStringLiteral("--capture"), capture, song});
    EXPECT_EQ(played.exitCode, 0) << played.errors.toStdString();
    QFile file(capture);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray pcm = file.readAll();
    const QByteArray reference = ReferencePcm(song);
    EXPECT_EQ(pcm.size(), reference.size() - reference.size() % kBlockBytes);
    EXPECT_TRUE(reference.startsWith(pcm));

    const ToolRun failed = PlayTool({QStringLiteral("--untimed"), folder.FilePath(QStringLiteral("missing.mp3")), song});
    EXPECT_EQ(failed.exitCode, 1);
    EXPECT_TRUE(failed.errors.contains(QStringLiteral("PlayCtrl Error #-2147024894\nError context: ")))
        << failed.errors.toStdString();
}

// Every file that cannot be played is named, with a reason a listener can act on, and exit code 1.
TEST(PlayTool, NamesEachUnplayableFileWithAReason)
{
    ScopedTempFolder folder;
    ASSERT_TRUE(QFile::link(QStringLiteral("/dev/zero"), folder.FilePath(QStringLiteral("device.mp3"))));
    const struct { QString path; const char* reason; } rows[] = {
        {folder.FilePath(QStringLiteral("device.mp3")), "not a regular file"},
        {folder.FilePath(QStringLiteral("missing.mp3")), "no such file"},
        {folder.Path(), "is a folder"},
        {folder.WriteFile(QStringLiteral("garbage $(x); 'q'.mp3"), QByteArray(4000, '\x5a')), ""},
        {folder.WriteFile(QStringLiteral("text.flac"), "just some text\n"), ""},
    };
    for (const auto& row : rows) {
        const ToolRun run = PlayTool({QStringLiteral("--untimed"), row.path});
        EXPECT_EQ(run.exitCode, 1) << row.path.toStdString();
        EXPECT_TRUE(run.errors.contains(QStringLiteral("PlayCtrl Error #"))) << run.errors.toStdString();
        const QString named = QStringLiteral("tunivox-play: ") + row.path + QStringLiteral(": ");
        const qsizetype at = run.errors.indexOf(named);
        ASSERT_GE(at, 0) << run.errors.toStdString();
        const QString reason = run.errors.mid(at + named.size()).trimmed();
        EXPECT_FALSE(reason.isEmpty()) << row.path.toStdString();
        EXPECT_TRUE(reason.startsWith(QLatin1String(row.reason))) << reason.toStdString();
    }
    const ToolRun help = PlayTool({QStringLiteral("--help")});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_TRUE(help.output.startsWith(QStringLiteral("usage: tunivox-play"))) << help.output.toStdString();
}

TEST(PlayTool, RejectsBadCommandLines)
{
    const QString song = FixturePath(QStringLiteral("short-44k-stereo.wav"));
    for (const QStringList& arguments :
         {QStringList{}, QStringList{QStringLiteral("--device"), QStringLiteral("oss"), song},
          QStringList{QStringLiteral("--speed"), QStringLiteral("0"), song},
          QStringList{QStringLiteral("--device"), QStringLiteral("alsa"), QStringLiteral("--untimed"), song},
          QStringList{QStringLiteral("--seek-at"), QStringLiteral("3"), song},
          QStringList{QStringLiteral("--volume"), song},
          QStringList{QStringLiteral("--hand-back"), QStringLiteral("5000"), song}})
        EXPECT_EQ(PlayTool(arguments).exitCode, 2) << arguments.join(' ').toStdString();
}

} // namespace
