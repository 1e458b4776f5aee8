#pragma once
// How loud the engine plays a song from its ReplayGain values: the mode (off, track, album), a
// pre-amp, clipping prevention from the peak, and a gain for files without values. The result is
// a factor the wave device multiplies into its volume stage (BlockGain in WaveOut.h).
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

// The gain as a block gain: 1/65536 steps, 0 = unity (also for 0 dB).
TUNIVOX_EXPORT DWORD BlockGainFromDb(double gainDb);

// "Off", "Track", "Album"; and back (false for any other text).
TUNIVOX_EXPORT QString ReplayGainModeName(ReplayGainMode mode);
TUNIVOX_EXPORT bool ParseReplayGainMode(const QString& name, ReplayGainMode* mode);
