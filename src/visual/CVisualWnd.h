#pragma once
// The visualization window: a top-level widget on the GUI thread holding the OpenGL surface that the
// render thread draws into, the tool bar, the options dialog, the window placement and the input.
// Commands, input and settings go to the scene as queued commands of CVisualThread.
//
// Threading: GUI thread only. Create() makes the OpenGL context for the surface and moves it to the
// render thread, which owns (and deletes) it from then on. The render thread ends the window with
// DestroyWindow(), posted to this thread.

#include <QTimer>
#include <functional>
#include <QWidget>

#include "visual/VisualSettings.h"
#include "tunivox_export.h"

class CVisualScene;
class CVisualSurface;
class CVisualThread;
class CVisualToolbar;
class QOpenGLContext;

class TUNIVOX_EXPORT CVisualWnd : public QWidget
{
    Q_OBJECT
public:
    CVisualWnd();
    ~CVisualWnd() override;

    // Loads settings and placement from `strRegSubKey`, builds the window and the OpenGL context.
    // False when no OpenGL context can be made.
    virtual bool Create(CVisualThread* pThread, const QString& strRegSubKey);
    void ShowWindow();
    // Saves the placement and "Flags", then deletes the window (later, from the event loop).
    void DestroyWindow();

    void OnCommand(int nCommand);
    void SetTitleText(const QString& title);

    QOpenGLContext* Context() const { return m_pContext; }
    CVisualSurface* Surface() const { return m_pSurface; }
    CVisualToolbar* Toolbar() const { return m_pToolbar; }
    const VisualSettings& Settings() const { return m_settings; }
    DWORD Flags() const { return m_dwFlags; }
    bool IsSlideShowChecked() const;
    const QString& PluginName() const { return m_strPlugin; }
    int PluginModule() const { return m_nPluginModule; }

    // Start and stop the chosen plug-in module; both run on the render thread, queued.
    void LoadPlugin();
    void UnloadPlugin();
    QSize SurfacePixelSize() const;

    static QString DefaultTitle() { return QStringLiteral("Visualization"); }

protected:
    void closeEvent(QCloseEvent* event) override;
    // Runs the options dialog on a copy of the settings; true and the new record on OK.
    virtual bool RunOptionsDialog(VisualSettings& settings);
    // Right click on the picture: the options dialog and the plug-in chooser.
    void ShowContextMenu(const QPoint& globalPos);
    // Runs the plug-in chooser on the current choice; true and the new choice on OK.
    virtual bool RunChoosePluginDialog(QString& strPlugin, int& nModule);

private:
    void SetFlag(DWORD dwFlag, bool bOn);
    void ApplyTopmost(bool bOn);
    void SendFlagsToScene();
    void SavePlacement();
    void Post(std::function<void(CVisualScene&)> command);

    CVisualThread* m_pThread = nullptr;
    CVisualSurface* m_pSurface = nullptr;
    QWidget* m_pContainer = nullptr;
    CVisualToolbar* m_pToolbar = nullptr;
    QOpenGLContext* m_pContext = nullptr;
    QTimer m_resizeSettle;
    QSize m_pendingSize;
    QString m_strRegSubKey;
    QString m_strTitle;
    VisualSettings m_settings;
    VisualPlacement m_placement;
    DWORD m_dwFlags = 0;
    QString m_strPlugin;
    int m_nPluginModule = 0;
    bool m_bSaved = false;
};
