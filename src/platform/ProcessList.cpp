#include "platform/ProcessList.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

namespace {

bool IsZombie(const QString& pidText)
{
    QFile stat(QStringLiteral("/proc/") + pidText + QStringLiteral("/stat"));
    if (!stat.open(QIODevice::ReadOnly))
        return true;
    const QByteArray line = stat.readAll();
    const int close = line.lastIndexOf(')');
    return close < 0 || close + 2 >= line.size() || line.at(close + 2) == 'Z' || line.at(close + 2) == 'X';
}

QString ExeNameOf(const QString& pidText)
{
    const QString exe = QFile::symLinkTarget(QStringLiteral("/proc/") + pidText + QStringLiteral("/exe"));
    if (!exe.isEmpty()) {
        // A replaced binary reads "/path/name (deleted)".
        QString name = QFileInfo(exe).fileName();
        if (name.endsWith(QLatin1String(" (deleted)")))
            name.chop(10);
        return name;
    }
    QFile stat(QStringLiteral("/proc/") + pidText + QStringLiteral("/stat"));
    if (!stat.open(QIODevice::ReadOnly))
        return QString();
    const QByteArray line = stat.readAll();
    const int open = line.indexOf('(');
    const int close = line.lastIndexOf(')');
    if (open < 0 || close <= open)
        return QString();
    return QString::fromUtf8(line.mid(open + 1, close - open - 1));
}

} // namespace

QList<ProcessEntry> ListProcesses()
{
    QList<ProcessEntry> result;
    const QStringList entries = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString& entry : entries) {
        bool ok = false;
        const int pid = entry.toInt(&ok);
        if (!ok || pid <= 0)
            continue;
        if (IsZombie(entry))
            continue;
        const QString name = ExeNameOf(entry);
        if (!name.isEmpty())
            result.append({static_cast<pid_t>(pid), name});
    }
    std::sort(result.begin(), result.end(), [](const ProcessEntry& a, const ProcessEntry& b) { return a.pid < b.pid; });
    return result;
}

bool TerminateProcessById(pid_t pid, unsigned exitCode)
{
    if (pid <= 0)
        return false;
    return ::kill(pid, exitCode == 9 ? SIGKILL : SIGTERM) == 0;
}

bool ReapChild(pid_t pid, int timeoutMs)
{
    if (pid <= 0)
        return false;
    for (int waited = 0;; waited += 10) {
        const pid_t r = ::waitpid(pid, nullptr, WNOHANG);
        if (r == pid)
            return true;
        if (r < 0 || waited >= timeoutMs)
            return false;
        ::usleep(10000);
    }
}
