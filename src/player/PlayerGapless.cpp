// Gapless playback (SetGapless): while a song plays, the song the play order brings next is opened
// ahead in the engine, which plays its first sample right after the last one of the current song.
// The control shows the new song when the device hands back its first block, as PlayStart does.
//
// All of it runs on the GUI thread. The engine tells the hand-over (CEngineEvents::songHeard, from
// the device callback) and the control takes the song over then; nothing polls for it.
#include "audio/CAudioPlayer.h"
#include "audio/UnplayableReason.h"
#include "player/CMediaPlayerCtrl.h"
#include "player/SystemShuffleSource.h"
#include "session/ListeningChoicesStore.h"

void CMediaPlayerCtrl::SetGapless(int bGapless)
{
    m_bGapless = bGapless != 0;
    if (m_pAudioPlayer)
        m_pAudioPlayer->SetGapless(m_bGapless);
    CListeningChoicesStore(m_strRegSubKey).StoreGapless(m_bGapless);
    UpdateNextSong();
}

void CMediaPlayerCtrl::RestoreGapless()
{
    CListeningChoicesStore(m_strRegSubKey).LoadGapless(&m_bGapless);
    if (m_pAudioPlayer)
        m_pAudioPlayer->SetGapless(m_bGapless);
}

QString CMediaPlayerCtrl::ChooseNextSong(int* index)
{
    PlayOrder::FollowingInput in;
    in.count = count();
    in.files = m_arrFiles.GetSize();
    in.repeat = m_bRepeat != 0;
    in.shuffle = m_bShuffle != 0;
    in.selectedRow = m_bSelectionFollowsPlaying ? currentRow() : PlayingRowForOrder();
    in.current = m_bSelectionFollowsPlaying ? m_nCurrentIndex : PlayingRowForOrder();
    if (m_bShuffle && !m_strNextPath.isEmpty())
        in.prepared = m_pPlaylist->RowOf(m_pPlaylist->Prepared());
    SystemShuffleSource source;
    const int k = PlayOrder::FollowingEntry(in, source);
    if (k == PlayOrder::kNoEntry)
        return QString();
    *index = k;
    return m_arrFiles.GetAt(k);
}

void CMediaPlayerCtrl::UpdateNextSong()
{
    if (!m_pAudioPlayer || !m_bEngineReady)
        return;
    int index = -1;
    QString wanted;
    if (m_bGapless && !m_bStopped && m_pAudioPlayer->m_bPlaying && m_pAudioPlayer->m_hDecodeThread)
        wanted = ChooseNextSong(&index);
    if (!m_strNextPath.isEmpty() && wanted == m_strNextPath &&
        m_pAudioPlayer->GetNextState() != CAudioPlayer::kNextNone) {
        m_pPlaylist->SetPrepared(m_pPlaylist->IdAt(index));
        return;
    }
    if (DropNextSong()) {
        UpdateNextSong(); // the dropped song had been heard: choose again from it
        return;
    }
    if (wanted.isEmpty() || wanted == m_strNextFailedPath)
        return;
    const HRESULT hr = m_pAudioPlayer->PrepareNext(wanted.toUtf8().constData());
    if (SUCCEEDED(hr)) {
        m_pPlaylist->SetPrepared(m_pPlaylist->IdAt(index));
        m_strNextPath = wanted;
        FollowNextSong();
        return;
    }
    if (hr == E_UNEXPECTED)
        return; // the engine's state, not the song: nothing to report
    // The song ends as without the option and the timer moves on to this one, which may open by then
    // (a file being rewritten) or fails there as any song does.
    m_strNextFailedPath = wanted;
    emit songFailed(wanted, UnplayableReason(wanted, m_pAudioPlayer->GetNextFailure()));
}

bool CMediaPlayerCtrl::DropNextSong()
{
    const PlaylistEntryId id = m_pPlaylist->Prepared();
    const QString path = m_strNextPath;
    m_pPlaylist->SetPrepared(kNoPlaylistEntry);
    m_strNextPath.clear();
    if (!m_pAudioPlayer || (path.isEmpty() && m_pAudioPlayer->GetNextState() == CAudioPlayer::kNextNone))
        return false;
    if (m_pAudioPlayer->CancelNext() == S_FALSE && !path.isEmpty()) {
        m_pAudioPlayer->TakeHeardSong(); // it was heard before it could be cancelled and plays now
        ShowHeardSong(id, path);
        return true;
    }
    return false;
}

void CMediaPlayerCtrl::FollowNextSong()
{
    if (!m_pAudioPlayer || m_strNextPath.isEmpty())
        return;
    const int state = m_pAudioPlayer->GetNextState();
    if (state == CAudioPlayer::kNextNone) {
        // The engine dropped it (a seek after the song had ended restarts the engine): prepare again.
        m_pPlaylist->SetPrepared(kNoPlaylistEntry);
        m_strNextPath.clear();
        UpdateNextSong();
        return;
    }
    if (state == CAudioPlayer::kNextHeard && m_pAudioPlayer->TakeHeardSong()) {
        const PlaylistEntryId id = m_pPlaylist->Prepared();
        const QString path = m_strNextPath;
        m_pPlaylist->SetPrepared(kNoPlaylistEntry);
        m_strNextPath.clear();
        ShowHeardSong(id, path);
        UpdateNextSong();
    }
}

void CMediaPlayerCtrl::ShowHeardSong(PlaylistEntryId id, const QString& path)
{
    int index = m_pPlaylist->RowOf(id);
    if (const CPlaylistEntry* entry = m_pPlaylist->EntryAt(index); !entry || entry->strPath != path) {
        const CPlaylistEntry* listed = m_pPlaylist->EntryWithPath(path); // the list changed meanwhile
        index = listed ? m_pPlaylist->RowOf(listed->nId) : -1;
    }
    if (index >= 0 && index < count()) {
        if (m_bSelectionFollowsPlaying) {
            SetRowSelected(currentRow(), false);
            setCurrentRow(index, QItemSelectionModel::NoUpdate);
            SetRowSelected(index, true);
        }
        m_nCurrentIndex = index;
    }
    ShowStartedSong(path);
}

void CMediaPlayerCtrl::OnPlayOrderChanged()
{
    // After the list's own bookkeeping (the parallel arrays follow the items a moment later).
    if (m_bGapless || !m_strNextPath.isEmpty())
        m_orderTimer.start();
}
