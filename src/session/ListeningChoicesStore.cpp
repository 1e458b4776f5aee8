#include "session/ListeningChoicesStore.h"

#include <cstring>

#include "platform/TypedSettings.h"
#include "song/ReplayGainTags.h"

namespace {

constexpr const char* kModeName = "ReplayGainMode";
constexpr const char* kPreampName = "ReplayGainPreampDb";
constexpr const char* kPreventName = "ReplayGainPreventClipping";
constexpr const char* kFallbackName = "ReplayGainFallbackDb";
constexpr const char* kDeviceName = "OutputDevice";
constexpr const char* kGaplessName = "Gapless";

} // namespace

CListeningChoicesStore::CListeningChoicesStore(const QString& key, const QString& storePath)
    : m_strKey(key), m_strStorePath(storePath)
{
}

bool CListeningChoicesStore::ReadText(const char* name, QString* text) const
{
    const auto value = CTypedSettings(m_strStorePath).Value(m_strKey, QLatin1String(name));
    if (!value || value->dwType != REG_SZ)
        return false;
    const QByteArray& data = value->data;
    const qsizetype end = data.indexOf('\0');
    *text = QString::fromUtf8(end < 0 ? data : data.left(end));
    return true;
}

bool CListeningChoicesStore::ReadNumber(const char* name, quint32* number) const
{
    const auto value = CTypedSettings(m_strStorePath).Value(m_strKey, QLatin1String(name));
    if (!value || value->data.size() < 4 || (value->dwType != REG_DWORD && value->dwType != REG_DWORD_BIG_ENDIAN))
        return false;
    // The four bytes as stored, whichever DWORD type: the way the control has always read them.
    std::memcpy(number, value->data.constData(), sizeof(*number));
    return true;
}

bool CListeningChoicesStore::WriteText(const char* name, const QString& text) const
{
    return CTypedSettings(m_strStorePath).SetValue(m_strKey, QLatin1String(name), TypedValue::FromString(text));
}

bool CListeningChoicesStore::WriteNumber(const char* name, quint32 number) const
{
    return CTypedSettings(m_strStorePath).SetValue(m_strKey, QLatin1String(name), TypedValue::FromDWORD(number));
}

bool CListeningChoicesStore::LoadReplayGain(ReplayGainOptions* options) const
{
    bool any = false;
    QString text;
    if (ReadText(kModeName, &text))
        any |= ParseReplayGainMode(text, &options->eMode);
    for (const auto& [name, db] : {std::pair{kPreampName, &options->dPreampDb}, std::pair{kFallbackName, &options->dFallbackDb}}) {
        if (!ReadText(name, &text))
            continue;
        if (const std::optional<double> value = ParseReplayGainNumber(text)) {
            *db = *value;
            any = true;
        }
    }
    quint32 prevent = 0;
    if (ReadNumber(kPreventName, &prevent)) {
        options->bPreventClipping = prevent != 0;
        any = true;
    }
    return any;
}

bool CListeningChoicesStore::LoadOutputDevice(QString* device) const
{
    return ReadText(kDeviceName, device);
}

bool CListeningChoicesStore::LoadGapless(bool* gapless) const
{
    quint32 stored = 0;
    if (!ReadNumber(kGaplessName, &stored))
        return false;
    *gapless = stored != 0;
    return true;
}

bool CListeningChoicesStore::StoreReplayGain(const ReplayGainOptions& options) const
{
    return WriteText(kModeName, ReplayGainModeName(options.eMode)) &&
           WriteText(kPreampName, QString::number(options.dPreampDb)) &&
           WriteText(kFallbackName, QString::number(options.dFallbackDb)) &&
           WriteNumber(kPreventName, options.bPreventClipping ? 1u : 0u);
}

bool CListeningChoicesStore::StoreOutputDevice(const QString& device) const
{
    return WriteText(kDeviceName, device);
}

bool CListeningChoicesStore::StoreGapless(bool gapless) const
{
    return WriteNumber(kGaplessName, gapless ? 1u : 0u);
}
