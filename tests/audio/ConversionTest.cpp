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
    MsvcSrand(1);
    const int expected[] = {41, 18467, 6334, 26500, 19169, 15724};
    for (int value : expected)
        EXPECT_EQ(MsvcRand(), value);
    MsvcSrand(1700000000u);
    const int first = MsvcRand();
    MsvcSrand(1700000000u);
    EXPECT_EQ(MsvcRand(), first);
    EXPECT_LE(first, MSVC_RAND_MAX);
}

TEST(ProcessRunner, ReportsWhetherTheProgramStarted)
{
    ScopedTempFolder folder;
    EXPECT_FALSE(ExecuteProgramCloseProcess(folder.FilePath("missing"), QStringLiteral("-x"), 0));
    EXPECT_TRUE(ExecuteProgramCloseProcess(QStringLiteral("true"), QString(), 0));
    const pid_t pid = ExecuteProgramHandle(QStringLiteral("sh"), QStringLiteral("-c \"exit 7\""), 1);
    ASSERT_GT(pid, 0);
    EXPECT_EQ(WaitForProgram(pid), 7);
}

// A stand-in converter: records its arguments (NUL-separated) and writes a playable copy to the last.
class FakeConverter
{
public:
    explicit FakeConverter(const char* copyFrom)
    {
        const QString script = QStringLiteral("#!/bin/sh\nprintf '%s\\0' \"$@\" > '") + ArgumentsFile() +
                               QStringLiteral("'\nfor a; do last=$a; done\ncp '") + FixturePath(copyFrom) +
                               QStringLiteral("' \"$last\"\n");
        const QString path = m_bin.WriteFile(QStringLiteral("ffmpeg"), script.toUtf8());
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    QString Folder() const { return m_bin.Path(); }
    QString ArgumentsFile() const { return m_bin.FilePath(QStringLiteral("args.bin")); }
    QStringList Arguments() const
    {
        QFile file(ArgumentsFile());
        if (!file.open(QIODevice::ReadOnly))
            return {};
        QStringList words;
        for (const QByteArray& word : file.readAll().split('\0'))
            words << QString::fromUtf8(word);
        words.removeLast();
        return words;
    }

private:
    ScopedTempFolder m_bin;
};

TEST(ConversionFallback, RefusedFilesAreConvertedAndOpened)
{
    FakeConverter converter("chord-44k-stereo.wma");
    ScopedTempFolder work;
    ScopedTempFolder temp;
    for (const char* name : kHostileNames) {
        const QString input = work.FilePath(QString::fromUtf8(name));
        ASSERT_TRUE(QFile::copy(FixturePath("not-audio.mp3"), input)) << name;
        QFile::remove(converter.ArgumentsFile());
        CAudioPlayer player;
        ASSERT_EQ(player.Init(), S_OK);
        player.SetPaths(converter.Folder(), temp.Path());
        EXPECT_EQ(player.Open(input.toUtf8().constData()), S_OK) << name << " " << player.m_szError;
        EXPECT_TRUE(player.m_bOpened) << name;
        EXPECT_EQ(player.GetDurationSeconds(), 3u) << name;

        const QStringList arguments = converter.Arguments();
        ASSERT_EQ(arguments.size(), 3) << name;
        EXPECT_EQ(arguments[0], QStringLiteral("-i"));
        EXPECT_EQ(arguments[1], input) << name;
        const QString output = arguments[2];
        EXPECT_TRUE(output.startsWith(temp.Path() + QStringLiteral("_tempPlayerWma"))) << output.toStdString();
        EXPECT_TRUE(output.endsWith(QStringLiteral(".wma")));
        const int number = output.mid(temp.Path().size() + 14).chopped(4).toInt();
        EXPECT_GE(number, 1);
        EXPECT_LE(number, 10000);
        QFile::remove(input);
    }
    // Nothing a name said was ever run.
    EXPECT_FALSE(QFile::exists(QStringLiteral("PWNED")));
    EXPECT_FALSE(QFile::exists(work.FilePath(QStringLiteral("PWNED"))));
}

TEST(ConversionFallback, MissingFoldersStartNothing)
{
    FakeConverter converter("chord-44k-stereo.wma");
    ScopedTempFolder temp;
    struct Case { QString app, temp; };
    for (const Case& c : {Case{converter.Folder(), QString()}, Case{QString(), temp.Path()}}) {
        CAudioPlayer player;
        ASSERT_EQ(player.Init(), S_OK);
        player.SetPaths(c.app, c.temp);
        EXPECT_LT(player.Open(FixturePath("not-audio.mp3").toUtf8().constData()), 0);
        EXPECT_STREQ(player.m_szError, "Could not open the specified file.");
        EXPECT_FALSE(QFile::exists(converter.ArgumentsFile()));
    }
}

TEST(ConversionFallback, AFailedRealConversionIsReportedByTheSecondOpen)
{
    ScopedTempFolder bin;
    ScopedTempFolder temp;
    ASSERT_TRUE(QFile::link(QStringLiteral("/usr/bin/ffmpeg"), bin.FilePath(QStringLiteral("ffmpeg"))));
    CAudioPlayer player;
    ASSERT_EQ(player.Init(), S_OK);
    player.SetPaths(bin.Path(), temp.Path());
    EXPECT_LT(player.Open(FixturePath("not-audio.mp3").toUtf8().constData()), 0);
    EXPECT_STREQ(player.m_szError, "");
    EXPECT_FALSE(player.m_bOpened);
    EXPECT_TRUE(QDir(temp.Path()).entryList(QDir::Files).isEmpty());
}

} // namespace
