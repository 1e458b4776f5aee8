// The plug-in host inside the running visualization: start at creation, failures, the frame period,
// the per-frame fields from a playing engine, input, unloading, and the chooser command.
#include <QApplication>
#include <QFileInfo>
#include <QPushButton>
#include <QListWidget>
#include <QTimer>
#include <future>

#include "PluginTestSupport.h"
#include "audio/CAudioPlayer.h"
#include "audio/WaveOut.h"
#include "visual/CChoosePlugin.h"
#include "visual/CVisualPluginHost.h"
#include "visual/CVisualSurface.h"
#include "visual/CVisualToolbar.h"
#include "visual/VisualTestSupport.h"

using namespace tunivox::test;

namespace {

class PluginHostTest : public VisualThreadFixture
{
protected:
    void Store(const QString& plugin, DWORD module)
    {
        StoreVisualSetting("Flags", TypedValue::FromDWORD(VISUAL_FLAG_PLUGIN));
        StoreVisualSetting("Plugin", TypedValue::FromString(plugin));
        StoreVisualSetting("Plugin_mod", TypedValue::FromDWORD(module));
    }

    // Runs `body` on the render thread and waits for it.
    template <typename R>
    R OnRenderThread(std::function<R(CVisualScene&)> body)
    {
        auto promise = std::make_shared<std::promise<R>>();
        auto future = promise->get_future();
        thread->PostCommand([promise, body](CVisualScene& scene) { promise->set_value(body(scene)); });
        EXPECT_TRUE(QTest::qWaitFor([&] { return future.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }, 3000));
        return future.get();
    }

    bool WaitEvents(const std::function<bool(const std::vector<PluginEvent>&)>& predicate, int timeoutMs = 4000)
    {
        return QTest::qWaitFor([&] { return predicate(PluginEvents()); }, timeoutMs);
    }

    bool WaitCount(const std::string& event, int count, int timeoutMs = 4000)
    {
        return QTest::qWaitFor([&] { return CountPluginEvents(event) >= count; }, timeoutMs);
    }

    ScopedPluginFolder plugins{{"tp_recorder.so", "tp_plain.so", "tp_noentry.so", "tp_nullheader.so"}};
};

} // namespace

TEST_F(PluginHostTest, StartsTheStoredModuleAtCreationOnTheRenderThread)
{
    Store(QStringLiteral("tp_recorder.so"), 0);
    StartShown();
    ASSERT_TRUE(WaitCount("Render", 5));
    const auto events = PluginEvents();
    EXPECT_EQ(events.front().strEvent, "Init");
    const PluginEvent& init = events.front();
    EXPECT_EQ(init.module.hwndParent, static_cast<QWidget*>(thread->GetMainWnd()));
    EXPECT_TRUE(init.bGlResolves) << "the device's lookup finds OpenGL entry points";
    EXPECT_EQ(init.device.cbSize, sizeof(tMP3VisHostDevice));
    const QSize size = thread->SceneState().clientSize;
    const PluginEvent& render = events.back();
    EXPECT_EQ(render.device.nWidth, size.width());
    EXPECT_EQ(render.device.nHeight, size.height());
    for (const PluginEvent& e : events) {
        EXPECT_EQ(e.thread, events.front().thread) << e.strEvent;
        EXPECT_NE(e.thread, QThread::currentThreadId()) << e.strEvent << " must not run on the GUI thread";
    }
    EXPECT_TRUE(IsLibraryLoaded(plugins.FilePath("tp_recorder.so")));
}

TEST_F(PluginHostTest, PeriodZeroIsDrivenEveryThirtyMilliseconds)
{
    Store(QStringLiteral("tp_recorder.so"), 0);
    StartShown();
    ASSERT_TRUE(WaitCount("Render", 2));
    ClearPluginEvents();
    QTest::qWait(1000);
    const auto events = PluginEvents();
    std::vector<double> gaps;
    for (size_t i = 1; i < events.size(); ++i)
        if (events[i].strEvent == "Render" && events[i - 1].strEvent == "Render")
            gaps.push_back(std::chrono::duration<double>(events[i].time - events[i - 1].time).count());
    ASSERT_GT(gaps.size(), 10u);
    std::sort(gaps.begin(), gaps.end());
    // The host's own pace would be 90 per second; a busy machine can only make frames later.
    EXPECT_LE(events.size(), 36u);
    EXPECT_GE(gaps[gaps.size() / 2], 0.027) << "median interval";
}

