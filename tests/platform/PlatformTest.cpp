#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/CStringArray.h"
#include "platform/Folders.h"
#include "platform/HResult.h"
#include "platform/UserMessages.h"
#include "support/TestFolders.h"

using namespace tunivox::test;

TEST(HResult, OsErrorsMapIntoTheWin32Facility)
{
    EXPECT_EQ(HResultFromError(2), MakeHResult(0x80070002u));
    EXPECT_EQ(HResultFromError(0x12345), MakeHResult(0x80072345u)) << "only the low 16 bits are kept";
    EXPECT_EQ(HResultFromError(0), 0) << "a value that is not positive passes through";
    EXPECT_EQ(HResultFromError(-5), -5);
    EXPECT_TRUE(FAILED(E_FAIL));
    EXPECT_TRUE(FAILED(E_UNEXPECTED));
    EXPECT_TRUE(SUCCEEDED(S_FALSE));
    EXPECT_EQ(E_INVALIDARG, -2147024809) << "printed with %d as the control's error text does";
}

TEST(UserMessages, KeepTheirWindowsNumbers)
{
    EXPECT_EQ(int(WM_PLAYER_SONG_STARTED), 1223);
    EXPECT_EQ(int(WM_PLAYER_LIST_CLEARED), 1224);
    EXPECT_EQ(int(WM_PLAYER_RIGHT_CLICK), 1226);
    EXPECT_EQ(int(WM_COLOUR_CHANGED), 2028);
}

TEST(CStringArray, BadIndexThrowsAndGoodIndexWorks)
{
    CStringArray array;
    array.SetSize(3);
    EXPECT_EQ(array.GetSize(), 3);
    EXPECT_TRUE(array.GetAt(2).isEmpty());
    array.SetAt(1, QStringLiteral("b"));
    array.InsertAt(0, QStringLiteral("a"));
    EXPECT_EQ(array[2], QStringLiteral("b"));
    array.RemoveAt(0);
    EXPECT_EQ(array[1], QStringLiteral("b"));

    EXPECT_THROW(array.GetAt(3), CInvalidArgException);
    EXPECT_THROW(array.GetAt(-1), CInvalidArgException);
    EXPECT_THROW(array.SetAt(3, QString()), CInvalidArgException);
    EXPECT_THROW(array.RemoveAt(3), CInvalidArgException);
    EXPECT_THROW(array.InsertAt(5, QString()), CInvalidArgException);
    EXPECT_NO_THROW(array.InsertAt(3, QString())) << "inserting at the end is allowed";
    EXPECT_THROW(array.SetSize(-1), CInvalidArgException);
}

TEST(Folders, ApplicationFolderIsTheExecutablesFolder)
{
    const QString folder = ApplicationFolder();
    ASSERT_TRUE(folder.endsWith(QLatin1Char('/')));
    EXPECT_EQ(QDir(folder).canonicalPath(), QDir(QStringLiteral(TUNIVOX_BINARY_DIR "/bin")).canonicalPath());
}

static unsigned Mode(const QString& path)
{
    struct stat st {};
    return ::lstat(QFile::encodeName(path).constData(), &st) == 0 ? st.st_mode & 0777 : ~0u;
}

TEST(Folders, PrivateFoldersAreMadePrivateAndNeverSymlinks)
{
    ScopedUserFolders scope;
    ASSERT_EQ(PrivateTempFolder(), scope.TempFolder());
    EXPECT_EQ(Mode(scope.TempFolder()), 0700u);

    ScopedTempFolder temp;
    const QString target = temp.FilePath(QStringLiteral("target"));
    QDir().mkpath(target);
    const QString link = temp.FilePath(QStringLiteral("link"));
    ASSERT_TRUE(QFile::link(target, link));
    EXPECT_FALSE(EnsurePrivateFolder(link)) << "a symbolic link could point anywhere";

    const QString open = temp.FilePath(QStringLiteral("open"));
    QDir().mkpath(open);
    ::chmod(QFile::encodeName(open).constData(), 0777);
    EXPECT_TRUE(EnsurePrivateFolder(open));
    EXPECT_EQ(Mode(open), 0700u);

    EXPECT_FALSE(EnsurePrivateFolder(temp.WriteFile(QStringLiteral("plain"), "x")));
    EXPECT_FALSE(EnsurePrivateFolder(QString()));
}
