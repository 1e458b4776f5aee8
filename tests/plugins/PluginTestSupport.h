#pragma once
// Shared pieces of the plug-in tests: the record of every call the test plug-ins report, a private
// plug-in folder holding copies of chosen test plug-ins, and whether a library is still loaded.

#include <QString>
#include <QStringList>
#include <QThread>
#include <chrono>
#include <mutex>
#include <string>
#include <vector>

#include "support/TestFolders.h"
#include "visual/TunivoxVisPlugin.h"

namespace tunivox::test {

struct PluginEvent
{
    std::string strEvent;
    std::string strModule;
    Qt::HANDLE thread = nullptr;
    tMP3VisModule module{};      // the record as the call saw it
    tMP3VisHostDevice device{};  // the host device record, when there was one
    bool bGlResolves = false;    // the device's lookup found "glClear"
    std::chrono::steady_clock::time_point time;
};

// Every call since the last Clear(); any thread.
std::vector<PluginEvent> PluginEvents();
void ClearPluginEvents();
std::vector<std::string> PluginEventNames();
int CountPluginEvents(const std::string& strEvent);

// For its lifetime VisualPluginFolder() is a fresh folder holding copies of `plugins` (file names
// of the test plug-ins, e.g. "tp_recorder.so", or full paths).
class ScopedPluginFolder
{
public:
    explicit ScopedPluginFolder(const QStringList& plugins);
    ~ScopedPluginFolder();
    ScopedPluginFolder(const ScopedPluginFolder&) = delete;
    ScopedPluginFolder& operator=(const ScopedPluginFolder&) = delete;
    QString Path() const { return m_folder.Path(); }
    QString FilePath(const QString& name) const { return m_folder.FilePath(name); }

private:
    ScopedTempFolder m_folder;
};

// True while the library at `path` is loaded in this process.
bool IsLibraryLoaded(const QString& path);

} // namespace tunivox::test
