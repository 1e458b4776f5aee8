#include "visual/CVisualWnd.h"

#include <QCloseEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QOpenGLContext>
#include <QVBoxLayout>

#include "visual/CChoosePlugin.h"
#include "visual/COptionsDlg.h"
#include "visual/CVisualPluginHost.h"
#include "visual/CVisualSurface.h"
#include "visual/CVisualThread.h"
#include "visual/CVisualToolbar.h"
#include "visual/VisualImages.h"

namespace {
// A resize is applied once the size has settled, so a drag costs one rebuild, not one per step.
constexpr int kResizeSettleMs = 120;
}

CVisualWnd::CVisualWnd()
{
    setAttribute(Qt::WA_QuitOnClose, false);
    setWindowTitle(DefaultTitle());
    setMinimumSize(VISUAL_MIN_WINDOW_SIZE, VISUAL_MIN_WINDOW_SIZE);
    m_resizeSettle.setSingleShot(true);
    m_resizeSettle.setInterval(kResizeSettleMs);
    connect(&m_resizeSettle, &QTimer::timeout, this, [this] {
        const QSize size = m_pendingSize;
        Post([size](CVisualScene& scene) { scene.Resize(size); });
    });
}

CVisualWnd::~CVisualWnd() = default;

bool CVisualWnd::Create(CVisualThread* pThread, const QString& strRegSubKey)
{
    m_pThread = pThread;
    m_strRegSubKey = strRegSubKey;
    {
        const CTypedSettings store;
        if (!store.IsUsable())
            qWarning("visualization: %s; using the default settings", qPrintable(store.ErrorText()));
        LoadVisualSettings(store, strRegSubKey, m_settings);
        LoadVisualPlacement(store, strRegSubKey, m_placement);
    }
    m_dwFlags = m_placement.dwFlags;
    m_strPlugin = m_placement.strPlugin;
    m_nPluginModule = static_cast<int>(m_placement.dwPluginModule);

    m_pSurface = new CVisualSurface();
    m_pContainer = QWidget::createWindowContainer(m_pSurface, this);
    m_pContainer->setFocusPolicy(Qt::StrongFocus);
    m_pToolbar = new CVisualToolbar(this);
    m_pToolbar->Create(m_dwFlags, [this](int nCommand) { OnCommand(nCommand); });
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_pContainer, 1);
    layout->addWidget(m_pToolbar);

    m_pSurface->onResize = [this](QSize size) {
        m_pendingSize = size;
        m_resizeSettle.start();
    };
    m_pSurface->onMouseMove = [this](QMouseEvent* event) {
        const QPoint p = (event->position() * m_pSurface->devicePixelRatio()).toPoint();
        Post([p](CVisualScene& scene) { scene.MouseMove(p.x(), p.y()); });
    };
    m_pSurface->onLeave = [this] { Post([](CVisualScene& scene) { scene.MouseLeave(); }); };
    m_pSurface->onMousePress = [this](QMouseEvent* event) {
        if (event->button() == Qt::RightButton) {
            ShowContextMenu(event->globalPosition().toPoint());
            return;
        }
        if (event->button() != Qt::LeftButton)
            return;
        const QPoint p = (event->position() * m_pSurface->devicePixelRatio()).toPoint();
        Post([p](CVisualScene& scene) { scene.LButtonDown(p.x(), p.y()); });
    };
    m_pSurface->onKey = [this](QKeyEvent* event) {
        if (event->matches(QKeySequence::Open)) {
            OnCommand(ID_VISUAL_OPTIONS);
            return;
        }
        const int key = event->key();
        Post([key](CVisualScene& scene) { scene.KeyDown(key); });
    };

    move(m_placement.xPos, m_placement.yPos);
    resize(m_placement.xSize, m_placement.ySize);
    setWindowIcon(QIcon(QPixmap::fromImage(VisualDefaultArt())));
    if (m_dwFlags & VISUAL_FLAG_TOPMOST)
        setWindowFlag(Qt::WindowStaysOnTopHint, true);

    // The surface's native window must exist before the render thread can make the context current.
    layout->activate();
    m_pSurface->resize(m_pContainer->size());
    m_pSurface->create();
    m_pContext = new QOpenGLContext();
    m_pContext->setFormat(m_pSurface->requestedFormat());
    if (!m_pContext->create()) {
        qWarning("visualization: no OpenGL context");
        delete m_pContext;
        m_pContext = nullptr;
        return false;
    }
    m_pContext->moveToThread(pThread);
    if (m_dwFlags & VISUAL_FLAG_PLUGIN)
        LoadPlugin();
    return true;
}

