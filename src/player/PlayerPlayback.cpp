// Listening choices beyond the classic control: ReplayGain, the output device, recovery of a failed
// device, and remembering the listener's choices with the control's other settings.
#include "audio/CAudioPlayer.h"
#include "platform/StringConv.h"
#include "player/CMediaPlayerCtrl.h"
#include "song/ReplayGainTags.h"
#include "visual/CRegistry.h"

namespace {

constexpr const char* kModeName = "ReplayGainMode";
constexpr const char* kPreampName = "ReplayGainPreampDb";
constexpr const char* kPreventName = "ReplayGainPreventClipping";
constexpr const char* kFallbackName = "ReplayGainFallbackDb";
constexpr const char* kDeviceName = "OutputDevice";

bool ReadText(const QByteArray& key, const char* name, QString* text)
{
    CRegistry registry;
    RegistryValue value;
    return registry.Read(key.constData(), name, value) && CRegistry::GetString(value, text);
}

bool ReadDWord(const QByteArray& key, const char* name, DWORD* number)
{
    CRegistry registry;
    RegistryValue value;
    return registry.Read(key.constData(), name, value) && CRegistry::GetDWORD(value, number);
}

void ReadDb(const QByteArray& key, const char* name, double* db)
{
    QString text;
    if (ReadText(key, name, &text))
        if (const std::optional<double> value = ParseReplayGainNumber(text))
            *db = *value;
}

void WriteText(const QByteArray& key, const char* name, const QString& text)
{
    CRegistry registry;
    registry.WriteString(key.constData(), name, text.toUtf8().constData());
}

} // namespace

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
    const QByteArray key = m_strRegSubKey.toUtf8();
    QString text;
    if (ReadText(key, kModeName, &text))
        ParseReplayGainMode(text, &m_replayGain.eMode);
    ReadDb(key, kPreampName, &m_replayGain.dPreampDb);
    ReadDb(key, kFallbackName, &m_replayGain.dFallbackDb);
    DWORD prevent = 0;
    if (ReadDWord(key, kPreventName, &prevent))
        m_replayGain.bPreventClipping = prevent != 0;
    if (ReadText(key, kDeviceName, &text))
        m_strOutputDevice = text;
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
    const QByteArray key = m_strRegSubKey.toUtf8();
    WriteText(key, kModeName, ReplayGainModeName(m_replayGain.eMode));
    WriteText(key, kPreampName, QString::number(m_replayGain.dPreampDb));
    WriteText(key, kFallbackName, QString::number(m_replayGain.dFallbackDb));
    CRegistry registry;
    DWORD prevent = m_replayGain.bPreventClipping ? 1 : 0;
    registry.WriteDWORD(key.constData(), kPreventName, &prevent);
    WriteText(key, kDeviceName, m_strOutputDevice);
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
