// The conversion fallback and the process runner under it: command lines are split the Windows way
// and started without a shell, so no file name can run anything.
#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

#include "AudioTestSupport.h"
#include "platform/MsvcRand.h"
#include "platform/ProcessRunner.h"
#include "support/TestFolders.h"

using namespace tunivox::test;

namespace {

TEST(WindowsCommandLine, SplitsLikeTheWindowsRuntime)
{
    struct Case { const char* line; QStringList words; };
    const Case cases[] = {
        {"prog  -i  \"a b.mp3\" \"c.wma\"", {"prog", "-i", "a b.mp3", "c.wma"}},
        {"\"C:\\Program Files\\x.exe\" arg", {"C:\\Program Files\\x.exe", "arg"}},
        {"/opt/my app/ffmpeg -i x", {"/opt/my", "app/ffmpeg", "-i", "x"}}, // unquoted program path breaks
        {"p a\\\\\\\"b", {"p", "a\\\"b"}},                                  // 2n+1 backslashes: literal quote
        {"p \"a\\\\\" b", {"p", "a\\", "b"}},                               // 2n backslashes: n, then a quote
        {"p a\\\\b", {"p", "a\\\\b"}},                                       // no quote follows: kept
        {"p \"a \"\"q\"\" b\"", {"p", "a \"q\" b"}},                         // "" inside quotes
        {"p \"\"", {"p", ""}},
        {"p\ta\t\tb ", {"p", "a", "b"}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(SplitWindowsCommandLine(QString::fromUtf8(c.line)), c.words) << c.line;
}

// Quoted into the converter's command line, each must reach it as exactly one argument.
const char* const kHostileNames[] = {
    "plain.mp3", "with space.mp3", "quote\"inside.mp3", "it's.mp3", "semi; touch PWNED.mp3",
    "$(touch PWNED).mp3", "`touch PWNED`.mp3", "new\nline.mp3", "back\\slash\\\".mp3", "trailing\\",
    "\"; touch PWNED; \".mp3", "-y.mp3", "tab\there.mp3", "ünïcødé ♫.mp3"};

TEST(MsvcRand, ReproducesTheClassicSequence)
{
    MsvcSrand(1700000000u);
    EXPECT_LE(MsvcRand(), MSVC_RAND_MAX);
    MsvcSrand(1); // a new seed starts the sequence over
    for (int value : {41, 18467, 6334, 26500, 19169, 15724})
        EXPECT_EQ(MsvcRand(), value);
}

TEST(ProcessRunner, ReportsWhetherTheProgramStarted)
{
    ScopedTempFolder folder;
    EXPECT_FALSE(ExecuteProgramCloseProcess(folder.FilePath("missing"), QStringLiteral("-x"), 0));
    EXPECT_TRUE(ExecuteProgramCloseProcess(QStringLiteral("true"), QString(), 0));
    const pid_t pid = ExecuteProgramHandle(QStringLiteral("sh"), QStringLiteral("-c \"exit 7\""), 1);
    ASSERT_GT(pid, 0);
    EXPECT_EQ(WaitForProgram(pid), 7);
    // Installed under a folder with a blank: that program runs, not the folder's first word.
    const QString program = folder.FilePath(QStringLiteral("with blank/run me"));
    QFile::setPermissions(folder.WriteFile(QStringLiteral("with blank/run me"), "#!/bin/sh\nexit 5\n"),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QFile::setPermissions(folder.WriteFile(QStringLiteral("with"), "#!/bin/sh\nexit 9\n"),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    const pid_t blank = ExecuteProgramHandle(program, QStringLiteral("\"an argument\""), 1);
    ASSERT_GT(blank, 0);
    EXPECT_EQ(WaitForProgram(blank), 5);
}

// A stand-in converter in a folder of its own: records its arguments (NUL-separated) and writes a
// playable copy to the last.
class FakeConverter : public ScopedTempFolder
{
public:
    explicit FakeConverter(const char* copyFrom)
    {
        const QString script = QStringLiteral("#!/bin/sh\nprintf '%s\\0' \"$@\" > '") + ArgumentsFile() +
                               QStringLiteral("'\nfor a; do last=$a; done\ncp '") + FixturePath(copyFrom) +
                               QStringLiteral("' \"$last\"\n");
        QFile::setPermissions(WriteFile(QStringLiteral("ffmpeg"), script.toUtf8()),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    QString ArgumentsFile() const { return FilePath(QStringLiteral("args.bin")); }
    QStringList Arguments() const
    {
        QFile file(ArgumentsFile());
        if (!file.open(QIODevice::ReadOnly))
            return {};
        QStringList words = QString::fromUtf8(file.readAll()).split(QChar(0));
        words.removeLast(); // what follows the last NUL
        return words;
    }
};

TEST(ConversionFallback, RefusedFilesAreConvertedAndOpened)
{
    FakeConverter converter("chord-44k-stereo.wma");
    ScopedTempFolder work;
    ScopedTempFolder temp;
    for (const char* name : kHostileNames) {
        SCOPED_TRACE(name);
        const QString input = work.FilePath(QString::fromUtf8(name));
        ASSERT_TRUE(QFile::copy(FixturePath("not-audio.mp3"), input));
        QFile::remove(converter.ArgumentsFile());
        CAudioPlayer player;
        ASSERT_EQ(player.Init(), S_OK);
        player.SetPaths(converter.Path(), temp.Path());
        EXPECT_EQ(player.Open(input.toUtf8().constData()), S_OK) << player.m_szError;
        EXPECT_TRUE(player.m_bOpened);
        EXPECT_EQ(player.GetDurationSeconds(), 3u);

        // -i, the name as given, and a numbered temporary file to convert into.
        const QStringList arguments = converter.Arguments();
        ASSERT_EQ(arguments.size(), 3);
        const int number = arguments[2].mid(temp.Path().size() + 14).chopped(4).toInt();
        EXPECT_EQ(arguments, (QStringList{QStringLiteral("-i"), input,
                                          temp.Path() + QStringLiteral("_tempPlayerWma%1.wma").arg(number)}))
            << arguments.join(u'|').toStdString();
        EXPECT_GE(number, 1);
        EXPECT_LE(number, 10000);
        QFile::remove(input);
    }
    // Nothing a name said was ever run.
    EXPECT_FALSE(QFile::exists(QStringLiteral("PWNED")));
    EXPECT_FALSE(QFile::exists(work.FilePath(QStringLiteral("PWNED"))));
}

// Whatever cannot be opened fails with nothing open. The converter runs only when both folders are
// known; when there is none, or it cannot convert, the second open fails without a text.
TEST(ConversionFallback, UnplayableFilesFailCleanly)
{
    FakeConverter converter("chord-44k-stereo.wma");
    ScopedTempFolder folder;
    ScopedTempFolder temp;
    ASSERT_TRUE(QFile::link(QStringLiteral("/usr/bin/ffmpeg"), folder.FilePath(QStringLiteral("ffmpeg"))));
    const QString noConverter = folder.Path() + QStringLiteral("nobin/");
    const QByteArray missing = folder.FilePath("missing.mp3").toUtf8();
    const QByteArray badName = folder.Path().toUtf8() + "bad\xff\xfename.mp3";
    const QByteArray text = FixturePath("not-audio.mp3").toUtf8();
    const char* const notOpened = "Could not open the specified file.";
    struct Case { const char* name; QByteArray path; QString app, temp; const char* error; };
    for (const Case& c :
         {Case{"missing", missing, {}, {}, notOpened}, Case{"text", text, {}, {}, notOpened},
          Case{"empty", FixturePath("empty.mp3").toUtf8(), {}, {}, notOpened},
          Case{"unconvertible name", badName, {}, {}, notOpened},
          Case{"missing, no converter", missing, noConverter, temp.Path(), ""},
          Case{"unconvertible name, folders", badName, noConverter, temp.Path(),
               "Could not convert file name to unicode."},
          Case{"text, no temporary folder", text, converter.Path(), {}, notOpened},
          Case{"text, no converter folder", text, {}, temp.Path(), notOpened},
          Case{"text, real converter", text, folder.Path(), temp.Path(), ""}}) {
        SCOPED_TRACE(c.name);
        CAudioPlayer player;
        ASSERT_EQ(player.Init(), S_OK);
        player.SetPaths(c.app, c.temp);
        EXPECT_LT(player.Open(c.path.constData()), 0);
        EXPECT_STREQ(player.m_szError, c.error);
        EXPECT_FALSE(player.m_bOpened);
        EXPECT_EQ(player.Play(0), E_UNEXPECTED);
        EXPECT_FALSE(QFile::exists(converter.ArgumentsFile()));
        EXPECT_TRUE(QDir(temp.Path()).entryList(QDir::Files).isEmpty());
    }
}

} // namespace
