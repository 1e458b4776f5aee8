#include "audio/ReplayGain.h"

#include <algorithm>
#include <cmath>

namespace {

// Wider than any sensible tag: beyond it a value is a typing error, not a loudness.
constexpr double kMinGainDb = -60.0;
constexpr double kMaxGainDb = 24.0;
constexpr double kUnity = 65536.0;

} // namespace

ReplayGainApplied ChooseReplayGain(const ReplayGainOptions& options, const ReplayGainValues& values)
{
    ReplayGainApplied applied;
    if (options.eMode == ReplayGainMode::Off)
        return applied;
    std::optional<double> gain;
    std::optional<double> peak;
    const bool album = options.eMode == ReplayGainMode::Album;
    // The other kind stands in when the asked one is missing (a single, a half-tagged album).
    if (album ? values.dAlbumGainDb.has_value() : !values.dTrackGainDb.has_value() && values.dAlbumGainDb) {
        gain = values.dAlbumGainDb;
        peak = values.dAlbumPeak;
        applied.eSource = ReplayGainSource::Album;
    } else if (values.dTrackGainDb) {
        gain = values.dTrackGainDb;
        peak = values.dTrackPeak;
        applied.eSource = ReplayGainSource::Track;
    }
    double db;
    if (gain) {
        db = *gain + options.dPreampDb;
    } else {
        db = options.dFallbackDb;
        applied.eSource = ReplayGainSource::Fallback;
    }
    db = std::clamp(db, kMinGainDb, kMaxGainDb);
    if (options.bPreventClipping) {
        const double limit = peak && *peak > 0 ? -20.0 * std::log10(*peak) : 0.0;
        if (db > limit) {
            db = limit;
            applied.bLimited = true;
        }
    }
    applied.dGainDb = db;
    return applied;
}

DWORD GainStepsFromDb(double gainDb)
{
    const double factor = std::pow(10.0, std::clamp(gainDb, kMinGainDb, kMaxGainDb) / 20.0);
    // Rounded down, so that a gain limited to the peak never rounds past it.
    const auto steps = static_cast<DWORD>(std::floor(factor * kUnity));
    return steps == static_cast<DWORD>(kUnity) ? kUnityGain : std::max<DWORD>(steps, 1);
}

QString ReplayGainModeName(ReplayGainMode mode)
{
    switch (mode) {
    case ReplayGainMode::Track:
        return QStringLiteral("Track");
    case ReplayGainMode::Album:
        return QStringLiteral("Album");
    default:
        return QStringLiteral("Off");
    }
}

bool ParseReplayGainMode(const QString& name, ReplayGainMode* mode)
{
    for (ReplayGainMode candidate : {ReplayGainMode::Off, ReplayGainMode::Track, ReplayGainMode::Album}) {
        if (name.compare(ReplayGainModeName(candidate), Qt::CaseInsensitive) == 0) {
            *mode = candidate;
            return true;
        }
    }
    return false;
}
