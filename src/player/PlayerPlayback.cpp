// Listening choices beyond the classic control: ReplayGain, the output device, recovery of a failed
// device, and remembering the listener's choices with the control's other settings.
#include "audio/CAudioPlayer.h"
#include "platform/StringConv.h"
#include "player/CMediaPlayerCtrl.h"
#include "session/ListeningChoicesStore.h"

void CMediaPlayerCtrl::SetReplayGain(const ReplayGainOptions& options)
{
    m_replayGain = options;
    if (m_pAudioPlayer && m_bEngineReady)
        m_pAudioPlayer->SetReplayGain(options);
    StorePlaybackChoices();
}

ReplayGainApplied CMediaPlayerCtrl::GetReplayGainApplied() const
{
    return m_pAudioPlayer && m_bEngineReady ? m_pAudioPlayer->GetReplayGainApplied() : ReplayGainApplied{};
}

int CMediaPlayerCtrl::SetOutputDevice(const QString& name)
{
    if (m_pAudioPlayer && m_bEngineReady) {
        const HRESULT hr = m_pAudioPlayer->SetOutputDevice(name.toStdString());
        if (FAILED(hr)) {
            Error(hr, m_pAudioPlayer->m_szError);
            return 0;
        }
    }
    m_strOutputDevice = name;
    StorePlaybackChoices();
    return 1;
}

void CMediaPlayerCtrl::SetDeviceRecovery(int seconds)
{
    m_nRecoverySeconds = seconds > 0 ? seconds : 0;
    if (m_pAudioPlayer && m_bEngineReady)
        m_pAudioPlayer->SetDeviceRecovery(static_cast<unsigned>(m_nRecoverySeconds) * 1000u);
}

void CMediaPlayerCtrl::SetRemembersPlaybackChoices(int bRemember)
{
    m_bRemembersPlayback = bRemember != 0;
    if (!m_bRemembersPlayback)
        return;
    const CListeningChoicesStore store(m_strRegSubKey);
    store.LoadReplayGain(&m_replayGain);
    store.LoadOutputDevice(&m_strOutputDevice);
    ApplyPlaybackChoices();
}

void CMediaPlayerCtrl::ApplyPlaybackChoices()
{
    if (!m_pAudioPlayer || !m_bEngineReady)
        return;
    m_pAudioPlayer->SetReplayGain(m_replayGain);
    m_pAudioPlayer->SetDeviceRecovery(static_cast<unsigned>(m_nRecoverySeconds) * 1000u);
    // A remembered device that is gone today leaves the engine on the wave mapper's.
    if (FAILED(m_pAudioPlayer->SetOutputDevice(m_strOutputDevice.toStdString())))
        Error(E_FAIL, m_pAudioPlayer->m_szError);
}

void CMediaPlayerCtrl::StorePlaybackChoices()
{
    if (!m_bRemembersPlayback)
        return;
    const CListeningChoicesStore store(m_strRegSubKey);
    store.StoreReplayGain(m_replayGain);
    store.StoreOutputDevice(m_strOutputDevice);
}

void CMediaPlayerCtrl::ReportDeviceFailure()
{
    if (m_nRecoverySeconds == 0 || m_bDeviceFailureReported || !m_pAudioPlayer)
        return;
    const char* failure = m_pAudioPlayer->GetDeviceFailure();
    if (!failure[0])
        return;
    m_bDeviceFailureReported = true;
    Error(m_pAudioPlayer->m_hrThread.load(), failure);
    emit deviceStopped(QString::fromUtf8(failure));
}
