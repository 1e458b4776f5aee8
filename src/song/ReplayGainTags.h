#pragma once
// ReplayGain values stored in a file's tags: ID3v2 TXXX:REPLAYGAIN_* (or RVA2 "track"/"album"),
// Vorbis comments (FLAC, Ogg Vorbis), Opus R128_* gains, MP4 freeform
// ----:com.apple.iTunes:replaygain_* items and ASF attributes, read through TagLib.
//
// Threading: a plain function on a short-lived TagLib file; any thread may call it, as CId3Tag.

#include <QString>
#include <optional>

#include "tunivox_export.h"

struct ReplayGainValues
{
    std::optional<double> dTrackGainDb; // gain to the ReplayGain reference level (-18 LUFS), in dB
    std::optional<double> dTrackPeak;   // largest sample, 1.0 = full scale
    std::optional<double> dAlbumGainDb;
    std::optional<double> dAlbumPeak;

    bool HasGain() const { return dTrackGainDb || dAlbumGainDb; }
};

// What the tags of `path` say; nothing for a file without values or one TagLib cannot read.
TUNIVOX_EXPORT ReplayGainValues ReadReplayGain(const QString& path);

// Parses a gain text such as "-6.48 dB" or "+1.2"; nothing when it holds no number.
TUNIVOX_EXPORT std::optional<double> ParseReplayGainNumber(const QString& text);
