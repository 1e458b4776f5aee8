#pragma once
// The plug-in host: loads the chosen module of a plug-in library, starts it, fills its per-frame
// fields from the audio engine and hands it each frame, and stops and unloads it.
//
// Threading: lives on the visualization's render thread and is only used there, with the thread's
// OpenGL context current (it is reached through CVisualThread's queued commands). The frame-period
// sink is called on that thread too.

#include <QString>
#include <functional>

#include "visual/CRegistry.h"
#include "visual/IVisualPluginRunner.h"
#include "visual/TunivoxVisPlugin.h"
#include "visual/VisualPluginLibrary.h"
#include "tunivox_export.h"


class TUNIVOX_EXPORT CVisualPluginHost : public IVisualPluginRunner
{
public:
    // `setFramePeriod` gets the module's period in milliseconds when it starts and 0 (the host's
    // own rate) when it stops.
    explicit CVisualPluginHost(std::function<void(int)> setFramePeriod);
    ~CVisualPluginHost();
    CVisualPluginHost(const CVisualPluginHost&) = delete;
    CVisualPluginHost& operator=(const CVisualPluginHost&) = delete;

    // Stops any running module, loads `folder` + `strFile` and starts module `nModule`. On success
    // `rebuildDeviceResources` runs (the drawing's own resources, rebuilt before the module runs)
    // and TRUE is returned; on any failure nothing stays loaded and the drawing goes on by itself.
    BOOL LoadPlugin(const QString& folder, const QString& strFile, int nModule, void* hwndParent,
                    const std::function<void()>& rebuildDeviceResources);
    // Release (if any), Quit, unload; the frame period goes back to the host's own.
    void UnloadPlugin();

    bool IsLoaded() const { return m_library.IsLoaded(); }
    const tMP3VisModule* Module() const { return m_pModule; }

    // IVisualPluginRunner
    bool IsRunning() const override { return m_pModule != nullptr; }
    bool HasRender() const override { return m_pModule && m_pModule->Render; }
    void Render(const VisualFrameInfo& info) override;
    void ReleaseDeviceResources() override;
    bool SwitchMode() override;
    void OnKey(int nKey) override;

private:
    void UpdateDevice();

    std::function<void(int)> m_setFramePeriod;
    CVisualPluginLibrary m_library;
    tMP3VisModule* m_pModule = nullptr;
    tMP3VisHostDevice m_device{};
};
