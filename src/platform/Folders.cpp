#include "platform/Folders.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#include <mutex>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::mutex g_overrideLock;
QString g_tempOverride;
QString g_configOverride;

QString WithSlash(QString folder)
{
    if (!folder.isEmpty() && !folder.endsWith(QLatin1Char('/')))
        folder += QLatin1Char('/');
    return folder;
}

} // namespace

QString ApplicationFolder()
{
    char buffer[4096];
    const ssize_t length = ::readlink("/proc/self/exe", buffer, sizeof(buffer) - 1);
    if (length <= 0)
        return WithSlash(QDir::currentPath());
    const QString exe = QString::fromUtf8(buffer, static_cast<int>(length));
    return WithSlash(QFileInfo(exe).absolutePath());
}

bool EnsurePrivateFolder(const QString& folder)
{
    if (folder.isEmpty())
        return false;
    const QByteArray path = QFile::encodeName(QDir::cleanPath(folder));
    struct stat st {};
    if (::lstat(path.constData(), &st) != 0) {
        if (!QDir().mkpath(QDir::cleanPath(folder)))
            return false;
        ::chmod(path.constData(), 0700);
        if (::lstat(path.constData(), &st) != 0)
            return false;
    }
    if (!S_ISDIR(st.st_mode) || st.st_uid != ::getuid())
        return false;
    if ((st.st_mode & 077) != 0 && ::chmod(path.constData(), 0700) != 0)
        return false;
    return true;
}

QString PrivateTempFolder()
{
    {
        std::lock_guard lock(g_overrideLock);
        if (!g_tempOverride.isEmpty())
            return EnsurePrivateFolder(g_tempOverride) ? g_tempOverride : QString();
    }
    // Qt checks that the runtime folder is owned by the user with mode 0700, and makes a private one
    // when XDG_RUNTIME_DIR is unset.
    QString runtime = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (runtime.isEmpty())
        runtime = QStandardPaths::writableLocation(QStandardPaths::CacheLocation);
    const QString folder = WithSlash(WithSlash(runtime) + QStringLiteral("tunivox"));
    return EnsurePrivateFolder(folder) ? folder : QString();
}

QString UserConfigFolder()
{
    {
        std::lock_guard lock(g_overrideLock);
        if (!g_configOverride.isEmpty())
            return g_configOverride;
    }
    return WithSlash(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation));
}

void SetPrivateTempFolderOverride(const QString& folder)
{
    std::lock_guard lock(g_overrideLock);
    g_tempOverride = WithSlash(folder);
}

void SetUserConfigFolderOverride(const QString& folder)
{
    std::lock_guard lock(g_overrideLock);
    g_configOverride = WithSlash(folder);
}
