// Following tag saves: watching the listed files, re-reading a changed file's tags, re-titling its
// entry by addFile's rules and refreshing the visualization feed when it is the playing song.
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QListWidgetItem>
#include <chrono>
#include <utility>

#include "platform/StringConv.h"
#include "player/CMediaPlayerCtrl.h"
#include "song/CId3Tag.h"
#include "visual/CVisualThread.h"

void CMediaPlayerCtrl::SetWatchFiles(int bWatch)
{
    if (!bWatch) {
        delete m_pWatcher;
        m_pWatcher = nullptr;
        m_tagTimer.stop();
        m_setChangedFiles.clear();
        return;
    }
    if (m_pWatcher)
        return;
    m_pWatcher = new QFileSystemWatcher(this);
    connect(m_pWatcher, &QFileSystemWatcher::fileChanged, this, &CMediaPlayerCtrl::OnFileChanged);
    for (const QString& path : m_pPlaylist->ListedPaths())
        WatchFile(path);
}

void CMediaPlayerCtrl::WatchFile(const QString& path)
{
    if (m_pWatcher && !path.isEmpty() && QFileInfo::exists(path))
        m_pWatcher->addPath(path);
}

void CMediaPlayerCtrl::UnwatchFile(const QString& path)
{
    if (m_pWatcher && !path.isEmpty())
        m_pWatcher->removePath(path);
}

void CMediaPlayerCtrl::OnFileChanged(const QString& path)
{
    // A writer touches the file many times in one save; the tags are read once it is quiet.
    m_setChangedFiles.insert(path);
    m_tagTimer.start();
}

void CMediaPlayerCtrl::RereadChangedFiles()
{
    const QSet<QString> changed = std::exchange(m_setChangedFiles, {});
    for (const QString& path : changed) {
        // A file replaced by a rename is a new file: the watch moves to it (the old one may live on
        // while the engine still plays it). A deleted one keeps its entry as it was.
        if (m_pPlaylist->EntryWithPath(path)) {
            UnwatchFile(path);
            WatchFile(path);
        }
        RetitleEntry(path);
    }
}

int CMediaPlayerCtrl::NotifyFileChanged(const char* path)
{
    if (!path)
        return 0;
    return RetitleEntry(FromNarrow(path));
}

int CMediaPlayerCtrl::RetitleEntry(const QString& path)
{
    int index = -1;
    for (int i = 0; i < m_arrFiles.GetSize() && index < 0; ++i)
        if (m_arrFiles.GetAt(i) == path)
            index = i;
    if (index < 0 || !QFileInfo(path).isReadable())
        return 0;
    const CPlaylistEntry* added = m_pPlaylist->EntryWithPath(path);
    const bool playing = m_bPlaying && index == m_nCurrentIndex;
    if (playing) {
        // Every reader of the song follows the new tags at once, as the host's save asked; the
        // entry's title comes from the same read.
        m_bRereadingTags = true;
        m_pNowPlaying->ReadNow(path);
        m_bRereadingTags = false;
    }
    CMp3Song song = playing ? m_pNowPlaying->Current().song : CId3Tag().ReadTag(path, QString());
    song.m_strFilePath = path;
    song.m_strAux2 = added ? added->strAux2 : QFileInfo(path).fileName();
    QString title;
    QString text;
    EntryTexts(song, added ? added->bUseTags : 0, &title, &text);
    m_pPlaylist->SetTitleAt(index, title);
    if (QListWidgetItem* entry = index < count() ? item(index) : nullptr) {
        // The number stays: it is the entry's place, which a retag does not change.
        const QString old = entry->text();
        const int dot = old.indexOf(QStringLiteral(". "));
        entry->setText((dot >= 0 ? old.left(dot + 2) : QString::asprintf("%d. ", index + 1)) + text);
    }
    if (playing) {
        if (!m_pVisualThread)
            ApplySongToFeed(m_pNowPlaying->Current()); // the feed too, closed or not
        SetMP3VisualTitle(GetPlayingSongName().toUtf8().constData());
        // As at a song start: the thread reloads lyrics and art under the change mutex.
        if (m_pVisualThread && m_hChangeMutex.try_lock_for(std::chrono::milliseconds(100)))
            m_pVisualThread->RefreshVisual();
        RemoveStalePictures();
    }
    emit songTagsChanged(path);
    return 1;
}