TEST_F(PluginHostTest, FailuresLeaveNothingLoaded)
{
    Store(QStringLiteral("tp_recorder.so"), 5);
    StartShown();
    QTest::qWait(300);
    EXPECT_EQ(CountPluginEvents("Init"), 0) << "module index beyond the modules";
    EXPECT_FALSE(IsLibraryLoaded(plugins.FilePath("tp_recorder.so")));

    struct Case { const char* file; int module; std::vector<std::string> calls; };
    const Case cases[] = {
        {"tp_recorder.so", 1, {"Init", "Quit"}}, // Init fails
        {"tp_nullheader.so", 0, {}},
        {"tp_noentry.so", 0, {}},
        {"missing.so", 0, {}},
        {"../plugins/tp_recorder.so", 0, {}},
    };
    CVisualPluginHost* host = thread->PluginHost();
    const QString folder = plugins.Path();
    for (const Case& c : cases) {
        ClearPluginEvents();
        const QString file = QString::fromLatin1(c.file);
        const int module = c.module;
        const BOOL loaded = OnRenderThread<BOOL>([host, folder, file, module](CVisualScene&) {
            return host->LoadPlugin(folder, file, module, nullptr, nullptr);
        });
        EXPECT_EQ(loaded, FALSE) << c.file;
        EXPECT_EQ(PluginEventNames(), c.calls) << c.file;
        EXPECT_FALSE(OnRenderThread<bool>([host](CVisualScene&) { return host->IsLoaded(); })) << c.file;
        EXPECT_FALSE(IsLibraryLoaded(plugins.FilePath(QFileInfo(file).fileName()))) << c.file;
    }
    EXPECT_GT(thread->SceneState().nFrames, 0) << "the scene goes on by itself";
}

TEST_F(PluginHostTest, UnloadingReleasesBeforeQuitAndInputReachesTheModule)
{
    Store(QStringLiteral("tp_recorder.so"), 0);
    StartShown();
    ASSERT_TRUE(WaitCount("Render", 2));
    CVisualWnd* wnd = thread->GetMainWnd();

    QTest::keyClick(wnd->Surface(), Qt::Key_Plus);
    ASSERT_TRUE(WaitCount("OnMessage", 1));
    const auto key = PluginEvents();
    const auto it = std::find_if(key.begin(), key.end(), [](const PluginEvent& e) { return e.strEvent == "OnMessage"; });
    EXPECT_EQ(it->device.nMessage, TMP3_VIS_MSG_KEYDOWN);
    EXPECT_EQ(it->device.nKey, Qt::Key_Plus);
    wnd->OnCommand(ID_VISUAL_SWITCH_MODE);
    EXPECT_TRUE(WaitCount("Notify", 1));

    ClearPluginEvents();
    wnd->Toolbar()->Button(ID_VISUAL_PLUGIN)->setChecked(false);
    wnd->OnCommand(ID_VISUAL_PLUGIN);
    ASSERT_TRUE(WaitCount("Quit", 1));
    auto names = PluginEventNames();
    names.erase(std::remove(names.begin(), names.end(), "Render"), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"Release", "Quit"}));
    EXPECT_FALSE(IsLibraryLoaded(plugins.FilePath("tp_recorder.so")));
    EXPECT_EQ(wnd->Flags() & VISUAL_FLAG_PLUGIN, 0u);

    // On again: the chosen module starts once more.
    wnd->Toolbar()->Button(ID_VISUAL_PLUGIN)->setChecked(true);
    wnd->OnCommand(ID_VISUAL_PLUGIN);
    EXPECT_TRUE(WaitCount("Render", 1));
}

