#include "PluginTestSupport.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <dlfcn.h>
#include <gtest/gtest.h>

#include "visual/VisualPluginLibrary.h"

namespace {

std::mutex g_lock;
std::vector<tunivox::test::PluginEvent> g_events;

} // namespace

extern "C" __attribute__((visibility("default"))) void TestPluginRecord(const char* pszEvent,
                                                                      const tMP3VisModule* pModule)
{
    tunivox::test::PluginEvent event;
    event.strEvent = pszEvent;
    event.strModule = pModule->pszDescription ? pModule->pszDescription : "";
    event.thread = QThread::currentThreadId();
    event.module = *pModule;
    if (pModule->pDevice) {
        event.device = *pModule->pDevice;
        event.bGlResolves = pModule->pDevice->GetProcAddress && pModule->pDevice->GetProcAddress("glClear");
    }
    event.time = std::chrono::steady_clock::now();
    std::lock_guard lock(g_lock);
    g_events.push_back(event);
}

namespace tunivox::test {

std::vector<PluginEvent> PluginEvents()
{
    std::lock_guard lock(g_lock);
    return g_events;
}

void ClearPluginEvents()
{
    std::lock_guard lock(g_lock);
    g_events.clear();
}

std::vector<std::string> PluginEventNames()
{
    std::vector<std::string> names;
    for (const PluginEvent& event : PluginEvents())
        names.push_back(event.strEvent);
    return names;
}

int CountPluginEvents(const std::string& strEvent)
{
    const std::vector<std::string> names = PluginEventNames();
    return static_cast<int>(std::count(names.begin(), names.end(), strEvent));
}

ScopedPluginFolder::ScopedPluginFolder(const QStringList& plugins)
{
    for (const QString& plugin : plugins) {
        const QString source = plugin.contains(QLatin1Char('/')) ? plugin : QStringLiteral(TEST_PLUGIN_DIR "/") + plugin;
        EXPECT_TRUE(QFile::copy(source, m_folder.FilePath(QFileInfo(source).fileName()))) << source.toStdString();
    }
    SetVisualPluginFolderOverride(m_folder.Path());
    ClearPluginEvents();
}

ScopedPluginFolder::~ScopedPluginFolder()
{
    SetVisualPluginFolderOverride(QString());
}

bool IsLibraryLoaded(const QString& path)
{
    void* handle = dlopen(QFile::encodeName(path).constData(), RTLD_NOW | RTLD_NOLOAD);
    if (!handle)
        return false;
    dlclose(handle);
    return true;
}

} // namespace tunivox::test
