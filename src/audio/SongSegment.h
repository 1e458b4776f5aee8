#pragma once
// What belongs to one song on its way through the audio path: its ReplayGain values and the gain
// chosen from them (later a trim or a crossfade envelope). The engine keeps one for the open song
// and one for the song that follows; each part of a block is processed with the segment of the song
// it came from, so a gapless join changes the gain at its first sample.
//
// Threading contract
// - The control's thread fills a segment (Begin, ApplyOptions) and reads Applied: in Open and
//   PrepareNext, before the decoding thread gets to it, and in SetReplayGain while it plays.
// - The decoding thread reads only Gain, an atomic, so a gain change reaches the queue at once.

#include <QString>
#include <atomic>

#include "audio/ReplayGain.h"

class CSongSegment
{
public:
    // A new song at `path`: its values are read by the first ApplyOptions that needs them.
    void Begin(const QString& path);
    // Chooses the gain for `options`, reading the tags first when they are needed and not read yet
    // (file I/O: never on the decoding thread).
    void ApplyOptions(const ReplayGainOptions& options);
    const ReplayGainApplied& Applied() const { return m_applied; }
    // In 1/65536 steps, kUnityGain for none (see GainStepsFromDb).
    DWORD Gain() const { return m_dwGain.load(std::memory_order_relaxed); }

private:
    QString m_strPath;
    ReplayGainValues m_values;
    bool m_bValuesRead = false;
    ReplayGainApplied m_applied;
    std::atomic<DWORD> m_dwGain{kUnityGain};
};
