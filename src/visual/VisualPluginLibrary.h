#pragma once
// Finding and opening visualization plug-in libraries: the plug-in folder, the check that a stored
// name is a plain "*.so" file name in it, a loaded library that closes itself, and the listing the
// chooser shows.
//
// Threading: the folder override is set once at start-up (a host or a test) before other threads
// read it and is guarded by a mutex. A CVisualPluginLibrary belongs to one thread at a time.

#include <QString>
#include <vector>

#include "visual/TunivoxVisPlugin.h"
#include "tunivox_export.h"

// ApplicationFolder() + "plugins/", or the override; always ends with "/".
TUNIVOX_EXPORT QString VisualPluginFolder();
// Points VisualPluginFolder() elsewhere (an empty string restores the default).
TUNIVOX_EXPORT void SetVisualPluginFolderOverride(const QString& folder);

// A bare file name ending in ".so": no folder part, so nothing outside the plug-in folder loads.
TUNIVOX_EXPORT bool IsVisualPluginFileName(const QString& name);

class TUNIVOX_EXPORT CVisualPluginLibrary
{
public:
    CVisualPluginLibrary() = default;
    ~CVisualPluginLibrary();
    CVisualPluginLibrary(const CVisualPluginLibrary&) = delete;
    CVisualPluginLibrary& operator=(const CVisualPluginLibrary&) = delete;

    // Loads `folder` + `name` by its absolute path; false (with a warning) when the name is not a
    // plug-in file name or the library cannot be loaded.
    bool Load(const QString& folder, const QString& name);
    void Unload();
    // Forgets the library without unloading it: it stays in the process for good.
    void Abandon() { m_hLibrary = nullptr; }
    bool IsLoaded() const { return m_hLibrary != nullptr; }

    // The entry's header; null without entry or when the entry returns none.
    tMP3VisHeader* Header() const;
    // " v." + the exported version string, or empty when the library has none.
    QString VersionText() const;

private:
    void* m_hLibrary = nullptr;
};

// One line of the chooser's list.
struct TUNIVOX_EXPORT VisualPluginListing
{
    QString strFile;
    QString strDescription;
    QString strVersion;
    // "%s   %s  (%s)": description, version text, file name.
    QString Line() const;
};

// Every plug-in in `folder` in name order: each "*.so" is loaded, examined and unloaded again;
// libraries without the entry or with a null header are left out.
TUNIVOX_EXPORT std::vector<VisualPluginListing> EnumerateVisualPlugins(const QString& folder);

// The module descriptions of a header: getModule(0), (1), ... up to the first null, at most 256.
TUNIVOX_EXPORT std::vector<QString> VisualPluginModuleNames(const tMP3VisHeader* pHeader);
