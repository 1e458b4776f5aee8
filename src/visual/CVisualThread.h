#pragma once
// The visualization's render thread: it owns the render loop and its frame pacing, the hand-over of
// the control's feed, the OpenGL context and the scene. Its window, CVisualWnd, lives on the GUI
// thread; input, resizes and commands arrive here as queued commands run between frames.
//
// Threading:
// - The control (GUI thread) creates the thread, calls SetPlayerCtrl, then start(); later
//   RequestQuit or RefreshVisual. The object itself belongs to the GUI thread and deletes itself
//   (deleteLater) once the thread has finished; the control never deletes it.
// - InitInstance, Run, PumpMessage and ExitInstance run on the render thread.
// - m_feedLock guards m_pPlayerCtrl; the render thread holds it while it reads the feed, taking the
//   control's change mutex (100 ms limit) inside it. RequestQuit clears the pointer under the lock,
//   so once it has returned the thread never touches the control again.
// - PostCommand may be called from any thread; commands run on the render thread in order.

#include <QImage>
#include <QThread>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "visual/CRegistry.h"
#include "visual/CVisualScene.h"
#include "tunivox_export.h"

class CVisualPluginHost;
class CVisualWnd;
class IVisualFeedSource;
class QOpenGLContext;
class QWindow;

class TUNIVOX_EXPORT CVisualThread : public QThread
{
    Q_OBJECT
public:
    explicit CVisualThread(QObject* parent = nullptr);
    ~CVisualThread() override;

    // Control side (GUI thread).
    void SetPlayerCtrl(IVisualFeedSource* pPlayerCtrl);
    // Asks the loop to end and waits for it at most 1000 ms; true when the thread has ended.
    bool RequestQuit();
    // The caller holds the control's change mutex; this releases it.
    virtual void RefreshVisual();

    // The window's playback state word, saved by the control when it pauses and handed back when it
    // resumes (0 while paused); any thread.
    void SetVisualState(int nState) { m_nVisualState = nState; }
    int GetVisualState() const { return m_nVisualState.load(); }

    // Frames per second, clamped to 15...1000; any thread.
    void SetFrameRate(int nFPS);
    int GetFrameRate() const { return m_nFPS.load(); }
    // The plug-in host's frame period in milliseconds (0 restores the frame rate's period).
    void SetFramePeriod(int nMilliseconds);

    // Whether OK in "Visualization options" also saves the settings for the next session (false, the
    // classic dialog's way, by default: they apply to this window only); any thread.
    void SetSavesOptions(bool bSaves) { m_bSavesOptions = bSaves; }
    bool SavesOptions() const { return m_bSavesOptions.load(); }

    // Asks the loop to end without waiting (the window's close button); any thread.
    void EndSoon() { m_bQuit = true; }
    CVisualWnd* GetMainWnd() const { return m_pVisualWnd.load(); }
    // The plug-in host; only queued commands (render thread) may call it.
    CVisualPluginHost* PluginHost() const { return m_pPluginHost.get(); }
    void PostCommand(std::function<void(CVisualScene&)> command);

    // A copy of what the scene shows, updated after every loop pass; any thread.
    VisualSceneState SceneState() const;
    // Renders one frame into an offscreen buffer and returns it (waits at most `nTimeoutMs`).
    QImage GrabFrame(int nTimeoutMs = 3000);

protected:
    void run() override;
    virtual BOOL InitInstance();
    virtual int Run();
    virtual BOOL PumpMessage();
    virtual int ExitInstance();
    // Makes the window on the GUI thread; null when it cannot be made (the thread then ends).
    virtual CVisualWnd* CreateVisualWindow(const QString& strRegSubKey);

private:
    void HandOverFeed(bool bAll);
    void OnFinished();
    void ReportEnded();
    void PublishState();
    void RenderOneFrame(float fSeconds);

    std::atomic<CVisualWnd*> m_pVisualWnd{nullptr};
    std::atomic<int> m_nFPS{90};
    std::atomic<float> m_fFrameTime{1.0f / 90.0f};
    std::atomic<bool> m_bQuit{false};
    std::atomic<bool> m_bSavesOptions{false};
    std::atomic<int> m_nVisualState{1};

    std::mutex m_feedLock;
    IVisualFeedSource* m_pPlayerCtrl = nullptr;
    bool m_bEndReported = false; // GUI thread only

    std::mutex m_commandLock;
    std::vector<std::function<void(CVisualScene&)>> m_commands;

    mutable std::mutex m_stateLock;
    VisualSceneState m_publishedState;

    // Render thread only.
    QOpenGLContext* m_pContext = nullptr;
    QWindow* m_pSurface = nullptr;
    std::unique_ptr<CVisualScene> m_pScene;
    std::unique_ptr<CVisualPluginHost> m_pPluginHost;
    bool m_bQuitPosted = false;
    CFrameTimer m_frameTimer;
};
