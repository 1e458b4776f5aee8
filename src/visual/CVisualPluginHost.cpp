#include "visual/CVisualPluginHost.h"

#include <QOpenGLContext>
#include <QOpenGLFunctions>

#include "audio/CAudioPlayer.h"

namespace {

QFunctionPointer CurrentGLProc(const char* pszName)
{
    QOpenGLContext* context = QOpenGLContext::currentContext();
    return context && pszName ? context->getProcAddress(pszName) : nullptr;
}

} // namespace

CVisualPluginHost::CVisualPluginHost(std::function<void(int)> setFramePeriod)
    : m_setFramePeriod(std::move(setFramePeriod))
{
    m_device.cbSize = sizeof(m_device);
    m_device.GetProcAddress = &CurrentGLProc;
}

CVisualPluginHost::~CVisualPluginHost()
{
    // Without a context the module's Release and Quit could not touch its objects safely; the
    // render thread unloads before it drops the context, so this only closes a leftover library.
    if (QOpenGLContext::currentContext())
        UnloadPlugin();
    m_pModule = nullptr;
}

void CVisualPluginHost::UpdateDevice()
{
    QOpenGLContext* context = QOpenGLContext::currentContext();
    if (!context)
        return;
    QOpenGLFunctions* gl = context->functions();
    GLint viewport[4] = {};
    GLint framebuffer = 0;
    gl->glGetIntegerv(GL_VIEWPORT, viewport);
    gl->glGetIntegerv(GL_FRAMEBUFFER_BINDING, &framebuffer);
    const QSurfaceFormat format = context->format();
    m_device.nGLVersion = static_cast<uint32_t>(format.majorVersion() * 100 + format.minorVersion());
    m_device.nWidth = viewport[2];
    m_device.nHeight = viewport[3];
    m_device.nFramebuffer = static_cast<uint32_t>(framebuffer);
}

BOOL CVisualPluginHost::LoadPlugin(const QString& folder, const QString& strFile, int nModule, void* hwndParent,
                                   const std::function<void()>& rebuildDeviceResources)
{
    UnloadPlugin();
    if (!m_library.Load(folder, strFile))
        return FALSE;
    tMP3VisHeader* pHeader = m_library.Header();
    tMP3VisModule* pModule = pHeader && pHeader->getModule && nModule >= 0 ? pHeader->getModule(nModule) : nullptr;
    if (pModule && pModule->Init) {
        pModule->hwndParent = hwndParent;
        pModule->pDevice = &m_device;
        UpdateDevice();
        if (pModule->Init(pModule) == 0) {
            m_setFramePeriod(pModule->nPeriodMs ? static_cast<int>(pModule->nPeriodMs) : TMP3_VIS_DEFAULT_PERIOD_MS);
            // The module is not running yet, so dropping the drawing's resources does not call its
            // Release. The option word has no counterpart in this renderer.
            if (rebuildDeviceResources)
                rebuildDeviceResources();
            m_pModule = pModule;
            return TRUE;
        }
        if (pModule->Quit)
            pModule->Quit(pModule);
    }
    m_library.Unload();
    return FALSE;
}

void CVisualPluginHost::UnloadPlugin()
{
    if (!m_library.IsLoaded())
        return;
    if (tMP3VisModule* pModule = m_pModule) {
        UpdateDevice();
        if (pModule->Release)
            pModule->Release(pModule);
        if (pModule->Quit)
            pModule->Quit(pModule);
    }
    m_pModule = nullptr;
    m_library.Unload();
    m_setFramePeriod(0);
}

void CVisualPluginHost::Render(const VisualFrameInfo& info)
{
    if (!HasRender())
        return;
    tMP3VisModule* pModule = m_pModule;
    const CAudioPlayer* pPlayer = info.pAudioPlayer;
    const bool bPlaying = pPlayer && pPlayer->m_bPlaying && pPlayer->m_hDecodeThread;
    pModule->bPlaying = bPlaying ? 1 : 0;
    pModule->bPaused = bPlaying && pPlayer->m_bPaused ? 1 : 0;
    pModule->pSamples = pPlayer ? reinterpret_cast<const int16_t*>(pPlayer->m_pSamples.get()) : nullptr;
    pModule->fTotalSeconds = info.fTotalSeconds;
    pModule->fFrameSeconds = info.fFrameSeconds;
    pModule->fFPS = info.fShownFPS;
    UpdateDevice();
    pModule->Render(pModule);

    // Hand the scene back the state it relies on, whatever the module left bound.
    if (QOpenGLContext* context = QOpenGLContext::currentContext()) {
        QOpenGLFunctions* gl = context->functions();
        gl->glBindFramebuffer(GL_FRAMEBUFFER, m_device.nFramebuffer);
        gl->glViewport(0, 0, m_device.nWidth, m_device.nHeight);
        gl->glUseProgram(0);
        gl->glBindBuffer(GL_ARRAY_BUFFER, 0);
        gl->glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
        gl->glActiveTexture(GL_TEXTURE0);
        gl->glBindTexture(GL_TEXTURE_2D, 0);
        gl->glDisable(GL_SCISSOR_TEST);
        gl->glDisable(GL_DEPTH_TEST);
        gl->glDisable(GL_CULL_FACE);
    }
}

void CVisualPluginHost::ReleaseDeviceResources()
{
    if (m_pModule && m_pModule->Release) {
        UpdateDevice();
        m_pModule->Release(m_pModule);
    }
}

bool CVisualPluginHost::SwitchMode()
{
    if (!m_pModule || !m_pModule->Notify)
        return false;
    m_pModule->Notify(m_pModule);
    return true;
}

void CVisualPluginHost::OnKey(int nKey)
{
    if (!m_pModule || !m_pModule->OnMessage)
        return;
    m_device.nMessage = TMP3_VIS_MSG_KEYDOWN;
    m_device.nKey = nKey;
    m_pModule->OnMessage(m_pModule);
    m_device.nMessage = 0;
    m_device.nKey = 0;
}
