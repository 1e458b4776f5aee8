#include "support/TestFolders.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <stdexcept>

#include "platform/Folders.h"

namespace tunivox::test {

ScopedTempFolder::ScopedTempFolder() : m_dir(QDir::tempPath() + QStringLiteral("/tunivox-test-XXXXXX"))
{
    if (!m_dir.isValid())
        throw std::runtime_error("cannot create a temporary folder");
}

QString ScopedTempFolder::Path() const { return m_dir.path() + QLatin1Char('/'); }

QString ScopedTempFolder::FilePath(const QString& name) const { return m_dir.filePath(name); }

QString ScopedTempFolder::WriteFile(const QString& name, const QByteArray& bytes) const
{
    const QString path = FilePath(name);
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        throw std::runtime_error("cannot write " + path.toStdString());
    return path;
}

ScopedUserFolders::ScopedUserFolders()
{
    QDir().mkpath(m_root.FilePath(QStringLiteral("config")));
    SetUserConfigFolderOverride(m_root.FilePath(QStringLiteral("config")));
    SetPrivateTempFolderOverride(m_root.FilePath(QStringLiteral("tmp")));
}

ScopedUserFolders::~ScopedUserFolders()
{
    SetUserConfigFolderOverride(QString());
    SetPrivateTempFolderOverride(QString());
}

QString ScopedUserFolders::ConfigFolder() const { return m_root.FilePath(QStringLiteral("config")) + QLatin1Char('/'); }
QString ScopedUserFolders::TempFolder() const { return m_root.FilePath(QStringLiteral("tmp")) + QLatin1Char('/'); }

QString FixturePath(const QString& name) { return QStringLiteral(TUNIVOX_FIXTURE_DIR "/") + name; }

} // namespace tunivox::test
