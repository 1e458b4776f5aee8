// Reading the playing song's tags and cover art for the visualization. Each song's picture is written
// to the control's private temporary folder as "_tmpPlayerPic_<n>.jpg"; the previous song's picture is
// removed when the song changes, and the last one when the control goes away.
#include <QFile>
#include <chrono>
#include <ctime>

#include "platform/Folders.h"
#include "platform/MsvcRand.h"
#include "player/CMediaPlayerCtrl.h"
#include "song/CId3Tag.h"
#include "session/NowPlaying.h"
#include "song/SyncedLyrics.h"
#include "visual/CVisualThread.h"

QString CMediaPlayerCtrl::FeedFolder() const
{
    QString folder = m_strTempFolder.isEmpty() ? PrivateTempFolder() : m_strTempFolder;
    if (!folder.isEmpty() && !EnsurePrivateFolder(folder))
        folder.clear();
    return folder;
}

int CMediaPlayerCtrl::GetMp3TagInfo(const QString& path)
{
    ApplySongToFeed(ReadNowPlayingSong(path, FeedFolder()));
    return 1;
}

void CMediaPlayerCtrl::ApplySongToFeed(const CNowPlayingSong& record)
{
    MsvcSrand(static_cast<unsigned>(std::time(nullptr)));
    const int n = MsvcRand() % 10000 + 1600;
    CStringArray arts;
    SetLyrics("");
    SetSyncedLyrics({});
    SetArts(&arts);
    const QString folder = FeedFolder();
    const QString picture = QString::asprintf("%s%s%d%s", folder.toUtf8().constData(), "_tmpPlayerPic_", n, ".jpg");
    if (!m_strPicturePath.isEmpty() && m_strPicturePath != picture)
        m_stalePictures.append(m_strPicturePath);
    m_strPicturePath = picture;
    // The same number can come up again (the generator is seeded with the time): never show an
    // earlier song's picture for this one.
    QFile::remove(picture);
    m_song = record.song;
    if (!folder.isEmpty() && !record.cover.isEmpty()) {
        CId3Tag::WriteBufferToFile(picture, record.cover.constData(), static_cast<unsigned>(record.cover.size()));
        if (QFile::exists(picture)) {
            arts.Add(picture);
            SetArts(&arts);
        }
    }
    if (arts.IsEmpty())
        m_strPicturePath.clear();
    if (!m_song.m_strLyrics.isEmpty())
        SetLyrics(m_song.m_strLyrics.toUtf8().constData());
    if (!record.synced.isEmpty())
        SetSyncedLyrics(record.synced);
}

void CMediaPlayerCtrl::OnNowPlayingRead(const CNowPlayingSong& record)
{
    if (!m_pVisualThread) {
        m_song = record.song;
    } else {
        ApplySongToFeed(record);
        // The thread reloads lyrics and art itself under the change mutex (RefreshVisual needs it
        // held); a retag refreshes once its title is set too.
        if (!m_bRereadingTags && m_hChangeMutex.try_lock_for(std::chrono::milliseconds(100)))
            m_pVisualThread->RefreshVisual();
        if (!m_bRereadingTags)
            RemoveStalePictures();
    }
    emit nowPlayingRead(record);
}

void CMediaPlayerCtrl::RemoveStalePictures()
{
    for (const QString& picture : std::as_const(m_stalePictures))
        if (picture != m_strPicturePath)
            QFile::remove(picture);
    m_stalePictures.clear();
}

void CMediaPlayerCtrl::RemovePicture()
{
    RemoveStalePictures();
    if (!m_strPicturePath.isEmpty())
        QFile::remove(m_strPicturePath);
    m_strPicturePath.clear();
}
