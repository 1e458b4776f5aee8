#pragma once
// Spectrola's own settings (bar count, colour scheme, peak caps), kept in the user's settings store
// under the player's key, and its colour schemes.
//
// Threading: plain values. Loading and saving open their own store and may run on any thread.

#include <array>

struct SpectrolaSettings
{
    int nBars = 48;
    int nScheme = 0;
    bool bPeakCaps = true;

    bool operator==(const SpectrolaSettings&) const = default;
};

inline constexpr int kSpectrolaMinBars = 8;
inline constexpr int kSpectrolaMaxBars = 128;
inline constexpr int kSpectrolaSchemeCount = 4;
inline constexpr const char* kSpectrolaSchemeNames[kSpectrolaSchemeCount] = {"Aurora", "Ember", "Ice", "Mono"};
inline constexpr const char* kSpectrolaSettingsKey = "Software\\Tunivox\\TunivoxDesk\\MP3PlayerInternal\\Spectrola";

// Missing or out-of-range values keep their defaults.
SpectrolaSettings LoadSpectrolaSettings();
bool SaveSpectrolaSettings(const SpectrolaSettings& settings);

// The scheme's colour at height `t` (0 = floor, 1 = top), each channel 0..1.
std::array<float, 3> SpectrolaColour(int nScheme, float t);
