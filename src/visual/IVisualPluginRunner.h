#pragma once
// The seam through which a visualization plug-in draws instead of the built-in scene. The plug-in
// host implements it; the scene calls it on the render thread with the OpenGL context current.
//
// Threading: every call on the render thread, between the thread's InitInstance and ExitInstance.

class CAudioPlayer;

// The per-frame fields the host fills for a running module.
struct VisualFrameInfo
{
    CAudioPlayer* pAudioPlayer = nullptr; // the engine whose sample block, playing and paused state
                                          // the runner copies into its module record; may be null
    float fTotalSeconds = 0.0f;           // running seconds of the renderer
    float fFrameSeconds = 0.0f;           // seconds of the last frame
    float fShownFPS = 0.0f;               // the frame rate last shown, updated once a second
};

class IVisualPluginRunner
{
public:
    virtual bool IsRunning() const = 0;
    virtual bool HasRender() const = 0;
    virtual void Render(const VisualFrameInfo& info) = 0;
    // Called whenever the scene drops its own device resources (resize, settings, unloading).
    virtual void ReleaseDeviceResources() = 0;
    // The module's switch-mode entry; false when it has none.
    virtual bool SwitchMode() = 0;
    // A key pressed over the window, before the default handling.
    virtual void OnKey(int nKey) = 0;

protected:
    ~IVisualPluginRunner() = default;
};
