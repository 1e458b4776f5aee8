#pragma once
// How loud the engine plays a song from its ReplayGain values: the mode (off, track, album), a
// pre-amp, clipping prevention from the peak, and a gain for files without values. The result is
// a factor the gain stage (GainStage.h) multiplies into each song's samples.
//
// Threading: plain values and pure functions.

#include <QString>

#include "platform/WinTypes.h"
#include "song/ReplayGainTags.h"
#include "tunivox_export.h"

enum class ReplayGainMode { Off = 0, Track = 1, Album = 2 };

struct ReplayGainOptions
{
    ReplayGainMode eMode = ReplayGainMode::Off;
    double dPreampDb = 0.0;       // added to the gain of files that carry values
    bool bPreventClipping = true; // never more gain than the peak allows (no peak known: no boost)
    double dFallbackDb = 0.0;     // the gain of files without values

    bool operator==(const ReplayGainOptions&) const = default;
};

enum class ReplayGainSource { None, Track, Album, Fallback };

struct ReplayGainApplied
{
    ReplayGainSource eSource = ReplayGainSource::None;
    double dGainDb = 0.0;  // what is applied, after the pre-amp and the clipping limit
    bool bLimited = false; // clipping prevention lowered the gain
};

TUNIVOX_EXPORT ReplayGainApplied ChooseReplayGain(const ReplayGainOptions& options, const ReplayGainValues& values);

// A gain as a factor in 1/65536 steps; kUnityGain (also for 0 dB) leaves the samples untouched.
inline constexpr DWORD kUnityGain = 0;
TUNIVOX_EXPORT DWORD GainStepsFromDb(double gainDb);

// "Off", "Track", "Album"; and back (false for any other text).
TUNIVOX_EXPORT QString ReplayGainModeName(ReplayGainMode mode);
TUNIVOX_EXPORT bool ParseReplayGainMode(const QString& name, ReplayGainMode* mode);
