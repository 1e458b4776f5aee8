#include "visual/VisualPluginLibrary.h"

#include <QDir>
#include <dlfcn.h>
#include <mutex>

#include "platform/Folders.h"

namespace {

constexpr int kMaxModules = 256;

std::mutex& OverrideLock()
{
    static std::mutex lock;
    return lock;
}

QString& FolderOverride()
{
    static QString folder;
    return folder;
}

QString WithSlash(QString folder)
{
    if (!folder.endsWith(QLatin1Char('/')))
        folder += QLatin1Char('/');
    return folder;
}

} // namespace

QString VisualPluginFolder()
{
    {
        std::lock_guard lock(OverrideLock());
        if (!FolderOverride().isEmpty())
            return FolderOverride();
    }
    return ApplicationFolder() + QStringLiteral("plugins/");
}

void SetVisualPluginFolderOverride(const QString& folder)
{
    std::lock_guard lock(OverrideLock());
    FolderOverride() = folder.isEmpty() ? QString() : WithSlash(folder);
}

bool IsVisualPluginFileName(const QString& name)
{
    return name.size() > 3 && name.endsWith(QStringLiteral(".so")) && !name.contains(QLatin1Char('/'))
        && !name.contains(QChar(0)) && !name.startsWith(QLatin1Char('.'));
}

CVisualPluginLibrary::~CVisualPluginLibrary()
{
    Unload();
}

bool CVisualPluginLibrary::Load(const QString& folder, const QString& name)
{
    Unload();
    if (!IsVisualPluginFileName(name) || !QDir::isAbsolutePath(folder)) {
        qWarning("visualization: \"%s\" is not a plug-in file name", qPrintable(name));
        return false;
    }
    const QByteArray path = QFile::encodeName(WithSlash(folder) + name);
    m_hLibrary = dlopen(path.constData(), RTLD_NOW | RTLD_LOCAL);
    if (!m_hLibrary) {
        const char* error = dlerror();
        qWarning("visualization: cannot load plug-in: %s", error ? error : path.constData());
        return false;
    }
    return true;
}

void CVisualPluginLibrary::Unload()
{
    if (m_hLibrary)
        dlclose(m_hLibrary);
    m_hLibrary = nullptr;
}

tMP3VisHeader* CVisualPluginLibrary::Header() const
{
    if (!m_hLibrary)
        return nullptr;
    auto entry = reinterpret_cast<tMP3GetVisHeaderProc>(dlsym(m_hLibrary, TMP3_VIS_ENTRY));
    return entry ? entry() : nullptr;
}

QString CVisualPluginLibrary::VersionText() const
{
    if (!m_hLibrary)
        return QString();
    const auto* version = static_cast<const char*>(dlsym(m_hLibrary, TMP3_VIS_VERSION_SYMBOL));
    if (!version || !*version)
        return QString();
    return QStringLiteral(" v.") + QString::fromUtf8(version);
}

QString VisualPluginListing::Line() const
{
    return QStringLiteral("%1   %2  (%3)").arg(strDescription, strVersion, strFile);
}

std::vector<VisualPluginListing> EnumerateVisualPlugins(const QString& folder)
{
    std::vector<VisualPluginListing> listing;
    const QStringList names =
        QDir(folder).entryList({QStringLiteral("*.so")}, QDir::Files | QDir::Readable, QDir::Name);
    for (const QString& name : names) {
        CVisualPluginLibrary library;
        if (!library.Load(folder, name))
            continue;
        const QString version = library.VersionText();
        const tMP3VisHeader* pHeader = library.Header();
        if (!pHeader)
            continue;
        listing.push_back({name, QString::fromUtf8(pHeader->pszDescription ? pHeader->pszDescription : ""), version});
    }
    return listing;
}

std::vector<QString> VisualPluginModuleNames(const tMP3VisHeader* pHeader)
{
    std::vector<QString> names;
    if (!pHeader || !pHeader->getModule)
        return names;
    for (int i = 0; i < kMaxModules; ++i) {
        const tMP3VisModule* pModule = pHeader->getModule(i);
        if (!pModule)
            break;
        names.push_back(QString::fromUtf8(pModule->pszDescription ? pModule->pszDescription : ""));
    }
    return names;
}
