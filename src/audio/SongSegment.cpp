#include "audio/SongSegment.h"

#include "song/ReplayGainTags.h"

void CSongSegment::Begin(const QString& path)
{
    m_strPath = path;
    m_values = {};
    m_bValuesRead = false;
    m_applied = {};
    m_dwGain.store(kUnityGain, std::memory_order_relaxed);
}

void CSongSegment::ApplyOptions(const ReplayGainOptions& options)
{
    if (options.eMode != ReplayGainMode::Off && !m_bValuesRead) {
        m_values = ReadReplayGain(m_strPath);
        m_bValuesRead = true;
    }
    m_applied = ChooseReplayGain(options, m_values);
    m_dwGain.store(m_applied.eSource == ReplayGainSource::None ? kUnityGain : GainStepsFromDb(m_applied.dGainDb),
                   std::memory_order_relaxed);
}
