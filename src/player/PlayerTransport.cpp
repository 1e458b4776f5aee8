// Transport and progress: starting, pausing, stopping and stepping through the playlist, the progress
// timer with the end-of-song advance, seeking from the position slider, and the volume.
#include <QAction>
#include <QCoreApplication>

#include "audio/CAudioPlayer.h"
#include "audio/UnplayableReason.h"
#include "audio/WaveOut.h"
#include "controls/CSliderCtrlEx.h"
#include "platform/StringConv.h"
#include "platform/UserMessages.h"
#include "player/CMediaPlayerCtrl.h"
#include "player/CMediaPlayerToolbar.h"
#include "player/SystemShuffleSource.h"
#include "session/PlayOrder.h"
#include "visual/CVisualThread.h"

namespace {

constexpr quint64 kTicksPerSliderStep = 1000000;   // engine units (100 ns) per tenth of a second

} // namespace

int CMediaPlayerCtrl::PlayStart(const char* pathArg)
{
    QString path = FromNarrow(pathArg);
    if (!m_bShuffle) {
        for (int i = 0; i < m_arrFiles.GetSize(); ++i) {
            if (m_arrFiles.GetAt(i).contains(path)) {
                m_nCurrentIndex = i;
                break;
            }
        }
    }
    const int n = count();
    if (m_bShuffle && n >= 1) {
        const int c = m_bSelectionFollowsPlaying ? currentRow() : PlayingRowForOrder();
        SystemShuffleSource source;
        const int k = PlayOrder::DrawShuffled(c, n, source);
        if (m_bSelectionFollowsPlaying) {
            SetRowSelected(c, false);
            // NoUpdate: in a multi-selection list a plain setCurrentRow would select again.
            setCurrentRow(k, QItemSelectionModel::NoUpdate);
            SetRowSelected(k, true);
        }
        path = m_arrFiles.GetAt(k);
        m_nCurrentIndex = k;
    }
    if (m_bInternalIsVisual || m_bRestart) {
        m_bRestart = 0;
        m_bPlaying = 1;
        m_bStopped = 0;
    }
    if (!m_pAudioPlayer || !m_bEngineReady) {
        m_bPlaying = 0;
        return 0;
    }
    // Opening another song drops the one prepared to follow (the engine closes it).
    m_pPlaylist->SetPrepared(kNoPlaylistEntry);
    m_strNextPath.clear();
    const QByteArray narrow = path.toUtf8();
    HRESULT hr = m_pAudioPlayer->Open(narrow.constData());
    if (SUCCEEDED(hr))
        hr = m_pAudioPlayer->Play(0);
    if (FAILED(hr)) {
        Error(hr, m_pAudioPlayer->m_szError);
        m_bPlaying = 0;
        emit songFailed(path, UnplayableReason(path, m_pAudioPlayer->m_szError));
        emit transportChanged();
        return 0;
    }
    ShowStartedSong(path);
    UpdateNextSong();
    return 1;
}

void CMediaPlayerCtrl::ShowStartedSong(const QString& path)
{
    HoldPlayingEntry(path);
    m_bPlaying = 1;
    m_bStopped = 0;
    m_bSongFailureReported = false;
    m_bDeviceFailureReported = false;
    m_strNextFailedPath.clear();
    m_strTotal = GetFormattedTime(static_cast<int>(m_pAudioPlayer->GetDurationSeconds()));
    m_nTrackMax = m_pAudioPlayer->m_qwDuration / kTicksPerSliderStep;
    if (m_Trackbar) {
        m_Trackbar->SetRange(0, static_cast<int>(m_nTrackMax), TRUE);
        m_Trackbar->SetPos(0);
        m_Trackbar->setEnabled(true);
    }
    m_progressTimer.start();
    PostToHost(WM_PLAYER_SONG_STARTED);
    emit songStarted();
    emit songStartedAt(path, m_pPlaylist->PlayingRow());

    // One read of the song for everyone who shows it, off this thread: its lyrics may be long. The
    // visualization shows the title now and the lyrics and cover once they are read.
    m_pNowPlaying->SetScratchFolder(FeedFolder());
    m_pNowPlaying->ReadLater(path);
    if (m_pVisualThread) {
        SetMP3VisualTitle(GetPlayingSongName().toUtf8().constData());
        m_pVisualThread->SetVisualState(m_nVisualSaved);
    }
    RemoveStalePictures();
}

