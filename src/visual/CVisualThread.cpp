#include "visual/CVisualThread.h"

#include <QCoreApplication>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QOpenGLFunctions>
#include <chrono>
#include <condition_variable>
#include <future>

#include "platform/StringConv.h"
#include "visual/CVisualPluginHost.h"
#include "visual/CVisualSurface.h"
#include "visual/CVisualWnd.h"
#include "visual/IVisualFeedSource.h"

namespace {

using Clock = std::chrono::steady_clock;

double NowSeconds()
{
    return std::chrono::duration<double>(Clock::now().time_since_epoch()).count();
}

QStringList ToList(const CStringArray* arr)
{
    return arr ? QStringList(arr->Items()) : QStringList();
}

struct WindowRequest
{
    std::mutex lock;
    std::condition_variable done;
    bool bDone = false;
    bool bAbandoned = false;
    CVisualWnd* pWnd = nullptr;
    VisualSettings settings;
    DWORD dwFlags = 0;
    bool bSlideShow = false;
    QSize clientSize;
};

constexpr auto kWindowCreationLimit = std::chrono::seconds(10);
constexpr float kWakeMarginMs = 0.25f;

} // namespace

CVisualThread::CVisualThread(QObject* parent)
    : QThread(parent), m_pPluginHost(std::make_unique<CVisualPluginHost>([this](int ms) { SetFramePeriod(ms); }))
{
    connect(this, &QThread::finished, this, &CVisualThread::OnFinished, Qt::QueuedConnection);
}

CVisualThread::~CVisualThread() = default;

void CVisualThread::SetPlayerCtrl(IVisualFeedSource* pPlayerCtrl)
{
    std::lock_guard lock(m_feedLock);
    m_pPlayerCtrl = pPlayerCtrl;
}

void CVisualThread::SetFrameRate(int nFPS)
{
    nFPS = std::clamp(nFPS, 15, 1000);
    m_nFPS = nFPS;
    m_fFrameTime = 1.0f / static_cast<float>(nFPS);
}

void CVisualThread::SetFramePeriod(int nMilliseconds)
{
    m_fFrameTime = nMilliseconds > 0 ? static_cast<float>(nMilliseconds) / 1000.0f : 1.0f / static_cast<float>(m_nFPS.load());
}

void CVisualThread::PostCommand(std::function<void(CVisualScene&)> command)
{
    std::lock_guard lock(m_commandLock);
    m_commands.push_back(std::move(command));
}

VisualSceneState CVisualThread::SceneState() const
{
    std::lock_guard lock(m_stateLock);
    return m_publishedState;
}

bool CVisualThread::RequestQuit()
{
    m_bQuit = true;
    const bool bEnded = !isRunning() || wait(QDeadlineTimer(1000));
    ReportEnded();
    return bEnded;
}

void CVisualThread::ReportEnded()
{
    IVisualFeedSource* pSource;
    {
        std::lock_guard lock(m_feedLock);
        pSource = m_pPlayerCtrl;
        m_pPlayerCtrl = nullptr;
    }
    if (m_bEndReported)
        return;
    m_bEndReported = true;
    if (pSource)
        pSource->VisualThreadEnded(this);
}

void CVisualThread::OnFinished()
{
    ReportEnded();
    wait(QDeadlineTimer(1000));
    deleteLater();
}

void CVisualThread::RefreshVisual()
{
    // m_pPlayerCtrl is only written on this (the GUI) thread, so reading it needs no lock; taking the
    // feed lock here could wait on a render thread that waits for the mutex our caller holds.
    IVisualFeedSource* pSource = m_pPlayerCtrl;
    if (!pSource)
        return;
    const QString lyrics = FromNarrow(pSource->GetLyrics());
    const CSyncedLyrics synced = pSource->GetSyncedLyrics();
    const QStringList arts = ToList(pSource->GetArts());
    PostCommand([lyrics, synced, arts](CVisualScene& scene) {
        scene.SetLyrics(lyrics, synced);
        scene.SetArts(QStringList());
        scene.SetArts(arts);
    });
    pSource->SetChange(VISUAL_CHANGE_TITLE | VISUAL_CHANGE_LYRICS | VISUAL_CHANGE_ARTS);
    pSource->GetChangeMutex().unlock();
}

CVisualWnd* CVisualThread::CreateVisualWindow(const QString& strRegSubKey)
{
    auto* pWnd = new CVisualWnd();
    if (!pWnd->Create(this, strRegSubKey)) {
        delete pWnd;
        return nullptr;
    }
    return pWnd;
}

void CVisualThread::run()
{
    if (InitInstance())
        Run();
    else
        ExitInstance();
}

