// The time to move a playing song to another output device (waveOutSwitchDevice through the
// engine's SetOutputDevice): from the call until the new device holds the sound not heard yet.
// Runs against a private PulseAudio server with a null sink, switching between ALSA's "pulse" and
// "default" (both reach that server), so it measures our device layer plus a sound server's
// stream set-up, as a listener picking a device would meet it.
//
// Counter: "switch_ms" = mean wall time of one switch.

#include <QCoreApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
#include <benchmark/benchmark.h>
#include <chrono>

#include "audio/CAudioPlayer.h"
#include "audio/WaveOut.h"

namespace {

class PrivatePulseServer
{
public:
    PrivatePulseServer()
    {
        m_environment = QProcessEnvironment::systemEnvironment();
        m_environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_folder.path());
        m_environment.insert(QStringLiteral("HOME"), m_folder.path());
        const QString address = QStringLiteral("unix:") + m_folder.path() + QStringLiteral("/pulse/native");
        m_environment.insert(QStringLiteral("PULSE_SERVER"), address);
        qputenv("PULSE_SERVER", address.toUtf8());
        m_bStarted = Run(QStringLiteral("pulseaudio"),
                         {QStringLiteral("-D"), QStringLiteral("-n"), QStringLiteral("--exit-idle-time=-1"),
                          QStringLiteral("--load=module-null-sink sink_name=nullsink rate=44100 channels=2"),
                          QStringLiteral("--load=module-native-protocol-unix auth-anonymous=1")});
        for (int i = 0; m_bStarted && i < 100 && !Run(QStringLiteral("pactl"), {QStringLiteral("info")}); ++i)
            QThread::msleep(50);
    }
    ~PrivatePulseServer() { Run(QStringLiteral("pulseaudio"), {QStringLiteral("--kill")}); }
    bool Started() const { return m_bStarted; }

private:
    bool Run(const QString& program, const QStringList& arguments) const
    {
        QProcess process;
        process.setProcessEnvironment(m_environment);
        process.start(program, arguments);
        return process.waitForFinished(10000) && process.exitStatus() == QProcess::NormalExit &&
               process.exitCode() == 0;
    }

    QTemporaryDir m_folder;
    QProcessEnvironment m_environment;
    bool m_bStarted = false;
};

QString MakeSong(const QTemporaryDir& folder)
{
    const QString path = folder.filePath(QStringLiteral("song.wav"));
    QProcess::execute(QStringLiteral("ffmpeg"),
                      {QStringLiteral("-nostdin"), QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-f"),
                       QStringLiteral("lavfi"), QStringLiteral("-i"),
                       QStringLiteral("sine=frequency=440:duration=600,aformat=channel_layouts=stereo"),
                       QStringLiteral("-ar"), QStringLiteral("44100"), path});
    return path;
}

void BM_SwitchDeviceWhilePlaying(benchmark::State& state)
{
    PrivatePulseServer server;
    if (!server.Started()) {
        state.SkipWithError("no private PulseAudio server (pulseaudio not installed?)");
        return;
    }
    QTemporaryDir folder;
    const QString song = MakeSong(folder);
    WaveMapperOptions options;
    options.strAlsaDevice = "pulse";
    SetWaveMapper(options);
    CAudioPlayer player;
    if (player.Init() != S_OK || player.Open(song.toUtf8().constData()) != S_OK || player.Play(0) != S_OK) {
        state.SkipWithError(player.m_szError);
        return;
    }
    QThread::msleep(500);
    const char* const devices[2] = {"default", "pulse"};
    double total = 0;
    int switches = 0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        const HRESULT hr = player.SetOutputDevice(devices[switches % 2]);
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        if (FAILED(hr)) {
            state.SkipWithError(player.m_szError);
            break;
        }
        state.SetIterationTime(took.count());
        total += took.count();
        ++switches;
        // Let the new stream start before the next switch, as a listener would.
        QThread::msleep(200);
    }
    player.Stop();
    if (switches > 0)
        state.counters["switch_ms"] = 1000.0 * total / switches;
}
BENCHMARK(BM_SwitchDeviceWhilePlaying)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(20);

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
