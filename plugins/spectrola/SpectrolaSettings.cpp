#include "SpectrolaSettings.h"

#include <algorithm>

#include "platform/TypedSettings.h"

namespace {

std::optional<DWORD> ReadDword(const CTypedSettings& store, const char* name)
{
    const auto value = store.Value(QString::fromLatin1(kSpectrolaSettingsKey), QString::fromLatin1(name));
    if (!value || value->dwType != REG_DWORD || value->data.size() != 4)
        return std::nullopt;
    const auto* p = reinterpret_cast<const unsigned char*>(value->data.constData());
    return static_cast<DWORD>(p[0] | p[1] << 8 | p[2] << 16 | static_cast<DWORD>(p[3]) << 24);
}

} // namespace

SpectrolaSettings LoadSpectrolaSettings()
{
    SpectrolaSettings settings;
    const CTypedSettings store;
    if (const auto bars = ReadDword(store, "Bars"); bars && *bars >= kSpectrolaMinBars && *bars <= kSpectrolaMaxBars)
        settings.nBars = static_cast<int>(*bars);
    if (const auto scheme = ReadDword(store, "Scheme"); scheme && *scheme < kSpectrolaSchemeCount)
        settings.nScheme = static_cast<int>(*scheme);
    if (const auto caps = ReadDword(store, "PeakCaps"))
        settings.bPeakCaps = *caps != 0;
    return settings;
}

bool SaveSpectrolaSettings(const SpectrolaSettings& settings)
{
    CTypedSettings store;
    const QString key = QString::fromLatin1(kSpectrolaSettingsKey);
    return store.SetValue(key, QStringLiteral("Bars"), TypedValue::FromDWORD(static_cast<DWORD>(settings.nBars)))
        && store.SetValue(key, QStringLiteral("Scheme"), TypedValue::FromDWORD(static_cast<DWORD>(settings.nScheme)))
        && store.SetValue(key, QStringLiteral("PeakCaps"), TypedValue::FromDWORD(settings.bPeakCaps ? 1 : 0));
}

std::array<float, 3> SpectrolaColour(int nScheme, float t)
{
    t = std::clamp(t, 0.0f, 1.0f);
    struct Stop
    {
        float r, g, b;
    };
    // Three stops per scheme: floor, middle, top.
    static constexpr Stop kStops[kSpectrolaSchemeCount][3] = {
        {{0.05f, 0.55f, 0.45f}, {0.10f, 0.85f, 0.95f}, {0.95f, 0.35f, 0.95f}}, // Aurora
        {{0.55f, 0.05f, 0.02f}, {0.98f, 0.45f, 0.05f}, {1.00f, 0.95f, 0.35f}}, // Ember
        {{0.05f, 0.15f, 0.55f}, {0.30f, 0.60f, 1.00f}, {0.92f, 0.97f, 1.00f}}, // Ice
        {{0.35f, 0.35f, 0.35f}, {0.70f, 0.70f, 0.70f}, {1.00f, 1.00f, 1.00f}}, // Mono
    };
    const Stop* s = kStops[std::clamp(nScheme, 0, kSpectrolaSchemeCount - 1)];
    const int i = t < 0.5f ? 0 : 1;
    const float u = t < 0.5f ? t * 2.0f : (t - 0.5f) * 2.0f;
    return {s[i].r + (s[i + 1].r - s[i].r) * u, s[i].g + (s[i + 1].g - s[i].g) * u, s[i].b + (s[i + 1].b - s[i].b) * u};
}
