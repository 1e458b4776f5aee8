#include "visual/CChoosePlugin.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

namespace {
constexpr int kMaxModules = 256;
}

CChoosePlugin::CChoosePlugin(QWidget* parent) : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Select the visualization Plug-in"));
    setProperty("dialogId", IDD_CHOOSE_PLUGIN);
    auto* listLabel = new QLabel(QStringLiteral("&List of available visualization plugins:"), this);
    listLabel->setProperty("controlId", IDC_PLUGIN_LIST_LABEL);
    m_lbPlugins = new QListWidget(this);
    m_lbPlugins->setProperty("controlId", IDC_PLUGIN_LIST);
    m_lbPlugins->setSortingEnabled(false);
    listLabel->setBuddy(m_lbPlugins);
    auto* moduleLabel = new QLabel(QStringLiteral("&Plug-in module:"), this);
    moduleLabel->setProperty("controlId", IDC_PLUGIN_MODULE_LABEL);
    m_cbModules = new QComboBox(this);
    m_cbModules->setProperty("controlId", IDC_PLUGIN_MODULES);
    m_cbModules->setEditable(false);
    moduleLabel->setBuddy(m_cbModules);
    m_pConfigure = new QPushButton(QStringLiteral("Con&figure Plug-in"), this);
    m_pConfigure->setProperty("controlId", IDC_PLUGIN_CONFIGURE);
    auto* buttons = new QDialogButtonBox(this);
    m_pOk = buttons->addButton(QStringLiteral("&Select Plug-in"), QDialogButtonBox::AcceptRole);
    m_pOk->setDefault(true);
    QPushButton* cancel = buttons->addButton(QStringLiteral("&Cancel"), QDialogButtonBox::RejectRole);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(listLabel);
    layout->addWidget(m_lbPlugins, 1);
    layout->addWidget(moduleLabel);
    layout->addWidget(m_cbModules);
    layout->addWidget(m_pConfigure, 0, Qt::AlignLeft);
    layout->addWidget(buttons);
    resize(460, 320);

    connect(m_lbPlugins, &QListWidget::currentRowChanged, this, &CChoosePlugin::OnSelChangeList);
    connect(m_cbModules, qOverload<int>(&QComboBox::activated), this, &CChoosePlugin::OnSelEndOkModules);
    connect(m_pConfigure, &QPushButton::clicked, this, &CChoosePlugin::OnConfigure);
    connect(m_pOk, &QPushButton::clicked, this, &CChoosePlugin::OnOK);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
}

CChoosePlugin::~CChoosePlugin()
{
    m_hPlugin.Abandon();
}

void CChoosePlugin::showEvent(QShowEvent* event)
{
    OnInitDialog();
    QDialog::showEvent(event);
}

void CChoosePlugin::OnInitDialog()
{
    if (m_bInitialized)
        return;
    m_bInitialized = true;
    m_strFolder = VisualPluginFolder();
    m_nSelected = -1;
    const QSignalBlocker block(m_lbPlugins);
    for (const VisualPluginListing& plugin : EnumerateVisualPlugins(m_strFolder)) {
        const int index = static_cast<int>(m_arrFiles.Add(plugin.strFile));
        m_lbPlugins->addItem(plugin.Line());
        if (m_nSelected < 0 && plugin.strFile.compare(m_strPlugin, Qt::CaseInsensitive) == 0)
            m_nSelected = index;
    }
    if (m_nSelected < 0) {
        m_strPlugin.clear();
        m_nModule = 0;
    } else {
        m_lbPlugins->setCurrentRow(m_nSelected);
        OpenSelected();
    }
    UpdateButtons();
}

bool CChoosePlugin::OpenSelected()
{
    m_pHeader = nullptr;
    m_pModule = nullptr;
    if (m_nSelected < 0 || !m_hPlugin.Load(m_strFolder, m_arrFiles.GetAt(m_nSelected)))
        return false;
    m_pHeader = m_hPlugin.Header();
    if (m_pHeader && m_pHeader->getModule) {
        m_pModule = m_nModule >= 0 ? m_pHeader->getModule(m_nModule) : nullptr;
        if (!m_pModule) {
            m_nModule = 0;
            m_pModule = m_pHeader->getModule(0);
        }
    }
    if (!m_pModule) {
        m_pHeader = nullptr;
        m_hPlugin.Unload();
        return false;
    }
    const QSignalBlocker block(m_cbModules);
    for (int i = 0; i < kMaxModules; ++i) {
        const tMP3VisModule* pModule = m_pHeader->getModule(i);
        if (!pModule)
            break;
        m_cbModules->addItem(QString::fromUtf8(pModule->pszDescription ? pModule->pszDescription : ""));
    }
    m_cbModules->setCurrentIndex(m_nModule);
    return true;
}

void CChoosePlugin::OnSelChangeList(int nIndex)
{
    if (nIndex >= 0 && nIndex < static_cast<int>(m_arrFiles.GetSize()) && nIndex != m_nSelected) {
        m_cbModules->clear();
        m_hPlugin.Unload();
        m_pHeader = nullptr;
        m_pModule = nullptr;
        m_nSelected = nIndex;
        m_nModule = 0;
        OpenSelected();
    }
    UpdateButtons();
}

void CChoosePlugin::OnSelEndOkModules(int nIndex)
{
    if (m_hPlugin.IsLoaded() && m_pHeader) {
        tMP3VisModule* pModule = nIndex >= 0 ? m_pHeader->getModule(nIndex) : nullptr;
        if (pModule) {
            m_pModule = pModule;
        } else {
            m_pModule = m_pHeader->getModule(0);
            m_cbModules->setCurrentIndex(0);
        }
    }
    UpdateButtons();
}

void CChoosePlugin::OnConfigure()
{
    if (!m_hPlugin.IsLoaded() || !m_pModule || !m_pModule->Config)
        return;
    m_pModule->hwndParent = static_cast<QWidget*>(this);
    m_pModule->Config(m_pModule);
}

void CChoosePlugin::OnOK()
{
    if (!m_hPlugin.IsLoaded())
        return;
    m_strPlugin = m_arrFiles.GetAt(m_nSelected);
    m_nModule = m_cbModules->currentIndex();
    accept();
}

void CChoosePlugin::UpdateButtons()
{
    m_pOk->setEnabled(m_nSelected >= 0);
    m_pConfigure->setEnabled(m_hPlugin.IsLoaded() && m_pModule && m_pModule->Config);
}