int CMediaPlayerCtrl::Play()
{
    const int n = count();
    if (n == 0)
        return 0;
    if (m_pAudioPlayer && m_pAudioPlayer->m_bPlaying && m_pAudioPlayer->m_hDecodeThread && m_pAudioPlayer->m_bPaused)
        return Pause();
    int selected = currentRow();
    if (selected < 0 || selected >= n)
        selected = 0;
    return PlayStart(m_arrFiles.GetAt(selected).toUtf8().constData());
}

int CMediaPlayerCtrl::Pause()
{
    if (m_bStopped || !m_pAudioPlayer || !m_bEngineReady)
        return 0;
    HRESULT hr = S_OK;
    if (m_pAudioPlayer->m_bPlaying && m_pAudioPlayer->m_hDecodeThread && m_pAudioPlayer->m_bPaused) {
        hr = m_pAudioPlayer->Resume();
        m_bPaused = 0;
        ShowPausedState();
        m_progressTimer.start();
        if (m_pVisualThread)
            m_pVisualThread->SetVisualState(m_nVisualSaved);
    } else {
        hr = m_pAudioPlayer->Pause();
        m_bPaused = 1;
        ShowPausedState();
        m_progressTimer.stop();
        if (m_pVisualThread) {
            m_nVisualSaved = m_pVisualThread->GetVisualState();
            m_pVisualThread->SetVisualState(0);
        }
    }
    emit transportChanged();
    if (FAILED(hr)) {
        Error(hr, m_pAudioPlayer->m_szError);
        return 0;
    }
    return 1;
}

int CMediaPlayerCtrl::Stop()
{
    if (m_bStopped)
        return 1;
    m_bStopped = 1;
    m_bPaused = 0;
    ShowPausedState();
    int result = 1;
    if (m_pAudioPlayer) {
        const HRESULT hr = m_pAudioPlayer->Stop();
        if (FAILED(hr)) {
            Error(hr, m_pAudioPlayer->m_szError);
            result = 0;
        }
    }
    m_progressTimer.stop();
    DropNextSong();
    viewport()->update(); // the playing marker goes
    if (m_Trackbar) {
        m_Trackbar->SetPos(0);
        m_Trackbar->setEnabled(false);
        m_strElapsed = GetFormattedTime(0);
        QCoreApplication::postEvent(this, new CUserMessageEvent(WM_PLAYER_PROGRESS, kTrackbarId,
                                                                static_cast<std::intptr_t>(m_nPosition)));
        emit progressChanged(m_strElapsed, m_strTotal, 0);
    }
    if (m_pVisualThread)
        m_pVisualThread->SetVisualState(0);
    emit transportChanged();
    return result;
}

int CMediaPlayerCtrl::Next()
{
    const int n = count();
    if (n == 0)
        return 0;
    if (!m_bSelectionFollowsPlaying) {
        m_nCurrentIndex = PlayOrder::NextEntry(PlayingRowForOrder(), n);
        if (!m_bStopped)
            return PlayStart(m_arrFiles.GetAt(m_nCurrentIndex).toUtf8().constData());
        return 1;
    }
    SetRowSelected(currentRow(), false);
    const int k = PlayOrder::NextEntry(m_nCurrentIndex, n);
    setCurrentRow(k, QItemSelectionModel::NoUpdate);
    SetRowSelected(k - 1, false);
    SetRowSelected(k, true);
    if (!m_bStopped)
        return PlayStart(m_arrFiles.GetAt(k).toUtf8().constData());
    return 1;
}

