// The control's state signals: each is emitted once per change of what it reports, whichever call,
// key, timer tick or engine event made the change.
#include "audio/CAudioPlayer.h"
#include "player/CMediaPlayerCtrl.h"

CMediaPlayerCtrl::PlaybackState CMediaPlayerCtrl::GetPlaybackState() const
{
    if (m_bStopped || !m_pAudioPlayer || !m_pAudioPlayer->m_bPlaying)
        return StateStopped;
    return m_bPaused ? StatePaused : StatePlaying;
}

void CMediaPlayerCtrl::AnnounceStateChanges()
{
    const CAnnouncedState now{GetPlaybackState(), m_nCurrentIndex, m_pAudioPlayer ? static_cast<int>(GetVolume()) : -1,
                              m_bRepeat != 0, m_bShuffle != 0};
    const CAnnouncedState before = std::exchange(m_announced, now);
    if (now.eState != before.eState)
        emit stateChanged(now.eState);
    if (now.nIndex != before.nIndex)
        emit currentIndexChanged(now.nIndex);
    if (now.nVolume != before.nVolume && now.nVolume >= 0)
        emit volumeChanged(now.nVolume);
    if (now.bRepeat != before.bRepeat)
        emit repeatChanged(now.bRepeat);
    if (now.bShuffle != before.bShuffle)
        emit shuffleChanged(now.bShuffle);
}
