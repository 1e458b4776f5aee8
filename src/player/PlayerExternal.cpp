// Handing the playlist to the external player ("tplayer") and the process and file helpers that go
// with it. No command line here ever passes through a shell.
#include <QApplication>
#include <QFile>
#include <QFileInfo>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/Folders.h"
#include "platform/ProcessList.h"
#include "platform/ProcessRunner.h"
#include "player/CMediaPlayerCtrl.h"

namespace {

// The external player's executable name and its kill command, as this platform spells them.
const QString kExternalPlayerName = QStringLiteral("tplayer");

class WaitCursor
{
public:
    WaitCursor() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    ~WaitCursor() { QApplication::restoreOverrideCursor(); }
};

} // namespace

void CMediaPlayerCtrl::StartTunivoxMplayer()
{
    Stop();
    PlayInExternalPlayer(1);
}

void CMediaPlayerCtrl::PlayInExternalPlayer(int)
{
    // The list folder may be shared (the current folder when the host set none): a link planted
    // there is not followed, and a file of another user's is not written.
    const QByteArray path = QFile::encodeName(m_strListFolder + QStringLiteral("_tmpIntPlayer.m3u"));
    const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, 0600);
    if (fd < 0)
        return;
    struct stat st {};
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) || st.st_uid != ::getuid() || ::ftruncate(fd, 0) != 0) {
        ::close(fd);
        return;
    }
    QFile file;
    if (!file.open(fd, QIODevice::WriteOnly, QFileDevice::AutoCloseHandle)) {
        ::close(fd);
        return;
    }
    QByteArray buffer;
    for (int i = 0; i < count(); ++i)
        buffer += (m_arrFiles.GetAt(i) + QLatin1Char(',') + m_arrTitles.GetAt(i)).toUtf8() + "\r\n";
    file.write(buffer);
}

int CMediaPlayerCtrl::CloseExternalPlayer()
{
    WaitCursor wait;
    // The platform's kill-by-exact-name, deliberately twice as the original ran its kill command.
    KillProcessByName(kExternalPlayerName.toUtf8().constData());
    KillProcessByName(kExternalPlayerName.toUtf8().constData());
    const pid_t pid = static_cast<pid_t>(m_nExternalPid);
    if (pid <= 0 || !TerminateProcessById(pid, 0))
        return 0;
    if (m_piExternal.hProcess != 0) {
        ReapChild(static_cast<pid_t>(m_piExternal.dwProcessId), 2000);
        m_piExternal = PROCESS_INFORMATION {};
    }
    return 1;
}

int CMediaPlayerCtrl::AppIsAllreadyRunning(const QString& exeName)
{
    const pid_t self = ::getpid();
    const QList<ProcessEntry> processes = ListProcesses();
    // The snapshot's first entry (the system's first process) is deliberately skipped.
    for (int i = 1; i < processes.size(); ++i)
        if (processes[i].strExeName == exeName && processes[i].pid != self)
            return 1;
    return 0;
}

void CMediaPlayerCtrl::KillProcessByName(const char* exeName)
{
    const QString name = QString::fromUtf8(exeName);
    for (const ProcessEntry& p : ListProcesses())
        if (p.strExeName == name && p.pid != ::getpid())
            TerminateProcessById(p.pid, 9);
}

BOOL CMediaPlayerCtrl::ExecuteProgramCloseProcess(const QString& program, const QString& args, int mode)
{
    return ::ExecuteProgramCloseProcess(program, args, mode) ? TRUE : FALSE;
}

PROCESS_INFORMATION CMediaPlayerCtrl::ExecuteProgramHandle(const QString& program, const QString& args, int bDetached)
{
    PROCESS_INFORMATION pi;
    const pid_t pid = ::ExecuteProgramHandle(program, args, bDetached);
    if (pid > 0) {
        pi.hProcess = pid;
        pi.dwProcessId = static_cast<std::uint32_t>(pid);
    }
    return pi;
}

void CMediaPlayerCtrl::SetExternalProcess(const PROCESS_INFORMATION& pi)
{
    m_piExternal = pi;
    m_nExternalPid = static_cast<std::int32_t>(pi.dwProcessId);
}

QWidget* CMediaPlayerCtrl::GetChildWindow(QWidget* parent, const QString& text)
{
    if (!parent)
        return nullptr;
    for (QObject* object : parent->children()) {
        auto* child = qobject_cast<QWidget*>(object);
        if (!child)
            continue;
        if (child->windowTitle().contains(text) || child->property("text").toString().contains(text))
            return child;
        if (QWidget* found = GetChildWindow(child, text))
            return found;
    }
    return nullptr;
}

QString CMediaPlayerCtrl::GetApplicationPath() { return ApplicationFolder(); }

int CMediaPlayerCtrl::IsFileExist(const QString& path)
{
    if (path.isEmpty())
        return 0;
    return QFileInfo::exists(path) || QFileInfo(path).isSymLink() ? 1 : 0;
}