BOOL CVisualThread::InitInstance()
{
    m_nFPS = 90;
    m_fFrameTime = 1.0f / 90.0f;

    QString key;
    {
        std::lock_guard lock(m_feedLock);
        if (m_pPlayerCtrl)
            key = FromNarrow(m_pPlayerCtrl->GetRegSubKey());
    }
    if (key.isEmpty())
        key = QString::fromLatin1(REGISTRY_PLAYER_SUBKEY);

    // Widgets belong to the GUI thread: ask it for the window and wait, bounded, for the answer.
    auto request = std::make_shared<WindowRequest>();
    QCoreApplication* app = QCoreApplication::instance();
    if (!app)
        return FALSE;
    QMetaObject::invokeMethod(
        app,
        [this, request, key] {
            std::lock_guard lock(request->lock);
            if (request->bAbandoned)
                return;
            request->pWnd = CreateVisualWindow(key);
            if (request->pWnd) {
                request->settings = request->pWnd->Settings();
                request->dwFlags = request->pWnd->Flags();
                request->bSlideShow = request->pWnd->IsSlideShowChecked();
                request->clientSize = request->pWnd->SurfacePixelSize();
            }
            request->bDone = true;
            request->done.notify_all();
        },
        Qt::QueuedConnection);
    {
        std::unique_lock lock(request->lock);
        const auto deadline = Clock::now() + kWindowCreationLimit;
        while (!request->bDone) {
            request->done.wait_for(lock, std::chrono::milliseconds(20));
            if (!request->bDone && (m_bQuit || Clock::now() > deadline)) {
                request->bAbandoned = true;
                return FALSE;
            }
        }
    }
    CVisualWnd* pWnd = request->pWnd;
    if (!pWnd)
        return FALSE;
    m_pVisualWnd = pWnd;
    m_pContext = pWnd->Context();
    m_pSurface = pWnd->Surface();
    if (!m_pContext || !m_pContext->makeCurrent(m_pSurface)) {
        qWarning("visualization: cannot make the OpenGL context current");
        return FALSE;
    }
    m_pScene = std::make_unique<CVisualScene>(request->settings, request->dwFlags, request->bSlideShow,
                                              request->clientSize);
    m_pScene->SetTitleSink([pWnd](const QString& title) {
        QMetaObject::invokeMethod(pWnd, [pWnd, title] { pWnd->SetTitleText(title); }, Qt::QueuedConnection);
    });
    m_pScene->SetPluginRunner(m_pPluginHost.get());
    if (!m_pScene->CreateDeviceResources())
        return FALSE;

    HandOverFeed(true);
    PublishState();
    QMetaObject::invokeMethod(pWnd, [pWnd] { pWnd->ShowWindow(); }, Qt::QueuedConnection);
    return TRUE;
}

void CVisualThread::HandOverFeed(bool bAll)
{
    std::lock_guard feedLock(m_feedLock);
    IVisualFeedSource* pSource = m_pPlayerCtrl;
    if (!pSource || !m_pScene || (!bAll && pSource->GetChange() == 0))
        return;
    std::timed_mutex& mutex = pSource->GetChangeMutex();
    if (!mutex.try_lock_for(std::chrono::milliseconds(100)))
        return; // busy: a later pass takes it
    std::unique_lock changeLock(mutex, std::adopt_lock);
    const auto title = [&] { m_pScene->SetTitle(FromNarrow(pSource->GetMP3VisualTitle())); };
    const auto lyrics = [&] { m_pScene->SetLyrics(FromNarrow(pSource->GetLyrics()), pSource->GetSyncedLyrics()); };
    const auto arts = [&] { m_pScene->SetArts(ToList(pSource->GetArts())); };
    const auto backgrounds = [&] { m_pScene->SetBackgrounds(ToList(pSource->GetBackgrounds())); };
    if (bAll) {
        title();
        lyrics();
        arts();
        backgrounds();
    } else {
        // One code at a time; a word with several bits (3 after title and lyrics, 7 from a refresh)
        // matches none and only the title below is taken.
        switch (pSource->GetChange()) {
        case VISUAL_CHANGE_TITLE: title(); break;
        case VISUAL_CHANGE_LYRICS: lyrics(); title(); break;
        case VISUAL_CHANGE_ARTS: arts(); break;
        case VISUAL_CHANGE_BACKGROUNDS: backgrounds(); break;
        default: break;
        }
        const char* pszTitle = pSource->GetMP3VisualTitle();
        if (pszTitle && *pszTitle)
            title();
    }
    pSource->SetChange(0);
}