int CMediaPlayerCtrl::Prev()
{
    const int n = count();
    if (n == 0)
        return 0;
    if (!m_bSelectionFollowsPlaying) {
        // A deleted playing entry's follower stands at its row: the song before it is one row up.
        const int gone = m_pPlaylist->PlayingRow() < 0 ? m_pPlaylist->PlayingGoneRow() : -1;
        m_nCurrentIndex = PlayOrder::PreviousEntry(gone >= 0 ? gone : PlayingRowForOrder(), n);
        if (!m_bStopped)
            return PlayStart(m_arrFiles.GetAt(m_nCurrentIndex).toUtf8().constData());
        return 1;
    }
    SetRowSelected(currentRow(), false);
    const int k = PlayOrder::PreviousEntry(m_nCurrentIndex, n);
    // Wrapped, the entry it came from is entry 0.
    SetRowSelected(m_nCurrentIndex <= 0 ? 0 : k + 1, false);
    // Deliberately unlike Next: the current selection (the caret) is not moved.
    SetRowSelected(k, true);
    if (!m_bStopped)
        return PlayStart(m_arrFiles.GetAt(k).toUtf8().constData());
    return 1;
}

void CMediaPlayerCtrl::OnLButtonDblClk()
{
    if (count() == 0)
        return;
    int selected = currentRow();
    if (selected < 0)
        return;
    const BOOL shuffle = m_bShuffle;
    m_bShuffle = 0;
    PlayStart(m_arrFiles.GetAt(selected).toUtf8().constData());
    m_bShuffle = shuffle;
}

void CMediaPlayerCtrl::OnTimer(int id)
{
    if (!m_pAudioPlayer || m_pAudioPlayer->m_bPaused)
        return;
    if (!m_bUpdateProgress || id != kProgressTimerId) {
        // The first tick after a start or after a slider drag only re-enables the updates.
        if (m_bTrackReleased)
            m_bUpdateProgress = 1;
        return;
    }
    m_nPosition = m_pAudioPlayer->GetCurrentTime();
    SetSliderPosition(static_cast<int>(m_nPosition / kTicksPerSliderStep));
    m_strElapsed = GetFormattedTime(static_cast<int>(m_pAudioPlayer->GetCurrentSeconds()));
    if (HostWindow())
        QCoreApplication::postEvent(this, new CUserMessageEvent(WM_PLAYER_PROGRESS, kTrackbarId,
                                                                static_cast<std::intptr_t>(m_nPosition)));
    emit progressChanged(m_strElapsed, m_strTotal, m_nPosition);

    const bool engineDone = !m_pAudioPlayer->m_bPlaying || !m_pAudioPlayer->m_hDecodeThread;
    if (!engineDone || m_bStopped)
        return;
    ReportEndOfSong();
    // Without repeat, play deliberately ends after the last entry.
    if (PlayOrder::AdvancesAtEnd(m_bRepeat, m_bSelectionFollowsPlaying ? currentRow() : PlayingRowForOrder(), count()))
        Next();
}

void CMediaPlayerCtrl::ReportEndOfSong()
{
    // Once per song: after the last entry the ticks go on seeing the same ended engine.
    if (!m_bSongFailureReported && m_pAudioPlayer->PeekCurrentTime() == 0 && m_pAudioPlayer->m_qwDuration == 0 &&
        m_nCurrentIndex >= 0 && m_nCurrentIndex < m_arrFiles.GetSize()) {
        m_bSongFailureReported = true;
        const QString path = m_arrFiles.GetAt(m_nCurrentIndex);
        emit songFailed(path, UnplayableReason(path, nullptr));
    }
    ReportDeviceFailure();
}

void CMediaPlayerCtrl::OnEngineEnded()
{
    // The advance stays the progress timer's; what went wrong is told as it happens.
    if (!m_pAudioPlayer || m_bStopped || m_pAudioPlayer->m_bPlaying)
        return;
    ReportEndOfSong();
    emit transportChanged();
}

void CMediaPlayerCtrl::HoldPlayingEntry(const QString& path)
{
    const CPlaylistEntry* entry = m_pPlaylist->EntryAt(m_nCurrentIndex);
    if (!entry || entry->strPath != path)
        entry = m_pPlaylist->EntryWithPath(path);
    m_pPlaylist->SetPlaying(entry ? entry->nId : kNoPlaylistEntry);
    viewport()->update();
}

