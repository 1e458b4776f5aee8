#include "audio/GainStage.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "audio/SongSegment.h"

void CGainStage::Process(BYTE* pcm, DWORD bytes, const CSongSegment& song)
{
    const DWORD gain = song.Gain();
    if (gain == kUnityGain)
        return;
    for (DWORD i = 0; i + 1 < bytes; i += 2) {
        std::int16_t sample;
        std::memcpy(&sample, pcm + i, 2);
        const std::int64_t scaled = (static_cast<std::int64_t>(sample) * gain + 32768) >> 16;
        sample = static_cast<std::int16_t>(std::clamp<std::int64_t>(scaled, -32768, 32767));
        std::memcpy(pcm + i, &sample, 2);
    }
}
