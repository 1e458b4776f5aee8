#pragma once
// A player control stand-in that publishes a feed the way the control does.
#include <atomic>
#include <mutex>
#include <string>

#include "visual/IVisualFeedSource.h"

class FakeFeed : public IVisualFeedSource
{
public:
    std::timed_mutex& GetChangeMutex() override { return m_mutex; }
    std::uint32_t GetChange() const override { return m_dwChange.load(); }
    void SetChange(std::uint32_t dwChange) override { m_dwChange = dwChange; }
    const char* GetMP3VisualTitle() override { return m_strTitle.c_str(); }
    const char* GetLyrics() override { return m_strLyrics.c_str(); }
    CStringArray* GetArts() override { return &m_arrArts; }
    CStringArray* GetBackgrounds() override { return &m_arrBackgrounds; }
    CAudioPlayer* GetAudioPlayer() override { return nullptr; }
    const char* GetRegSubKey() override { return "Software\\Tunivox\\TunivoxDesk\\MP3PlayerInternal"; }
    void VisualThreadEnded(CVisualThread* pThread) override
    {
        m_pEndedThread = pThread;
        ++m_nEnded;
    }

    // Publishes under the mutex like the control's setters.
    void Publish(std::uint32_t bits, const std::string& title, const std::string& lyrics)
    {
        std::lock_guard lock(m_mutex);
        if (bits & VISUAL_CHANGE_TITLE)
            m_strTitle = title;
        if (bits & VISUAL_CHANGE_LYRICS)
            m_strLyrics = lyrics;
        m_dwChange = m_dwChange | bits;
    }

    std::timed_mutex m_mutex;
    std::atomic<std::uint32_t> m_dwChange{0};
    std::string m_strTitle;
    std::string m_strLyrics;
    CStringArray m_arrArts;
    CStringArray m_arrBackgrounds;
    std::atomic<int> m_nEnded{0};
    CVisualThread* m_pEndedThread = nullptr;
};
