#pragma once
// A player control stand-in that publishes a feed the way the control does, and a fixture running
// the visualization thread on it.
#include <QPointer>
#include <QTest>
#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <mutex>
#include <string>

#include "support/TestFolders.h"
#include "visual/CRegistry.h"
#include "visual/CVisualThread.h"
#include "visual/CVisualWnd.h"
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
    CAudioPlayer* GetAudioPlayer() override { return m_pPlayer; }
    const char* GetRegSubKey() override { return REGISTRY_PLAYER_SUBKEY; }
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
    CAudioPlayer* m_pPlayer = nullptr;
    std::atomic<int> m_nEnded{0};
    CVisualThread* m_pEndedThread = nullptr;
};

// A setting under the player's key, where the visualization reads its own.
inline void StoreVisualSetting(const char* name, const TypedValue& value)
{
    ASSERT_TRUE(CTypedSettings().SetValue(QString::fromLatin1(REGISTRY_PLAYER_SUBKEY), QLatin1String(name), value));
}

// Private user folders and a visualization thread on a fake feed, asked to quit after each test.
class VisualThreadFixture : public ::testing::Test
{
protected:
    void TearDown() override
    {
        if (thread)
            thread->RequestQuit();
        EXPECT_TRUE(QTest::qWaitFor([&] { return thread.isNull(); }, 3000));
    }

    template <typename T = CVisualThread>
    void Start()
    {
        thread = new T();
        thread->SetPlayerCtrl(&feed);
        thread->start();
    }

    void StartShown()
    {
        Start();
        ASSERT_TRUE(QTest::qWaitFor([&] { return thread->GetMainWnd() && thread->GetMainWnd()->isVisible(); }, 5000));
        // Let the shown size settle into the scene.
        ASSERT_TRUE(QTest::qWaitFor([&] { return thread->SceneState().clientSize == thread->GetMainWnd()->SurfacePixelSize(); }, 3000));
    }

    bool WaitState(const std::function<bool(const VisualSceneState&)>& predicate, int timeoutMs = 3000)
    {
        return QTest::qWaitFor([&] { return predicate(thread->SceneState()); }, timeoutMs);
    }

    tunivox::test::ScopedUserFolders folders;
    FakeFeed feed;
    QPointer<CVisualThread> thread;
};
