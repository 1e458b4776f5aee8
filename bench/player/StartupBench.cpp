// Start-up. Targets: CMediaPlayerCtrl::Init under 20 ms (median), and tunivox-demo from exec to the
// first sound heard under 300 ms, started the way a listener starts it the first time (no saved
// session: it loads its demo playlist and plays it).
//
// BM_Init times Init of a control placed in a host's layout, as the demo places it; the counter
// "first_ms" is the first Init of the process, which also pays for what Qt sets up once.
// BM_DemoFirstSound starts tunivox-demo (next to this program) with --device null --print-first-sound
// and settings folders of its own, and times from just before the exec to the moment the demo reports
// that the first block came back from the device (the null device hands a block of 512 frames,
// 11.6 ms, back once it has "played" it). "main_ms" is the part from main() on.
//
// Run on a display, on a session bus as a desktop has one:
//   QT_QPA_PLATFORM=xcb xvfb-run -a dbus-run-session build/default/bin/startup_bench
#include <QApplication>
#include <QDir>
#include <QTemporaryDir>
#include <QVBoxLayout>
#include <QWidget>
#include <benchmark/benchmark.h>
#include <chrono>
#include <memory>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "platform/Folders.h"
#include "player/CMediaPlayerCtrl.h"

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

double Milliseconds(Clock::duration d) { return std::chrono::duration<double, std::milli>(d).count(); }

struct ControlHost
{
    QWidget host;
    CMediaPlayerCtrl* ctrl;
    ControlHost()
    {
        auto* layout = new QVBoxLayout(&host);
        ctrl = new CMediaPlayerCtrl(&host);
        layout->addWidget(ctrl);
        host.resize(600, 400);
    }
};

double TimeOneInit()
{
    ControlHost host;
    const Clock::time_point start = Clock::now();
    host.ctrl->Init();
    return Milliseconds(Clock::now() - start);
}

double g_firstInitMs = 0;

void BM_Init(benchmark::State& state)
{
    for (auto _ : state) {
        state.PauseTiming();
        ControlHost host;
        state.ResumeTiming();
        const Clock::time_point start = Clock::now();
        host.ctrl->Init();
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
    }
    state.counters["first_ms"] = g_firstInitMs;
}
BENCHMARK(BM_Init)->Iterations(1)->Repetitions(15)->UseManualTime()->ReportAggregatesOnly(true)
    ->Unit(benchmark::kMillisecond);

struct DemoRun
{
    double dFirstSoundMs = -1; // exec to the first sound
    double dMainMs = -1;       // main() to the first sound
};

// Starts the demo as a first-time user would, waits (at most 15 s) for its report, then ends it.
DemoRun RunDemo(const std::string& program)
{
    DemoRun run;
    QTemporaryDir config;
    QTemporaryDir runtime;
    QFile::setPermissions(runtime.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    std::vector<std::string> env;
    for (char** e = environ; *e; ++e) {
        const std::string entry = *e;
        if (entry.rfind("XDG_CONFIG_HOME=", 0) != 0 && entry.rfind("XDG_RUNTIME_DIR=", 0) != 0)
            env.push_back(entry);
    }
    env.push_back("XDG_CONFIG_HOME=" + config.path().toStdString());
    env.push_back("XDG_RUNTIME_DIR=" + runtime.path().toStdString());
    std::vector<char*> envp;
    for (std::string& entry : env)
        envp.push_back(entry.data());
    envp.push_back(nullptr);
    std::string a0 = program, a1 = "--device", a2 = "null", a3 = "--print-first-sound";
    char* argv[] = {a0.data(), a1.data(), a2.data(), a3.data(), nullptr};

    int pipeFds[2];
    if (pipe(pipeFds) != 0)
        return run;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeFds[1], STDERR_FILENO);
    posix_spawn_file_actions_addclose(&actions, pipeFds[0]);
    pid_t pid = 0;
    const Clock::time_point exec = Clock::now();
    const int spawned = posix_spawn(&pid, program.c_str(), &actions, nullptr, argv, envp.data());
    posix_spawn_file_actions_destroy(&actions);
    close(pipeFds[1]);
    if (spawned != 0) {
        close(pipeFds[0]);
        return run;
    }
    std::string text;
    const Clock::time_point deadline = exec + std::chrono::seconds(15);
    while (Clock::now() < deadline) {
        pollfd fd{pipeFds[0], POLLIN, 0};
        if (poll(&fd, 1, 100) <= 0)
            continue;
        char buffer[512];
        const ssize_t n = read(pipeFds[0], buffer, sizeof(buffer));
        if (n <= 0)
            break;
        text.append(buffer, static_cast<std::size_t>(n));
        const std::size_t at = text.find("first sound ");
        const std::size_t clock = text.find(" ms on the monotonic clock");
        if (at == std::string::npos || clock == std::string::npos)
            continue;
        run.dMainMs = std::stod(text.substr(at + 12));
        const std::size_t value = text.rfind("at ", clock);
        const double soundMs = std::stod(text.substr(value + 3));
        run.dFirstSoundMs = soundMs - Milliseconds(exec.time_since_epoch());
        break;
    }
    close(pipeFds[0]);
    kill(pid, SIGTERM);
    waitpid(pid, nullptr, 0);
    return run;
}

void BM_DemoFirstSound(benchmark::State& state)
{
    const std::string program = (QCoreApplication::applicationDirPath() + QStringLiteral("/tunivox-demo")).toStdString();
    double mainMs = 0;
    for (auto _ : state) {
        const DemoRun run = RunDemo(program);
        if (run.dFirstSoundMs < 0) {
            state.SkipWithError("the demo reported no first sound within 15 s");
            break;
        }
        state.SetIterationTime(run.dFirstSoundMs / 1000.0);
        mainMs = run.dMainMs;
    }
    state.counters["main_ms"] = mainMs;
}
BENCHMARK(BM_DemoFirstSound)->Iterations(1)->Repetitions(9)->UseManualTime()->ReportAggregatesOnly(true)
    ->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    // Init reads and may write the library's settings: keep the user's own out of it.
    QTemporaryDir settings;
    SetUserConfigFolderOverride(settings.path());
    SetPrivateTempFolderOverride(settings.path() + QStringLiteral("/tmp"));
    g_firstInitMs = TimeOneInit();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
