// Tags saved while the list shows them: the entry's text and title follow the addFile rules it was
// added with, the playing song's title, lyrics and cover reach the feed, and the host hears of it;
// by watching (on request) or by the host's own NotifyFileChanged; a deleted playing song ends and the next plays.
#include <QDir>
#include <QSignalSpy>
#include <gtest/gtest.h>

#include "PlayerTestSupport.h"
#include "song/CId3Tag.h"
#include "support/TagRewrite.h"
#include "visual/IVisualFeedSource.h"

using namespace tunivox::test;

namespace {

QString CopyOfSong(const ScopedTempFolder& folder, const QString& name)
{
    QFile::copy(FixturePath(QStringLiteral("rewrite.flac")), folder.FilePath(name));
    return folder.FilePath(name);
}

// The record a host hands to addFile.
CMp3Song HostSong(const QString& path)
{
    CMp3Song song = CId3Tag().ReadTag(path, QString());
    song.m_strFilePath = path;
    song.m_strAux2 = path.section(QLatin1Char('/'), -1);
    return song;
}

QStringList Pictures(const PlayerFixture& f)
{
    return QDir(f.folders.TempFolder()).entryList({QStringLiteral("_tmpPlayerPic_*")}, QDir::Files);
}

} // namespace

TEST(TagFollow, ThePlayingSongsEntryAndFeedFollowASave)
{
    for (const bool watch : {true, false}) {
        PlayerFixture f(1.0);
        ScopedTempFolder folder;
        const QString path = CopyOfSong(folder, QStringLiteral("song.flac"));
        f.ctrl->SetWatchFiles(watch);
        ASSERT_EQ(f.ctrl->addFile(HostSong(path), 0), 0);
        ASSERT_EQ(f.ctrl->PlayStart(path.toUtf8().constData()), 1);
        f.ctrl->GetMp3TagInfo(path); // as an open visualization has it: a cover file for this song
        f.ctrl->SetChange(0);
        QSignalSpy changed(f.ctrl, &CMediaPlayerCtrl::songTagsChanged);

        SetTitleAndLyrics(path, QStringLiteral("New title"), QStringLiteral("New lyrics"));
        if (watch) {
            EXPECT_TRUE(WaitUntil([&] { return changed.count() == 1; }, 3000));
        } else {
            EXPECT_FALSE(WaitUntil([&] { return changed.count() > 0; }, 400)) << "watching is off by default";
            EXPECT_EQ(f.ctrl->NotifyFileChanged(path.toUtf8().constData()), 1);
            EXPECT_EQ(f.ctrl->NotifyFileChanged("/not/listed.flac"), 0);
        }
        ASSERT_EQ(changed.count(), 1) << watch;
        EXPECT_EQ(changed.at(0).at(0).toString(), path);
        EXPECT_EQ(f.ctrl->item(0)->text(), QStringLiteral("1. Fixture Artist - New title"));
        EXPECT_EQ(f.ctrl->GetTitles().GetAt(0), QStringLiteral("Fixture Artist - New title"));
        EXPECT_EQ(QString::fromUtf8(f.ctrl->GetMP3VisualTitle()), QStringLiteral("1. Fixture Artist - New title"));
        EXPECT_EQ(QString::fromUtf8(f.ctrl->GetLyrics()), QStringLiteral("New lyrics"));
        EXPECT_EQ(f.ctrl->GetChange() & 7u, VISUAL_CHANGE_TITLE | VISUAL_CHANGE_LYRICS | VISUAL_CHANGE_ARTS);
        EXPECT_EQ(Pictures(f), QStringList{f.ctrl->GetCurrentPicturePath().section(u'/', -1)})
            << "the earlier cover file is removed";
        EXPECT_TRUE(f.ctrl->IsPlaying());
    }
}

TEST(TagFollow, ListedSongsAreRetitledByTheRulesTheyWereAddedWith)
{
    PlayerFixture f(1.0);
    ScopedTempFolder folder;
    const QString byArtist = CopyOfSong(folder, QStringLiteral("a.flac"));
    const QString byTitle = CopyOfSong(folder, QStringLiteral("b.flac"));
    f.ctrl->SetWatchFiles(1);
    f.ctrl->addFile(HostSong(byArtist), 1);
    f.ctrl->addFile(HostSong(byTitle), 0);
    // Playing, so the engine keeps the file that the rename below replaces.
    ASSERT_EQ(f.ctrl->PlayStart(byTitle.toUtf8().constData()), 1);
    QSignalSpy changed(f.ctrl, &CMediaPlayerCtrl::songTagsChanged);

    SetTag(byArtist, "ARTIST", QStringLiteral("New Artist"));
    ASSERT_TRUE(WaitUntil([&] { return changed.count() == 1; }, 3000));
    EXPECT_EQ(f.ctrl->item(0)->text(), QStringLiteral("1. New Artist"));
    EXPECT_EQ(f.ctrl->GetTitles().GetAt(0), QStringLiteral("New Artist"));

    // Written anew beside it and renamed over it: the new file is read and watched from then on.
    ReplaceByRename(byTitle, QStringLiteral("Renamed"));
    ASSERT_TRUE(WaitUntil([&] { return changed.count() == 2; }, 3000));
    EXPECT_EQ(f.ctrl->item(1)->text(), QStringLiteral("2. Fixture Artist - Renamed"));
    SetTag(byTitle, "TITLE", QStringLiteral("Again"));
    ASSERT_TRUE(WaitUntil([&] { return changed.count() == 3; }, 3000));
    EXPECT_EQ(f.ctrl->GetTitles().GetAt(1), QStringLiteral("Fixture Artist - Again"));

    // A deleted file leaves its entry as it was.
    QFile::remove(byArtist);
    EXPECT_FALSE(WaitUntil([&] { return changed.count() > 3; }, 400));
    EXPECT_EQ(f.ctrl->item(0)->text(), QStringLiteral("1. New Artist"));
}

TEST(TagFollow, DeletingThePlayingSongEndsItAndTheNextOnePlays)
{
    PlayerFixture f(4.0);
    ScopedTempFolder folder;
    const QString first = CopyOfSong(folder, QStringLiteral("a.flac"));
    const QString second = CopyOfSong(folder, QStringLiteral("b.flac"));
    f.ctrl->addFile(HostSong(first), 0);
    f.ctrl->addFile(HostSong(second), 0);
    ASSERT_EQ(f.ctrl->PlayStart(first.toUtf8().constData()), 1);
    ASSERT_TRUE(WaitUntil([&] { return f.ctrl->GetAudioPlayer()->GetCurrentSeconds() >= 1; }, 5000));
    QFile::remove(first);
    // Well before the 3 s the rest of the song would take at 4x.
    EXPECT_TRUE(f.EngineFinished(1500));
    for (int tick = 0; tick < 3 && f.ctrl->GetCurrentIndex() == 0; ++tick)
        f.ctrl->OnTimer(291); // the first tick after a start only re-enables the progress
    EXPECT_EQ(f.ctrl->GetCurrentIndex(), 1);
    EXPECT_EQ(f.ctrl->GetPlayingFileName(), second);
    EXPECT_TRUE(f.ctrl->IsPlaying());
}