int CMediaPlayerCtrl::PlayingRowForOrder() const
{
    const int row = m_pPlaylist->PlayingRow();
    if (row >= 0)
        return row;
    // Deleted while playing: the song after it stands at its row now and comes next.
    const int gone = m_pPlaylist->PlayingGoneRow();
    return gone >= 0 ? gone - 1 : m_nCurrentIndex;
}

void CMediaPlayerCtrl::SetSelectionFollowsPlaying(int bFollows)
{
    m_bSelectionFollowsPlaying = bFollows != 0;
    viewport()->update();
}

const CNowPlayingSong& CMediaPlayerCtrl::GetNowPlaying() const
{
    return m_pNowPlaying->Current();
}

void CMediaPlayerCtrl::SetListenerSliderSteps(int bOn)
{
    m_bListenerSliderSteps = bOn != 0;
    ApplySliderSteps();
}

void CMediaPlayerCtrl::ApplySliderSteps()
{
    // The position slider counts tenths of a second; the volume slider 0...65535.
    if (m_Trackbar) {
        m_Trackbar->SetLineSize(m_bListenerSliderSteps ? 10 : 1);
        m_Trackbar->SetPageSize(m_bListenerSliderSteps ? 100 : 0);
    }
    if (m_VolumeBar) {
        m_VolumeBar->SetLineSize(m_bListenerSliderSteps ? 3277 : 1);
        m_VolumeBar->SetPageSize(m_bListenerSliderSteps ? 6554 : 0);
    }
}

int CMediaPlayerCtrl::GetPlayingRow() const
{
    return m_bStopped || !m_bPlaying ? -1 : m_pPlaylist->PlayingRow();
}

void CMediaPlayerCtrl::SetRowSelected(int row, bool selected)
{
    if (QListWidgetItem* entry = row >= 0 && row < count() ? item(row) : nullptr)
        entry->setSelected(selected);
}

void CMediaPlayerCtrl::ShowPausedState()
{
    if (QAction* pause = m_Toolbar ? m_Toolbar->CommandAction(kCommandPause) : nullptr) {
        pause->setCheckable(true);
        pause->setChecked(m_bPaused != 0);
    }
}

void CMediaPlayerCtrl::SetSliderPosition(int position)
{
    if (m_Trackbar)
        m_Trackbar->SetPos(position);
}

void CMediaPlayerCtrl::ProcessTrackbar(unsigned code, unsigned)
{
    if (code != TB_ENDTRACK) {
        m_bUpdateProgress = 0;
        m_bTrackReleased = 0;
        return;
    }
    m_bTrackReleased = 1;
    if (m_pAudioPlayer && m_Trackbar)
        SeekTo(static_cast<quint64>(m_Trackbar->GetPos()) * kTicksPerSliderStep);
}

void CMediaPlayerCtrl::ProcessVolumeBar(unsigned, unsigned)
{
    if (!m_VolumeBar)
        return;
    m_nVolumeLevel = 65535 - m_VolumeBar->GetPos();
    const DWORD level = static_cast<DWORD>(m_nVolumeLevel) & 0xFFFFu;
    if (m_pAudioPlayer)
        waveOutSetVolume(m_pAudioPlayer->m_hWaveOut, level | (level << 16));
    emit transportChanged();
}

void CMediaPlayerCtrl::StartPlayingFromPos(unsigned position)
{
    if (m_pAudioPlayer)
        SeekTo(static_cast<quint64>(position));
}

void CMediaPlayerCtrl::SeekTo(quint64 position)
{
    m_pAudioPlayer->Play(position);
    emit seeked(position);
    FollowNextSong(); // seeking a song that had ended restarts the engine without its next one
}

void CMediaPlayerCtrl::SetVolume(long v)
{
    if (v < 0 || v > 100)
        return;
    // Deliberately inverted: 0 is full volume, 100 silence.
    const DWORD level = static_cast<DWORD>((100 - v) * 65535 / 100);
    if (m_pAudioPlayer)
        waveOutSetVolume(m_pAudioPlayer->m_hWaveOut, level | (level << 16));
    emit transportChanged();
}

long CMediaPlayerCtrl::GetVolume()
{
    DWORD volume = 0;
    waveOutGetVolume(nullptr, &volume);
    return static_cast<long>((volume & 0xFFFFu) * 100 / 65535);
}
