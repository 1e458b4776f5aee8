#pragma once
// "Select the visualization Plug-in": lists the plug-ins of the plug-in folder, the modules of the
// selected one, and opens a module's own settings.
//
// Threading: GUI thread only. The chooser loads libraries for itself; their entry, getModule and
// Config run on this thread (Config with the dialog in the module's parent-window field).

#include <QDialog>
#include <QString>

#include "platform/CStringArray.h"
#include "visual/TunivoxVisPlugin.h"
#include "visual/VisualPluginLibrary.h"
#include "tunivox_export.h"

class QComboBox;
class QListWidget;
class QPushButton;

inline constexpr int IDD_CHOOSE_PLUGIN = 1009;
inline constexpr int IDC_PLUGIN_LIST = 1003;
inline constexpr int IDC_PLUGIN_LIST_LABEL = 1004;
inline constexpr int IDC_PLUGIN_MODULE_LABEL = 1005;
inline constexpr int IDC_PLUGIN_MODULES = 1006;
inline constexpr int IDC_PLUGIN_CONFIGURE = 1007;

class TUNIVOX_EXPORT CChoosePlugin : public QDialog
{
    Q_OBJECT
public:
    explicit CChoosePlugin(QWidget* parent = nullptr);
    // The library of the last selection deliberately stays loaded.
    ~CChoosePlugin() override;

    // Fills the list from the plug-in folder; runs once, when the dialog is first shown.
    void OnInitDialog();

    QComboBox* m_cbModules = nullptr;
    QListWidget* m_lbPlugins = nullptr;
    QString m_strPlugin; // in: current; out: chosen
    int m_nModule = 0;   // in and out
    QString m_strFolder;
    CStringArray m_arrFiles;
    int m_nSelected = -1;
    CVisualPluginLibrary m_hPlugin;
    tMP3VisHeader* m_pHeader = nullptr;
    tMP3VisModule* m_pModule = nullptr;

    QPushButton* ConfigureButton() const { return m_pConfigure; }
    QPushButton* OkButton() const { return m_pOk; }

protected:
    void showEvent(QShowEvent* event) override;

private:
    bool OpenSelected();
    void OnSelChangeList(int nIndex);
    void OnSelEndOkModules(int nIndex);
    void OnConfigure();
    void OnOK();
    void UpdateButtons();

    QPushButton* m_pConfigure = nullptr;
    QPushButton* m_pOk = nullptr;
    bool m_bInitialized = false;
};