void CVisualWnd::LoadPlugin()
{
    if (!m_pThread)
        return;
    CVisualPluginHost* host = m_pThread->PluginHost();
    const QString folder = VisualPluginFolder();
    const QString file = m_strPlugin;
    const int module = m_nPluginModule;
    void* parent = this;
    Post([host, folder, file, module, parent](CVisualScene& scene) {
        host->LoadPlugin(folder, file, module, parent, [&scene] {
            scene.ReleaseDeviceResources();
            scene.CreateDeviceResources();
        });
    });
}

void CVisualWnd::UnloadPlugin()
{
    if (!m_pThread)
        return;
    CVisualPluginHost* host = m_pThread->PluginHost();
    Post([host](CVisualScene&) { host->UnloadPlugin(); });
}

QSize CVisualWnd::SurfacePixelSize() const
{
    return m_pSurface ? m_pSurface->size() * m_pSurface->devicePixelRatio() : QSize();
}

bool CVisualWnd::IsSlideShowChecked() const
{
    return m_pToolbar && m_pToolbar->IsChecked(ID_VISUAL_SLIDESHOW);
}

void CVisualWnd::ShowWindow()
{
    show();
    if (m_dwFlags & VISUAL_FLAG_TOPMOST)
        ApplyTopmost(true);
}

void CVisualWnd::SetTitleText(const QString& title)
{
    m_strTitle = title;
    setWindowTitle(title.isEmpty() ? DefaultTitle() : title);
}

void CVisualWnd::SetFlag(DWORD dwFlag, bool bOn)
{
    m_dwFlags = bOn ? (m_dwFlags | dwFlag) : (m_dwFlags & ~dwFlag);
}

void CVisualWnd::SendFlagsToScene()
{
    const DWORD flags = m_dwFlags;
    Post([flags](CVisualScene& scene) { scene.SetFlags(flags); });
}

void CVisualWnd::ApplyTopmost(bool bOn)
{
    // Changing the widget's flags would re-create its native window under the render thread's
    // feet; the window handle takes the hint in place.
    if (QWindow* handle = windowHandle())
        handle->setFlag(Qt::WindowStaysOnTopHint, bOn);
}

