#pragma once
// The ReplayGain stage: scales each song's samples by its segment's gain, rounded to nearest and
// saturated at full scale. Unity leaves the samples untouched, bit for bit. The listener's volume
// is not here: the wave device applies it as the block is heard, so that it answers at once.
//
// Threading: as IAudioStage; it keeps no state.

#include "audio/AudioStage.h"

class CGainStage final : public IAudioStage
{
public:
    void Process(BYTE* pcm, DWORD bytes, const CSongSegment& song) override;
    DWORD LatencyFrames() const override { return 0; }
    void Reset() override {}
};
