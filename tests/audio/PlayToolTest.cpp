// tunivox-play as a user runs it: exact capture, what each failure says and the exit codes.
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

TEST(PlayTool, CapturesWhatItPlaysAndGoesOnPastAFailure)
{
    ScopedTempFolder folder;
    const QString capture = folder.FilePath(QStringLiteral("out ü;$(x).raw"));
    const QString song = FixturePath(QStringLiteral("noise-22k-mono.mp3"));
    const ToolRun played = PlayTool({QStringLiteral("--untimed"), QStringLiteral("--capture"), capture,
                                     folder.FilePath(QStringLiteral("missing.mp3")), song});
    EXPECT_EQ(played.exitCode, 1) << "one file could not be played";
    QFile file(capture);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray pcm = file.readAll();
    const QByteArray reference = ReferencePcm(song);
    EXPECT_EQ(pcm.size(), reference.size() - reference.size() % kBlockBytes);
    EXPECT_TRUE(reference.startsWith(pcm));
}

// Each failure keeps the engine's "PlayCtrl Error" report and adds the file's own line with the
// reason; a bad command line says what is wrong. Arguments -> exit status and what is said.
TEST(PlayTool, SaysWhyAndExitsWithTheDocumentedStatus)
{
    ScopedTempFolder folder;
    const QString device = folder.FilePath(QStringLiteral("device \"ä\".mp3"));
    ASSERT_TRUE(QFile::link(QStringLiteral("/dev/zero"), device));
    const QString garbage = folder.WriteFile(QStringLiteral("garbage $(x); 'q'.mp3"), QByteArray(4000, '\x5a'));
    const QString text = folder.WriteFile(QStringLiteral("text ünï.flac"), "just some text\n");
    const QString missing = folder.FilePath(QStringLiteral("missing `x`.mp3"));
    const QString song = FixturePath(QStringLiteral("short-44k-stereo.wav"));
    const QString untimed = QStringLiteral("--untimed");
    const struct { QStringList arguments; int status; QString said; } rows[] = {
        {{untimed, missing}, 1, missing + QStringLiteral(": no such file")},
        {{untimed, folder.Path()}, 1, folder.Path() + QStringLiteral(": is a folder")},
        {{untimed, device}, 1, device + QStringLiteral(": not a regular file")},
        {{untimed, garbage}, 1, garbage + QStringLiteral(": not an audio file the player can decode (FFmpeg: open: ")},
        {{untimed, text}, 1, text + QStringLiteral(": not an audio file the player can decode")},
        {{untimed, QStringLiteral("--capture"), missing + QStringLiteral("/x.raw"), song}, 1,
         QStringLiteral("x.raw: the capture file cannot be written: No such file or directory")},
        {{untimed, QStringLiteral("--capture"), folder.Path(), song}, 1,
         QStringLiteral("the capture file cannot be written: Is a directory")},
        {{}, 2, QStringLiteral("no file given")},
        {{QStringLiteral("--device"), QStringLiteral("oss"), song}, 2, QStringLiteral("--device takes alsa or null")},
        {{QStringLiteral("--speed"), QStringLiteral("0"), song}, 2, QStringLiteral("--speed takes a positive")},
        {{QStringLiteral("--device"), QStringLiteral("alsa"), untimed, song}, 2, QStringLiteral("need the null device")},
        {{QStringLiteral("--seek-at"), QStringLiteral("3"), song}, 2, QStringLiteral("--seek-at takes T:POS")},
        {{QStringLiteral("--volume"), song}, 2, QStringLiteral("unknown option --volume")},
        {{song, QStringLiteral("--capture")}, 2, QStringLiteral("--capture needs a value")},
        {{QStringLiteral("--hand-back"), QStringLiteral("5000"), song}, 2, QStringLiteral("--hand-back takes")},
        {{QStringLiteral("--help")}, 0, QStringLiteral("usage: tunivox-play")},
    };
    for (const auto& row : rows) {
        const ToolRun run = PlayTool(row.arguments);
        const QString& said = row.status == 0 ? run.output : run.errors;
        EXPECT_EQ(run.exitCode, row.status) << row.arguments.join(' ').toStdString();
        EXPECT_TRUE(said.contains(row.said)) << row.said.toStdString() << " in:\n" << said.toStdString();
        if (row.status == 1 && !row.said.contains(QLatin1String("capture"))) {
            EXPECT_TRUE(run.errors.contains(QStringLiteral("PlayCtrl Error #"))) << run.errors.toStdString();
        }
    }
    const QString help = PlayTool({QStringLiteral("-h")}).output;
    for (const char* option : {"--device alsa|null", "--alsa-device NAME", "--speed N", "--untimed", "--capture FILE",
                               "--start SECONDS", "--seek-at T:POS", "--stats", "--hand-back MS", "--help"})
        EXPECT_TRUE(help.contains(QLatin1String("\n  ") + QLatin1String(option)) ||
                    help.contains(QLatin1String(", ") + QLatin1String(option)))
            << option << " has no line in:\n" << help.toStdString();
}

} // namespace
