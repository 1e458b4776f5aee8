// The chooser: listing lines, the enabling rules, module selection, Configure, OK and Cancel, and
// the plug-in folder's enumeration and name checks.
#include <QComboBox>
#include <QListWidget>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

#include "PluginTestSupport.h"
#include "visual/CChoosePlugin.h"
#include "visual/VisualPluginLibrary.h"

using namespace tunivox::test;

namespace {

// The rows of the plug-in list or the module combo.
QStringList Rows(const QAbstractItemModel* model)
{
    QStringList rows;
    for (int i = 0; i < model->rowCount(); ++i)
        rows << model->index(i, 0).data().toString();
    return rows;
}

const QStringList kAll = {"tp_recorder.so", "tp_plain.so", "tp_noentry.so", "tp_nullheader.so"};

} // namespace

TEST(ChoosePlugin, ListsOnlyPluginsWithAndWithoutVersionAndSelectsTheStoredChoice)
{
    ScopedPluginFolder folder(kAll);
    CChoosePlugin dialog;
    dialog.m_strPlugin = QStringLiteral("TP_RECORDER.so"); // the match ignores case
    dialog.m_nModule = 9; // beyond the module count: module 0
    dialog.OnInitDialog();
    EXPECT_EQ(Rows(dialog.m_lbPlugins->model()),
              (QStringList{"Plain plug-in     (tp_plain.so)", "Recorder plug-in    v.2.5.1  (tp_recorder.so)"}));
    EXPECT_EQ(dialog.m_nSelected, 1);
    EXPECT_EQ(dialog.m_lbPlugins->currentRow(), 1);
    EXPECT_EQ(Rows(dialog.m_cbModules->model()), (QStringList{"Recording module", "Failing module"}));
    EXPECT_EQ(dialog.m_nModule, 0);
    EXPECT_EQ(dialog.m_cbModules->currentIndex(), 0);
    ASSERT_NE(dialog.m_pModule, nullptr);
    EXPECT_STREQ(dialog.m_pModule->pszDescription, "Recording module");
    EXPECT_TRUE(dialog.OkButton()->isEnabled());
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Select the visualization Plug-in"));
    EXPECT_EQ(dialog.ConfigureButton()->text(), QStringLiteral("Con&figure Plug-in"));
    EXPECT_EQ(CountPluginEvents("Init"), 0) << "listing never starts a module";
}

TEST(ChoosePlugin, EmptyFolderDisablesOkAndForgetsTheChoice)
{
    ScopedPluginFolder folder({});
    CChoosePlugin dialog;
    dialog.m_strPlugin = QStringLiteral("Spectrola.so");
    dialog.m_nModule = 2;
    dialog.OnInitDialog();
    EXPECT_EQ(dialog.m_lbPlugins->count(), 0);
    EXPECT_FALSE(dialog.OkButton()->isEnabled());
    EXPECT_FALSE(dialog.ConfigureButton()->isEnabled());
    EXPECT_TRUE(dialog.m_strPlugin.isEmpty());
    EXPECT_EQ(dialog.m_nModule, 0);
    // OK with nothing open does nothing.
    dialog.show();
    QTest::mouseClick(dialog.OkButton(), Qt::LeftButton);
    EXPECT_TRUE(dialog.isVisible());
    dialog.reject();
}

TEST(ChoosePlugin, ConfigureFollowsTheModulesConfigEntry)
{
    ScopedPluginFolder folder(kAll);
    CChoosePlugin dialog;
    dialog.m_strPlugin = QStringLiteral("tp_recorder.so");
    dialog.OnInitDialog();
    ASSERT_TRUE(dialog.ConfigureButton()->isEnabled());
    QTest::mouseClick(dialog.ConfigureButton(), Qt::LeftButton);
    ASSERT_EQ(PluginEventNames(), std::vector<std::string>{"Config"});
    const PluginEvent config = PluginEvents().front();
    EXPECT_EQ(config.module.hwndParent, static_cast<QWidget*>(&dialog)) << "the dialog is the parent";
    EXPECT_EQ(config.thread, QThread::currentThreadId()) << "Config runs on the GUI thread";

    // The failing module has no Config; the combo's confirmed selection switches modules.
    dialog.m_cbModules->setCurrentIndex(1);
    emit dialog.m_cbModules->activated(1);
    EXPECT_FALSE(dialog.ConfigureButton()->isEnabled());
    dialog.m_cbModules->setCurrentIndex(0);
    emit dialog.m_cbModules->activated(0);
    EXPECT_TRUE(dialog.ConfigureButton()->isEnabled());

    // A plug-in whose only module has no Config.
    dialog.m_lbPlugins->setCurrentRow(0);
    EXPECT_EQ(Rows(dialog.m_cbModules->model()), QStringList{QStringLiteral("Plain module")});
    EXPECT_FALSE(dialog.ConfigureButton()->isEnabled());
    EXPECT_TRUE(dialog.OkButton()->isEnabled());
}

TEST(ChoosePlugin, SelectionChangeUnloadsAndOkReturnsTheChoice)
{
    ScopedPluginFolder folder(kAll);
    CChoosePlugin dialog;
    dialog.m_strPlugin = QStringLiteral("tp_plain.so");
    dialog.show();
    ASSERT_TRUE(IsLibraryLoaded(folder.FilePath("tp_plain.so")));
    dialog.m_lbPlugins->setCurrentRow(1);
    EXPECT_FALSE(IsLibraryLoaded(folder.FilePath("tp_plain.so"))) << "a change of selection unloads";
    EXPECT_TRUE(IsLibraryLoaded(folder.FilePath("tp_recorder.so")));
    dialog.m_cbModules->setCurrentIndex(1);
    emit dialog.m_cbModules->activated(1);
    QTest::mouseClick(dialog.OkButton(), Qt::LeftButton);
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(dialog.m_strPlugin, QStringLiteral("tp_recorder.so"));
    EXPECT_EQ(dialog.m_nModule, 1);
}

TEST(VisualPluginFolder, OnlyPlainSharedObjectNamesLoad)
{
    struct Case { const char* name; bool bPlugin; };
    const Case cases[] = {{"Spectrola.so", true},   {"../Spectrola.so", false}, {"/usr/lib/x.so", false},
                          {"sub/x.so", false},      {".so", false},             {".hidden.so", false},
                          {"Spectrola.dll", false}, {"x.so.1", false},          {"", false}};
    for (const Case& c : cases)
        EXPECT_EQ(IsVisualPluginFileName(QString::fromUtf8(c.name)), c.bPlugin) << c.name;

    ScopedPluginFolder folder({"tp_recorder.so"});
    CVisualPluginLibrary library;
    EXPECT_FALSE(library.Load(folder.Path(), QStringLiteral("../plugins/tp_recorder.so")));
    EXPECT_FALSE(library.Load(QStringLiteral("relative/"), QStringLiteral("tp_recorder.so")));
    EXPECT_FALSE(library.IsLoaded());
    EXPECT_TRUE(library.Load(folder.Path(), QStringLiteral("tp_recorder.so")));
}
