// Folders a user may drop or add hold more than songs: symbolic links named like songs that lead
// to devices that never end, FIFOs that block whoever opens them, sockets. A scan lists only the
// regular files and ends; every reader and the engine turn the others away at once, saying why.
#include <QDir>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "PlayerTestSupport.h"
#include "audio/UnplayableReason.h"
#include "player/CSongScanner.h"
#include "song/CId3Tag.h"
#include "song/ReplayGainTags.h"
#include "song/SyncedLyrics.h"

using namespace tunivox::test;

namespace {

// A folder with one song and, beside it, things that only look like songs.
struct HostileTree
{
    HostileTree()
    {
        song = root.FilePath(QStringLiteral("music/song.mp3"));
        QDir().mkpath(root.FilePath(QStringLiteral("music/sub")));
        QFile::copy(FixturePath(QStringLiteral("tone-44k-stereo.mp3")), song);
        for (const auto& [name, target] : {std::pair{"zero.mp3", "/dev/zero"}, std::pair{"random.flac", "/dev/urandom"}}) {
            hostile.append(root.FilePath(QStringLiteral("music/") + QLatin1String(name)));
            QFile::link(QLatin1String(target), hostile.last());
        }
        hostile.append(root.FilePath(QStringLiteral("music/sub/fifo.ogg")));
        mkfifo(QFile::encodeName(hostile.last()).constData(), 0600);
        hostile.append(root.FilePath(QStringLiteral("music/sub/socket.wav")));
        socketFd = socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const QByteArray name = QFile::encodeName(hostile.last());
        if (name.size() < qsizetype(sizeof(address.sun_path))) {
            std::memcpy(address.sun_path, name.constData(), name.size());
            bind(socketFd, reinterpret_cast<sockaddr*>(&address), sizeof(address));
        }
    }
    ~HostileTree()
    {
        close(socketFd);
        ::unlink(undecodable.constData()); // a name Qt cannot remove
    }

    // A name that is not UTF-8: a QString cannot hold it.
    void AddUndecodableName()
    {
        undecodable = QFile::encodeName(root.FilePath(QStringLiteral("music/"))) + "bad\xff\xfe.mp3";
        const int fd = ::open(undecodable.constData(), O_CREAT | O_WRONLY, 0600);
        if (fd >= 0)
            ::close(fd);
    }

    ScopedTempFolder root;
    QString song;
    QStringList hostile;
    int socketFd = -1;
    QByteArray undecodable;
};

} // namespace

TEST(HostileTree, ScansListOnlyTheSongAndEveryReaderTurnsTheRestAway)
{
    HostileTree tree;
    for (const QString& path : tree.hostile)
        ASSERT_TRUE(QFileInfo(path).exists() || QFileInfo(path).isSymLink()) << path.toStdString();

    tree.AddUndecodableName();

    // The folder, and each thing named on its own, as a drop or a command line gives them: what
    // is passed over is said, with the first few paths.
    PlayerFixture f;
    QSignalSpy finished(f.ctrl, &CMediaPlayerCtrl::scanFinished);
    QSignalSpy skipped(f.ctrl, &CMediaPlayerCtrl::scanSkipped);
    f.ctrl->InsertPathsAt(-1, QStringList{tree.root.FilePath(QStringLiteral("music"))} + tree.hostile);
    ASSERT_TRUE(finished.wait(10000)) << "the scan never ended";
    EXPECT_EQ(QStringList(f.ctrl->GetFiles().Items().begin(), f.ctrl->GetFiles().Items().end()), QStringList{tree.song});
    ASSERT_EQ(skipped.size(), 1);
    EXPECT_EQ(skipped[0][0].toInt(), 2 * tree.hostile.size() + 1);
    const QStringList named = skipped[0][1].toStringList();
    EXPECT_EQ(named.size(), CSongScanner::kMaxSkippedNamed);
    for (const QString& path : named)
        EXPECT_TRUE(path.startsWith(tree.root.FilePath(QStringLiteral("music/")))) << path.toStdString();

    for (const QString& path : tree.hostile) {
        SCOPED_TRACE(path.toStdString());
        QElapsedTimer clock;
        clock.start();
        EXPECT_TRUE(CId3Tag().ReadTag(path, QString()).m_strTitle.isEmpty());
        CMp3Song song;
        song.m_strFilePath = path;
        EXPECT_FALSE(CId3Tag().ExtractPicture(song, tree.root.FilePath(QStringLiteral("cover.jpg")), kPictureTypeFrontCover));
        ReadReplayGain(path);
        EXPECT_TRUE(ReadSyncedLyrics(path, QString()).isEmpty());
        CAudioPlayer engine;
        ASSERT_EQ(engine.Init(), S_OK);
        EXPECT_TRUE(FAILED(engine.Open(path.toUtf8().constData())));
        EXPECT_LT(clock.elapsed(), 2000) << "a reader read on";
        EXPECT_EQ(UnplayableReason(path, engine.m_szError), QStringLiteral("not a regular file (a device, FIFO or socket)"));
    }
}
