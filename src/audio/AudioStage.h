#pragma once
// One step of the engine's audio path between the reader and the wave device (see AudioPath.h):
// it changes 16-bit PCM in place, with the song the samples belong to at hand. ReplayGain is one;
// a crossfade, a tempo change or an analysis tap would be others.
//
// Threading contract
// - The decoding thread calls Process and Reset while it streams: no allocation, I/O, logging,
//   lock or wait in them. A stage takes what it needs at construction or from the song segment.
// - The control's thread calls LatencyFrames, and builds the path before Play.

#include "audio/WaveTypes.h"

class CSongSegment;

class IAudioStage
{
public:
    virtual ~IAudioStage() = default;
    // `bytes` of interleaved PCM of the fixed output format, all of one song.
    virtual void Process(BYTE* pcm, DWORD bytes, const CSongSegment& song) = 0;
    // Frames the stage holds back: sound leaves it this much later than it came in.
    virtual DWORD LatencyFrames() const = 0;
    // The stream was broken (a seek) or a song joined: forget what was carried over.
    virtual void Reset() = 0;
};