BOOL CVisualThread::PumpMessage()
{
    if (m_bQuitPosted)
        return FALSE;
    std::vector<std::function<void(CVisualScene&)>> commands;
    {
        std::lock_guard lock(m_commandLock);
        commands.swap(m_commands);
    }
    for (auto& command : commands)
        command(*m_pScene);
    QCoreApplication::processEvents(QEventLoop::AllEvents);
    return TRUE;
}

void CVisualThread::RenderOneFrame(float fSeconds)
{
    {
        std::lock_guard lock(m_feedLock);
        m_pScene->SetAudioPlayer(m_pPlayerCtrl ? m_pPlayerCtrl->GetAudioPlayer() : nullptr);
    }
    m_pContext->functions()->glBindFramebuffer(GL_FRAMEBUFFER, m_pContext->defaultFramebufferObject());
    m_pScene->RenderFrame(fSeconds, m_frameTimer.MeasuredFPS());
    // Without this the context would present into a window that is not on screen (yet or any more).
    if (static_cast<CVisualSurface*>(m_pSurface)->IsExposedNow())
        m_pContext->swapBuffers(m_pSurface);
}

int CVisualThread::Run()
{
    CFrameTimer loopTimer;
    loopTimer.Start(NowSeconds());
    m_frameTimer.Start(NowSeconds());
    float fAccumulated = 0.0f;
    while (PumpMessage()) {
        if (m_bQuit) {
            m_bQuitPosted = true;
            continue;
        }
        HandOverFeed(false);
        const float fSeconds = loopTimer.Tick(NowSeconds());
        m_pScene->AdvanceSlideShow(fSeconds);
        fAccumulated += fSeconds;
        const float fFrameTime = m_fFrameTime;
        if (fAccumulated > fFrameTime) {
            // Keep the overshoot (at most one frame) so the average interval is the frame time.
            fAccumulated = std::min(fAccumulated - fFrameTime, fFrameTime);
            const float fFrameSeconds = m_frameTimer.Tick(NowSeconds());
            if (std::abs(fFrameSeconds - fFrameTime) > 0.002f)
                m_pScene->CountOffPace();
            RenderOneFrame(fFrameSeconds);
            PublishState();
        } else {
            // swapBuffers does not wait for the display here, so the loop paces itself: sleep until a
            // quarter of a millisecond before the frame is due (at most 10 ms), then yield. Sleeps
            // overshoot by well under that margin; every yielding pass costs a full pass of the loop,
            // and yielding alone, as short frame times would suggest, spins a whole core on Linux.
            const float fLeftMs = (fFrameTime - fAccumulated) * 1000.0f;
            if (fLeftMs > kWakeMarginMs)
                QThread::usleep(static_cast<unsigned long>(std::min(fLeftMs - kWakeMarginMs, 10.0f) * 1000.0f));
            else
                QThread::yieldCurrentThread();
        }
    }
    return ExitInstance();
}

void CVisualThread::PublishState()
{
    if (!m_pScene)
        return;
    std::lock_guard lock(m_stateLock);
    m_publishedState = m_pScene->State();
}

int CVisualThread::ExitInstance()
{
    if (m_pContext && m_pContext->makeCurrent(m_pSurface)) {
        // The module's Release and Quit still see the context.
        m_pPluginHost->UnloadPlugin();
        if (m_pScene)
            m_pScene->ReleaseDeviceResources();
    }
    m_pScene.reset();
    if (m_pContext) {
        m_pContext->doneCurrent();
        delete m_pContext;
        m_pContext = nullptr;
    }
    m_pSurface = nullptr;
    {
        std::lock_guard lock(m_commandLock);
        m_commands.clear();
    }
    if (CVisualWnd* pWnd = m_pVisualWnd.exchange(nullptr))
        QMetaObject::invokeMethod(pWnd, [pWnd] { pWnd->DestroyWindow(); }, Qt::QueuedConnection);
    return 0;
}

QImage CVisualThread::GrabFrame(int nTimeoutMs)
{
    auto promise = std::make_shared<std::promise<QImage>>();
    std::future<QImage> future = promise->get_future();
    PostCommand([this, promise](CVisualScene& scene) {
        QOpenGLFramebufferObject fbo(scene.State().clientSize);
        fbo.bind();
        scene.RenderFrame(0.0f, m_frameTimer.MeasuredFPS());
        promise->set_value(fbo.toImage());
        fbo.release();
    });
    if (future.wait_for(std::chrono::milliseconds(nTimeoutMs)) != std::future_status::ready)
        return QImage();
    try {
        return future.get();
    } catch (const std::future_error&) {
        return QImage();
    }
}