void CVisualWnd::OnCommand(int nCommand)
{
    const bool checked = m_pToolbar->IsChecked(nCommand);
    switch (nCommand) {
    case ID_VISUAL_LYRICS:
        SetFlag(VISUAL_FLAG_LYRICS, checked);
        SendFlagsToScene();
        break;
    case ID_VISUAL_ART:
        SetFlag(VISUAL_FLAG_ART, checked);
        SendFlagsToScene();
        break;
    case ID_VISUAL_SLIDESHOW:
        // The slide-show flag itself is left as stored; the button's state is what counts.
        Post([checked](CVisualScene& scene) { scene.SetSlideShow(checked); });
        break;
    case ID_VISUAL_PLUGIN: {
        SetFlag(VISUAL_FLAG_PLUGIN, checked);
        UnloadPlugin();
        const DWORD flags = m_dwFlags;
        Post([flags, checked](CVisualScene& scene) {
            scene.SetFlags(flags);
            if (!checked)
                scene.ReloadArtAndBackgrounds();
        });
        if (checked)
            LoadPlugin();
        break;
    }
    case ID_VISUAL_CHOOSE_PLUGIN: {
        // Like the options dialog, the chooser runs on the GUI thread while frames go on.
        QString strPlugin = m_strPlugin;
        int nModule = m_nPluginModule;
        if (RunChoosePluginDialog(strPlugin, nModule)) {
            m_strPlugin = strPlugin;
            m_nPluginModule = nModule;
        }
        if (m_dwFlags & VISUAL_FLAG_PLUGIN)
            LoadPlugin();
        break;
    }
    case ID_VISUAL_SWITCH_MODE:
        Post([](CVisualScene& scene) { scene.SwitchMode(); });
        break;
    case ID_VISUAL_TOPMOST:
        SetFlag(VISUAL_FLAG_TOPMOST, checked);
        ApplyTopmost(checked);
        break;
    case ID_VISUAL_OPTIONS: {
        // The dialog runs on the GUI thread while the render thread keeps drawing, so no timer has
        // to draw frames while it is open.
        VisualSettings edited = m_settings;
        if (RunOptionsDialog(edited) && edited != m_settings) {
            m_settings = edited;
            // Kept for the next session, under the names and types they are read with, when the
            // host asks for it.
            CTypedSettings store;
            if (m_pThread && m_pThread->SavesOptions() && !SaveVisualSettings(store, m_strRegSubKey, m_settings))
                qWarning("visualization: the options could not be saved: %s", qPrintable(store.ErrorText()));
            Post([edited](CVisualScene& scene) { scene.ApplySettings(edited); });
            if (m_strTitle.isEmpty())
                setWindowTitle(DefaultTitle());
        }
        break;
    }
    default:
        break;
    }
}

void CVisualWnd::ShowContextMenu(const QPoint& globalPos)
{
    QMenu menu(this);
    menu.addAction(QStringLiteral("Visualization options..."), this, [this] { OnCommand(ID_VISUAL_OPTIONS); });
    menu.addAction(QStringLiteral("Choose Plug-in..."), this, [this] { OnCommand(ID_VISUAL_CHOOSE_PLUGIN); });
    menu.exec(globalPos);
}

bool CVisualWnd::RunOptionsDialog(VisualSettings& settings)
{
    COptionsDlg dialog(this);
    dialog.m_settings = settings;
    if (dialog.exec() != QDialog::Accepted)
        return false;
    settings = dialog.m_settings;
    return true;
}

bool CVisualWnd::RunChoosePluginDialog(QString& strPlugin, int& nModule)
{
    CChoosePlugin dialog(this);
    dialog.m_strPlugin = strPlugin;
    dialog.m_nModule = nModule;
    if (dialog.exec() != QDialog::Accepted)
        return false;
    strPlugin = dialog.m_strPlugin;
    nModule = dialog.m_nModule;
    return true;
}

void CVisualWnd::SavePlacement()
{
    if (m_bSaved)
        return;
    m_bSaved = true;
    VisualPlacement placement = m_placement;
    placement.xPos = pos().x();
    placement.yPos = pos().y();
    placement.xSize = width();
    placement.ySize = height();
    placement.dwFlags = m_dwFlags;
    CTypedSettings store;
    if (!SaveVisualPlacement(store, m_strRegSubKey, placement))
        qWarning("visualization: window placement not saved: %s", qPrintable(store.ErrorText()));
}

void CVisualWnd::closeEvent(QCloseEvent* event)
{
    SavePlacement();
    if (m_pThread)
        m_pThread->EndSoon();
    event->accept();
}

void CVisualWnd::Post(std::function<void(CVisualScene&)> command)
{
    if (m_pThread)
        m_pThread->PostCommand(std::move(command));
}

void CVisualWnd::DestroyWindow()
{
    m_pContext = nullptr; // the render thread has deleted it
    m_resizeSettle.stop();
    SavePlacement();
    m_pThread = nullptr;
    hide();
    deleteLater();
}
