#include "platform/ProcessRunner.h"

#include <cerrno>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "platform/StringConv.h"

extern char** environ;

namespace {

bool IsBlank(QChar c)
{
    return c == u' ' || c == u'\t';
}

pid_t Spawn(const QString& program, const QString& arguments, bool detached)
{
    // The program is one word whatever it holds (a folder with a blank, a quote); only the
    // arguments are split. An empty program takes the arguments' first word.
    QStringList words = SplitWindowsCommandLine(program.isEmpty() ? arguments : QStringLiteral("x ") + arguments);
    if (!program.isEmpty())
        words.first() = program;
    if (words.isEmpty() || words.first().isEmpty())
        return -1;
    std::vector<QByteArray> narrow;
    narrow.reserve(static_cast<std::size_t>(words.size()));
    for (const QString& word : words)
        narrow.push_back(ToNarrow(word));
    std::vector<char*> argv;
    for (QByteArray& word : narrow)
        argv.push_back(word.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
    if (detached) {
        posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
    }
    pid_t pid = -1;
    const char* path = argv[0];
    const bool searchPath = narrow.front().indexOf('/') < 0;
    const int error = searchPath ? posix_spawnp(&pid, path, &actions, &attributes, argv.data(), environ)
                                 : posix_spawn(&pid, path, &actions, &attributes, argv.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return error == 0 ? pid : -1;
}

} // namespace

QStringList SplitWindowsCommandLine(const QString& line)
{
    QStringList words;
    qsizetype i = 0;
    const qsizetype n = line.size();

    // The program name: no escapes, quotes only group.
    QString first;
    bool quoted = false;
    for (; i < n; ++i) {
        const QChar c = line[i];
        if (c == u'"')
            quoted = !quoted;
        else if (IsBlank(c) && !quoted)
            break;
        else
            first += c;
    }
    words << first;

    for (;;) {
        while (i < n && IsBlank(line[i]))
            ++i;
        if (i >= n)
            break;
        QString word;
        quoted = false;
        while (i < n) {
            const QChar c = line[i];
            if (IsBlank(c) && !quoted)
                break;
            if (c == u'\\') {
                qsizetype slashes = 0;
                while (i < n && line[i] == u'\\') {
                    ++slashes;
                    ++i;
                }
                if (i < n && line[i] == u'"') {
                    word += QString(slashes / 2, u'\\');
                    if (slashes % 2) {
                        word += u'"';
                        ++i;
                    }
                } else {
                    word += QString(slashes, u'\\');
                }
                continue;
            }
            if (c == u'"') {
                if (quoted && i + 1 < n && line[i + 1] == u'"') {
                    word += u'"';
                    i += 2;
                    continue;
                }
                quoted = !quoted;
                ++i;
                continue;
            }
            word += c;
            ++i;
        }
        words << word;
    }
    return words;
}

QString QuoteWindowsArgument(const QString& argument)
{
    QString quoted = QStringLiteral("\"");
    qsizetype slashes = 0;
    for (const QChar c : argument) {
        if (c == u'\\') {
            ++slashes;
            continue;
        }
        if (c == u'"') {
            quoted += QString(slashes * 2 + 1, u'\\');
            quoted += u'"';
        } else {
            quoted += QString(slashes, u'\\');
            quoted += c;
        }
        slashes = 0;
    }
    quoted += QString(slashes * 2, u'\\');
    quoted += u'"';
    return quoted;
}

bool ExecuteProgramCloseProcess(const QString& program, const QString& arguments, int mode)
{
    const pid_t pid = Spawn(program, arguments, mode != 1);
    if (pid < 0)
        return false;
    WaitForProgram(pid);
    return true;
}

pid_t ExecuteProgramHandle(const QString& program, const QString& arguments, int bDetached)
{
    return Spawn(program, arguments, bDetached != 0);
}

int WaitForProgram(pid_t pid)
{
    int status = 0;
    pid_t waited;
    do {
        waited = waitpid(pid, &status, 0);
    } while (waited < 0 && errno == EINTR);
    if (waited < 0)
        return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
