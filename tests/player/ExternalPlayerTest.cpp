// Handing the playlist to the external player: the list file, finding and ending processes by name.
#include <QFile>
#include <gtest/gtest.h>
#include <unistd.h>

#include "PlayerTestSupport.h"
#include "platform/ProcessList.h"

using namespace tunivox::test;

TEST(ExternalPlayer, ListFileHoldsPathCommaTitleLines)
{
    PlayerFixture f;
    ScopedTempFolder folder;
    f.ctrl->SetListFolder(folder.Path());
    f.ctrl->PlayInExternalPlayer(1);
    QFile empty(folder.FilePath(QStringLiteral("_tmpIntPlayer.m3u")));
    ASSERT_TRUE(empty.open(QIODevice::ReadOnly));
    EXPECT_EQ(empty.readAll(), QByteArray()) << "an empty list gives an empty file";
    empty.close();

    f.ctrl->addFile(SongFor(QStringLiteral("/m/a, b.mp3"), QStringLiteral("Ärtist"), QStringLiteral("Song")), 0);
    f.ctrl->addFile(SongFor(QStringLiteral("/m/c.mp3")), 1);
    f.ctrl->StartTunivoxMplayer();
    QFile list(folder.FilePath(QStringLiteral("_tmpIntPlayer.m3u")));
    ASSERT_TRUE(list.open(QIODevice::ReadOnly));
    EXPECT_EQ(QString::fromUtf8(list.readAll()),
              QStringLiteral("/m/a, b.mp3,Ärtist - Song\r\n/m/c.mp3,C\r\n"));

    // In a shared folder, a link planted under the list's name is not followed, and a list file
    // of another user's (only root can make one here) is left alone.
    ScopedTempFolder shared;
    f.ctrl->SetListFolder(shared.Path());
    const QString victim = shared.WriteFile(QStringLiteral("victim"), "precious");
    ASSERT_TRUE(QFile::link(victim, shared.FilePath(QStringLiteral("_tmpIntPlayer.m3u"))));
    f.ctrl->PlayInExternalPlayer(1);
    QFile kept(victim);
    ASSERT_TRUE(kept.open(QIODevice::ReadOnly));
    EXPECT_EQ(kept.readAll(), QByteArray("precious"));
    if (getuid() == 0) {
        QFile::remove(shared.FilePath(QStringLiteral("_tmpIntPlayer.m3u")));
        const QString theirs = shared.WriteFile(QStringLiteral("_tmpIntPlayer.m3u"), "theirs");
        ASSERT_EQ(chown(QFile::encodeName(theirs).constData(), 65534, 65534), 0);
        f.ctrl->PlayInExternalPlayer(1);
        QFile untouched(theirs);
        ASSERT_TRUE(untouched.open(QIODevice::ReadOnly));
        EXPECT_EQ(untouched.readAll(), QByteArray("theirs"));
    }
}

TEST(ExternalPlayer, ProcessesAreFoundAndEndedByExactName)
{
    PlayerFixture f;
    // A child under a name no other process has: a copy of sleep named after this test's pid.
    ScopedTempFolder folder;
    const QString name = QStringLiteral("tvx-sleep-%1").arg(::getpid());
    const QString program = folder.FilePath(name);
    ASSERT_TRUE(QFile::copy(QStringLiteral("/bin/sleep"), program));
    QFile::setPermissions(program, QFile::ReadOwner | QFile::ExeOwner);
    EXPECT_EQ(f.ctrl->AppIsAllreadyRunning(name), 0);
    EXPECT_EQ(f.ctrl->CloseExternalPlayer(), 0) << "no external player was started";

    const PROCESS_INFORMATION pi = f.ctrl->ExecuteProgramHandle(program, QStringLiteral("30"), 1);
    ASSERT_GT(pi.dwProcessId, 0u);
    ASSERT_TRUE(WaitUntil([&] { return f.ctrl->AppIsAllreadyRunning(name) == 1; }));
    EXPECT_EQ(f.ctrl->AppIsAllreadyRunning(name.left(name.size() - 1)), 0) << "names match exactly";

    f.ctrl->KillProcessByName(name.toUtf8().constData());
    EXPECT_TRUE(ReapChild(static_cast<pid_t>(pi.dwProcessId), 2000));
    EXPECT_EQ(f.ctrl->AppIsAllreadyRunning(name), 0);
}

TEST(ExternalPlayer, FileExistence)
{
    EXPECT_EQ(CMediaPlayerCtrl::IsFileExist(QString()), 0);
    EXPECT_EQ(CMediaPlayerCtrl::IsFileExist(FixturePath(QStringLiteral("tone-44k-stereo.mp3"))), 1);
    EXPECT_EQ(CMediaPlayerCtrl::IsFileExist(FixturePath(QStringLiteral("missing.mp3"))), 0);
    EXPECT_TRUE(CMediaPlayerCtrl::GetApplicationPath().endsWith(QLatin1Char('/')));
}
