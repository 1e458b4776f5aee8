// Reading the playing song's tags and cover art for the visualization. Each song's picture is written
// to the control's private temporary folder as "_tmpPlayerPic_<n>.jpg"; the previous song's picture is
// removed when the song changes, and the last one when the control goes away.
#include <QFile>
#include <ctime>

#include "platform/Folders.h"
#include "platform/MsvcRand.h"
#include "player/CMediaPlayerCtrl.h"
#include "song/CId3Tag.h"
#include "song/SyncedLyrics.h"

int CMediaPlayerCtrl::GetMp3TagInfo(const QString& path)
{
    MsvcSrand(static_cast<unsigned>(std::time(nullptr)));
    const int n = MsvcRand() % 10000 + 1600;
    try {
        CId3Tag tag;
        CStringArray arts;
        SetLyrics("");
        SetSyncedLyrics({});
        SetArts(&arts);
        QString folder = m_strTempFolder.isEmpty() ? PrivateTempFolder() : m_strTempFolder;
        if (!folder.isEmpty() && !EnsurePrivateFolder(folder))
            folder.clear();
        const QString picture = QString::asprintf("%s%s%d%s", folder.toUtf8().constData(), "_tmpPlayerPic_", n, ".jpg");
        if (!m_strPicturePath.isEmpty() && m_strPicturePath != picture)
            m_stalePictures.append(m_strPicturePath);
        m_strPicturePath = picture;
        // The same number can come up again (the generator is seeded with the time): never show an
        // earlier song's picture for this one.
        QFile::remove(picture);
        m_song = tag.ReadTag(path, picture);
        if (!tag.ExtractPicture(m_song, picture, kPictureTypeFrontCover))
            tag.ExtractPicture(m_song, picture, kPictureTypeOther);
        if (!folder.isEmpty() && QFile::exists(picture)) {
            arts.Add(picture);
            SetArts(&arts);
        } else {
            m_strPicturePath.clear();
        }
        if (!m_song.m_strLyrics.isEmpty())
            SetLyrics(m_song.m_strLyrics.toUtf8().constData());
        const CSyncedLyrics synced = ReadSyncedLyrics(path, m_song.m_strLyrics);
        if (!synced.isEmpty())
            SetSyncedLyrics(synced);
    } catch (...) {
        // Tag reading never stops playback.
    }
    return 1;
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
