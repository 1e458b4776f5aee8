#pragma once
// The engine's audio path: the stages every block passes through, in order, after the reader
// filled it and before the wave device gets it (see AudioStage.h). A fixed number of places, so
// that streaming never allocates.
//
// Threading contract: the control's thread adds stages before Play and never while the decoding
// thread runs; the decoding thread calls Process and Reset. The path owns no stage.

#include <array>
#include <cstddef>

#include "audio/AudioStage.h"

class CAudioPath
{
public:
    static constexpr std::size_t kMaxStages = 8;

    // False when the path is full.
    bool Add(IAudioStage* stage)
    {
        if (m_nStages == kMaxStages)
            return false;
        m_stages[m_nStages++] = stage;
        return true;
    }
    void Process(BYTE* pcm, DWORD bytes, const CSongSegment& song) const
    {
        for (std::size_t i = 0; i < m_nStages && bytes > 0; ++i)
            m_stages[i]->Process(pcm, bytes, song);
    }
    void Reset() const
    {
        for (std::size_t i = 0; i < m_nStages; ++i)
            m_stages[i]->Reset();
    }
    DWORD LatencyFrames() const
    {
        DWORD frames = 0;
        for (std::size_t i = 0; i < m_nStages; ++i)
            frames += m_stages[i]->LatencyFrames();
        return frames;
    }

private:
    std::array<IAudioStage*, kMaxStages> m_stages{};
    std::size_t m_nStages = 0;
};
