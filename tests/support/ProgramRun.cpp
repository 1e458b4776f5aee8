#include "support/ProgramRun.h"

#include <QElapsedTimer>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace tunivox::test {

ProgramResult RunProgram(const QString& program, const QStringList& arguments, int timeoutMs)
{
    ProgramResult result;
    int out[2];
    int err[2];
    if (pipe2(out, O_CLOEXEC) != 0)
        return result;
    if (pipe2(err, O_CLOEXEC) != 0) {
        close(out[0]);
        close(out[1]);
        return result;
    }
    std::vector<QByteArray> words{program.toLocal8Bit()};
    for (const QString& argument : arguments)
        words.push_back(argument.toLocal8Bit());
    std::vector<char*> argv;
    for (QByteArray& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, out[1], 1);
    posix_spawn_file_actions_adddup2(&actions, err[1], 2);
    pid_t pid = -1;
    const int spawned = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(out[1]);
    close(err[1]);

    QElapsedTimer timer;
    timer.start();
    pollfd fds[2] = {{out[0], POLLIN, 0}, {err[0], POLLIN, 0}};
    QByteArray* sinks[2] = {&result.output, &result.errors};
    int open = spawned == 0 ? 2 : 0;
    while (open > 0 && timer.elapsed() < timeoutMs) {
        if (poll(fds, 2, 100) < 0 && errno != EINTR)
            break;
        for (int i = 0; i < 2; ++i) {
            if (fds[i].fd < 0 || !(fds[i].revents & (POLLIN | POLLHUP | POLLERR)))
                continue;
            char buffer[65536];
            const ssize_t got = read(fds[i].fd, buffer, sizeof buffer);
            if (got > 0) {
                sinks[i]->append(buffer, got);
            } else if (got == 0 || errno != EINTR) {
                fds[i].fd = -1;
                --open;
            }
        }
    }
    close(out[0]);
    close(err[0]);
    if (spawned != 0)
        return result;
    if (open > 0)
        kill(pid, SIGKILL);
    int status = 0;
    if (waitpid(pid, &status, 0) == pid && open == 0 && WIFEXITED(status)) {
        result.bFinished = true;
        result.nExitCode = WEXITSTATUS(status);
    }
    return result;
}

} // namespace tunivox::test
