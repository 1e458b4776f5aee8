// Gapless playback (SetGapless): while a song plays, the song the play order brings next is opened
// ahead in the engine, which plays its first sample right after the last one of the current song.
// The control shows the new song when the device hands back its first block, as PlayStart does.
//
// All of it runs on the GUI thread. The engine reports the hand-over through GetNextState; the
// control looks every progress tick and, in the last seconds of a song, every few milliseconds.
#include <QTimer>

#include "audio/CAudioPlayer.h"
#include "player/CMediaPlayerCtrl.h"
#include "player/SystemShuffleSource.h"
#include "session/ListeningChoicesStore.h"

namespace {

constexpr int kHeardPollMs = 5;
// With blocks handed back in bursts the next song can only turn heard at a burst: a coarser look is
// as prompt, and the window's thread sleeps in between.
constexpr int kHeardPollBurstMs = 25;
constexpr QWORD kCloseToEndUnits = 30000000; // 3 s

} // namespace

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
    in.selectedRow = currentRow();
    in.current = m_nCurrentIndex;
    if (m_bShuffle && !m_strNextPath.isEmpty())
        in.prepared = static_cast<int>(m_arrFiles.Items().indexOf(m_strNextPath));
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
        m_nNextIndex = index;
        return;
    }
    if (DropNextSong()) {
        UpdateNextSong(); // the dropped song had been heard: choose again from it
        return;
    }
    if (wanted.isEmpty())
        return;
    if (SUCCEEDED(m_pAudioPlayer->PrepareNext(wanted.toUtf8().constData()))) {
        m_nNextIndex = index;
        m_strNextPath = wanted;
        PollNextSong();
    }
    // Otherwise the song ends as without the option and the timer moves on.
}

bool CMediaPlayerCtrl::DropNextSong()
{
    m_heardTimer.stop();
    if (!m_pAudioPlayer || (m_strNextPath.isEmpty() && m_pAudioPlayer->GetNextState() == CAudioPlayer::kNextNone)) {
        m_nNextIndex = -1;
        m_strNextPath.clear();
        return false;
    }
    const int index = m_nNextIndex;
    const QString path = m_strNextPath;
    m_nNextIndex = -1;
    m_strNextPath.clear();
    if (m_pAudioPlayer->CancelNext() == S_FALSE && !path.isEmpty()) {
        m_pAudioPlayer->TakeHeardSong(); // it was heard before it could be cancelled and plays now
        ShowHeardSong(index, path);
        return true;
    }
    return false;
}

void CMediaPlayerCtrl::PollNextSong()
{
    if (!m_pAudioPlayer || m_strNextPath.isEmpty())
        return;
    const int state = m_pAudioPlayer->GetNextState();
    if (state == CAudioPlayer::kNextNone) {
        // The engine dropped it (a seek after the song had ended restarts the engine): prepare again.
        m_heardTimer.stop();
        m_nNextIndex = -1;
        m_strNextPath.clear();
        UpdateNextSong();
        return;
    }
    if (state == CAudioPlayer::kNextHeard && m_pAudioPlayer->TakeHeardSong()) {
        m_heardTimer.stop();
        const int index = m_nNextIndex;
        const QString path = m_strNextPath;
        m_nNextIndex = -1;
        m_strNextPath.clear();
        ShowHeardSong(index, path);
        UpdateNextSong();
        return;
    }
    // Looked at closely from a little before the song's end (the engine joins the next one up to a
    // ring, 1.5 s, before it is heard); the progress tick is enough until then.
    const QWORD duration = m_pAudioPlayer->m_qwDuration;
    const QWORD position = m_pAudioPlayer->PeekCurrentTime(); // a burst behind at most: close enough
    const bool closeToEnd = state != CAudioPlayer::kNextReady || duration == 0 ||
                            position + kCloseToEndUnits >= duration;
    if (closeToEnd && !m_heardTimer.isActive())
        m_heardTimer.start(m_pAudioPlayer->GetHandBackInterval() > 0 ? kHeardPollBurstMs : kHeardPollMs);
    else if (!closeToEnd)
        m_heardTimer.stop();
}

void CMediaPlayerCtrl::ShowHeardSong(int index, const QString& path)
{
    if (index < 0 || index >= m_arrFiles.GetSize() || m_arrFiles.GetAt(index) != path)
        index = static_cast<int>(m_arrFiles.Items().indexOf(path)); // the list changed meanwhile
    if (index >= 0 && index < count()) {
        SetRowSelected(currentRow(), false);
        setCurrentRow(index, QItemSelectionModel::NoUpdate);
        SetRowSelected(index, true);
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
