#pragma once
// Folders for tests: a scoped temporary folder, fixture paths, and a scope that points the library's
// settings and temporary folders at private places so a test never touches the real user's files.

#include <QString>
#include <QTemporaryDir>

namespace tunivox::test {

class ScopedTempFolder
{
public:
    ScopedTempFolder();
    // Folder path with a trailing "/".
    QString Path() const;
    QString FilePath(const QString& name) const;
    // Writes `bytes` to FilePath(name) and returns that path.
    QString WriteFile(const QString& name, const QByteArray& bytes) const;

private:
    QTemporaryDir m_dir;
};

// For its lifetime, UserConfigFolder() and PrivateTempFolder() point into a fresh temporary folder.
class ScopedUserFolders
{
public:
    ScopedUserFolders();
    ~ScopedUserFolders();
    ScopedUserFolders(const ScopedUserFolders&) = delete;
    ScopedUserFolders& operator=(const ScopedUserFolders&) = delete;

    QString ConfigFolder() const;
    QString TempFolder() const;

private:
    ScopedTempFolder m_root;
};

// Path of a generated media fixture, e.g. FixturePath("tone-44k-stereo.mp3").
QString FixturePath(const QString& name);

} // namespace tunivox::test