TEST_F(PluginHostTest, PerFrameFieldsFollowThePlayingEngine)
{
    const WaveMapperOptions previous = GetWaveMapper();
    WaveMapperOptions options;
    options.eBackend = WaveBackend::Null;
    options.null.dSpeed = 1.0;
    SetWaveMapper(options);
    CAudioPlayer player;
    ASSERT_GE(player.Init(), 0);
    ASSERT_GE(player.Open(FixturePath(QStringLiteral("long-44k-stereo.mp3")).toUtf8().constData()), 0)
        << player.m_szError;
    feed.m_pPlayer = &player;
    Store(QStringLiteral("tp_recorder.so"), 0);
    StartShown();
    ASSERT_TRUE(WaitCount("Render", 2));
    const PluginEvent idle = PluginEvents().back();
    EXPECT_EQ(idle.module.bPlaying, 0);

    ASSERT_GE(player.Play(0), 0);
    auto last = [] { return PluginEvents().back().module; };
    ASSERT_TRUE(WaitEvents([](const auto& e) { return e.back().module.bPlaying == 1 && e.back().module.fFPS > 0; }));
    tMP3VisModule playing = last();
    EXPECT_EQ(playing.bPaused, 0);
    EXPECT_EQ(playing.pSamples, reinterpret_cast<const int16_t*>(player.m_pSamples.get()));
    EXPECT_GT(playing.fFrameSeconds, 0.0f);
    EXPECT_LT(playing.fFrameSeconds, 0.5f);
    EXPECT_GT(playing.fFPS, 5.0f);
    QTest::qWait(200);
    EXPECT_GT(last().fTotalSeconds, playing.fTotalSeconds) << "running time grows";

    ASSERT_GE(player.Pause(), 0);
    EXPECT_TRUE(WaitEvents([](const auto& e) { return e.back().module.bPaused == 1 && e.back().module.bPlaying == 1; }));
    ASSERT_GE(player.Resume(), 0);
    EXPECT_TRUE(WaitEvents([](const auto& e) { return e.back().module.bPaused == 0; }));
    ASSERT_GE(player.Stop(), 0);
    EXPECT_TRUE(WaitEvents([](const auto& e) { return e.back().module.bPlaying == 0 && e.back().module.bPaused == 0; }));

    thread->RequestQuit();
    feed.m_pPlayer = nullptr;
    player.Close();
    player.Release();
    SetWaveMapper(previous);
}

TEST_F(PluginHostTest, ChooserOkRestartsTheModuleAndCancelKeepsTheChoice)
{
    Store(QStringLiteral("tp_plain.so"), 0);
    StartShown();
    ASSERT_TRUE(WaitCount("Render", 1));
    CVisualWnd* wnd = thread->GetMainWnd();

    // Answers the chooser once it is open: the recorder (second in the list), then OK or Cancel.
    const auto choose = [](bool ok) {
        QTimer::singleShot(300, [ok] {
            if (auto* dialog = qobject_cast<CChoosePlugin*>(QApplication::activeModalWidget())) {
                dialog->m_lbPlugins->setCurrentRow(1);
                ok ? QTest::mouseClick(dialog->OkButton(), Qt::LeftButton) : dialog->reject();
            }
        });
    };
    const auto started = [this](const std::string& module) {
        return WaitEvents([&](const auto& events) {
            return std::any_of(events.begin(), events.end(),
                               [&](const PluginEvent& e) { return e.strEvent == "Init" && e.strModule == module; });
        });
    };

    // Cancel: the choice stays, the running module is started again.
    ClearPluginEvents();
    choose(false);
    wnd->OnCommand(ID_VISUAL_CHOOSE_PLUGIN);
    EXPECT_EQ(wnd->PluginName(), QStringLiteral("tp_plain.so"));
    EXPECT_TRUE(started("Plain module"));

    // OK on the recorder: its first module is stored and started.
    ClearPluginEvents();
    choose(true);
    wnd->OnCommand(ID_VISUAL_CHOOSE_PLUGIN);
    EXPECT_EQ(wnd->PluginName(), QStringLiteral("tp_recorder.so"));
    EXPECT_EQ(wnd->PluginModule(), 0);
    EXPECT_TRUE(started("Recording module"));
    // The plain module kept drawing while the dialog was open; then it stopped and the new one began.
    std::vector<std::pair<std::string, std::string>> calls;
    for (const PluginEvent& e : PluginEvents())
        if (e.strEvent != "Render")
            calls.emplace_back(e.strEvent, e.strModule);
    ASSERT_GE(calls.size(), 2u);
    EXPECT_EQ(calls[0], std::make_pair(std::string("Quit"), std::string("Plain module")));
    EXPECT_EQ(calls[1], std::make_pair(std::string("Init"), std::string("Recording module")));
}
