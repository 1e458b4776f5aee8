// The visualization feed: title, lyrics, art and background lists handed to the visualization thread
// under the change mutex, and switching the visualization on and off.
#include <QDir>
#include <algorithm>
#include <chrono>

#include "audio/CAudioPlayer.h"
#include "platform/StringConv.h"
#include "player/CMediaPlayerCtrl.h"
#include "visual/CVisualThread.h"

namespace {

constexpr auto kFeedLockLimit = std::chrono::milliseconds(100);

// Runs `store` under the change mutex. A writer that cannot get it within 100 ms drops its update:
// the GUI thread never waits longer than that on the visualization.
template <typename Store>
void UnderChangeMutex(std::timed_mutex& mutex, Store store)
{
    if (!mutex.try_lock_for(kFeedLockLimit))
        return;
    store();
    mutex.unlock();
}

} // namespace

void CMediaPlayerCtrl::SetMP3VisualTitle(const char* title)
{
    UnderChangeMutex(m_hChangeMutex, [&] {
        m_strVisualTitle = FromNarrow(title);
        m_dwChange |= VISUAL_CHANGE_TITLE;
    });
}

void CMediaPlayerCtrl::SetLyrics(const char* lyrics)
{
    UnderChangeMutex(m_hChangeMutex, [&] {
        m_strLyrics = FromNarrow(lyrics);
        m_dwChange |= VISUAL_CHANGE_LYRICS;
    });
}

void CMediaPlayerCtrl::SetSyncedLyrics(const CSyncedLyrics& lines)
{
    UnderChangeMutex(m_hChangeMutex, [&] {
        m_syncedLyrics = lines;
        m_dwChange |= VISUAL_CHANGE_LYRICS;
    });
}

void CMediaPlayerCtrl::SetArts(CStringArray* arts)
{
    UnderChangeMutex(m_hChangeMutex, [&] {
        m_arrArts.RemoveAll();
        if (arts)
            for (const QString& art : arts->Items())
                m_arrArts.Add(art);
        m_dwChange |= VISUAL_CHANGE_ARTS;
    });
}

void CMediaPlayerCtrl::SetBackgrounds(CStringArray* backgrounds)
{
    UnderChangeMutex(m_hChangeMutex, [&] {
        m_arrBackgrounds.RemoveAll();
        if (backgrounds)
            for (const QString& background : backgrounds->Items())
                m_arrBackgrounds.Add(background);
        m_dwChange |= VISUAL_CHANGE_BACKGROUNDS;
    });
}

// The getters are called by the reader with the mutex held; the UTF-8 copies live until the next call.
const char* CMediaPlayerCtrl::GetMP3VisualTitle()
{
    m_utf8VisualTitle = m_strVisualTitle.toUtf8();
    return m_utf8VisualTitle.constData();
}

const char* CMediaPlayerCtrl::GetLyrics()
{
    m_utf8Lyrics = m_strLyrics.toUtf8();
    return m_utf8Lyrics.constData();
}

CSyncedLyrics CMediaPlayerCtrl::GetSyncedLyrics() { return m_syncedLyrics; }

CStringArray* CMediaPlayerCtrl::GetArts() { return &m_arrArts; }
CStringArray* CMediaPlayerCtrl::GetBackgrounds() { return &m_arrBackgrounds; }

void CMediaPlayerCtrl::AddBackgrounds()
{
    const QString folder = (m_strAppFolder.isEmpty() ? GetApplicationPath() : m_strAppFolder) + QStringLiteral("Images/");
    const QStringList found = QDir(folder).entryList({QStringLiteral("*.jpg")}, QDir::Files, QDir::Name);
    if (found.isEmpty())
        return;
    // Deliberately as the original search loop behaves: the first file found is never appended.
    CStringArray list;
    for (int i = 1; i < found.size(); ++i)
        list.Add(folder + found[i]);
    SetBackgrounds(&list);
}

int CMediaPlayerCtrl::Refresh(int bSetTitle)
{
    if (m_pVisualThread) {
        StopVisualThread();
        m_bInternalIsVisual = 0;
        return 1;
    }
    m_bInternalIsVisual = 1;
    WriteInternalIsVisual(1);
    StartVisualThread(bSetTitle != 0);
    return 1;
}

void CMediaPlayerCtrl::VisualRefresh()
{
    if (m_pVisualThread) {
        StopVisualThread();
        m_bInternalIsVisual = 0;
        return;
    }
    m_bInternalIsVisual = 1;
    StartVisualThread(false);
}

void CMediaPlayerCtrl::StartVisualThread(bool bSetTitle)
{
    // Opened in the middle of a song: give it that song's lyrics and cover, as a song start would.
    if (m_bPlaying && m_nCurrentIndex >= 0 && m_nCurrentIndex < m_arrFiles.GetSize()) {
        const QString path = m_arrFiles.GetAt(m_nCurrentIndex);
        if (m_pNowPlaying->Current().strPath == path)
            ApplySongToFeed(m_pNowPlaying->Current()); // read at its start already
        else
            GetMp3TagInfo(path);
    }
    auto* thread = new CVisualThread();
    m_pVisualThread = thread;
    ApplyHandBackInterval();
    thread->SetPlayerCtrl(this);
    thread->SetSavesOptions(m_bSavesVisualOptions);
    if (bSetTitle)
        SetMP3VisualTitle(GetPlayingSongName().toUtf8().constData());
    thread->start();
}

void CMediaPlayerCtrl::SetSavesVisualOptions(int bSaves)
{
    m_bSavesVisualOptions = bSaves != 0;
    if (CVisualThread* thread = m_pVisualThread)
        thread->SetSavesOptions(m_bSavesVisualOptions);
}

void CMediaPlayerCtrl::StopVisualThread()
{
    if (CVisualThread* thread = m_pVisualThread)
        thread->RequestQuit();
    m_pVisualThread = nullptr;
    ApplyHandBackInterval();
}

void CMediaPlayerCtrl::VisualThreadEnded(CVisualThread* thread)
{
    if (m_pVisualThread == thread) {
        m_pVisualThread = nullptr;
        ApplyHandBackInterval();
    }
}

void CMediaPlayerCtrl::SetHandBackInterval(int nMilliseconds)
{
    m_nHandBackMs = std::max(0, nMilliseconds);
    ApplyHandBackInterval();
}

// The visualization draws the block that sounds now, so while it runs blocks come back one by one.
void CMediaPlayerCtrl::ApplyHandBackInterval()
{
    if (m_pAudioPlayer)
        m_pAudioPlayer->SetHandBackInterval(m_pVisualThread ? 0 : static_cast<DWORD>(m_nHandBackMs));
}
