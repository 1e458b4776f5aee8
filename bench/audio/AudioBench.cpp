// Engine benchmarks: decode throughput against the ffmpeg tool, CPU cost of real-time playback and
// the latency of Play and of a seek. Three-minute test songs are made once per run with ffmpeg.
//
// Counters: "x_per_cpu" = seconds of audio per CPU second (engine in this process, ffmpeg in its
// child), "cpu_percent" = share of one core during real-time playback, latencies in milliseconds.

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>
#include <chrono>
#include <ctime>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>

#include "audio/CAudioPlayer.h"
#include "audio/WaveOut.h"

extern char** environ;

namespace {

constexpr double kSongSeconds = 180.0;

struct Song
{
    const char* name;
    const char* extension;
    QStringList codec;
};

const Song kSongs[] = {
    {"mp3_192k", ".mp3", {"-c:a", "libmp3lame", "-b:a", "192k"}},
    {"flac", ".flac", {"-c:a", "flac"}},
    {"aac_m4a", ".m4a", {"-c:a", "aac", "-b:a", "192k"}},
    {"vorbis_ogg", ".ogg", {"-c:a", "libvorbis", "-q:a", "5"}},
};

QTemporaryDir& SongFolder()
{
    static QTemporaryDir folder;
    return folder;
}

QString SongPath(const Song& song)
{
    const QString path = SongFolder().filePath(QString::fromUtf8(song.name) + QString::fromUtf8(song.extension));
    if (!QFile::exists(path)) {
        QStringList arguments{"-nostdin", "-v", "error", "-f", "lavfi", "-i",
                              "sine=frequency=440:duration=180,aformat=channel_layouts=stereo", "-f", "lavfi", "-i",
                              "anoisesrc=d=180:a=0.1", "-filter_complex", "amix=inputs=2", "-ar", "44100"};
        arguments << song.codec << path;
        QProcess::execute(QStringLiteral("ffmpeg"), arguments);
    }
    return path;
}

double ProcessCpuSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return now.tv_sec + now.tv_nsec / 1e9;
}

double ChildrenCpuSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return usage.ru_utime.tv_sec + usage.ru_utime.tv_usec / 1e6 + usage.ru_stime.tv_sec + usage.ru_stime.tv_usec / 1e6;
}

void UseNullDevice(bool untimed, double speed)
{
    WaveMapperOptions options;
    options.eBackend = WaveBackend::Null;
    options.null.bUntimed = untimed;
    options.null.dSpeed = speed;
    SetWaveMapper(options);
}

void WaitWhilePlaying(CAudioPlayer& player)
{
    while (player.m_bPlaying)
        std::this_thread::sleep_for(std::chrono::microseconds(200));
}

void BM_EngineDecode(benchmark::State& state, const Song& song)
{
    const QByteArray path = SongPath(song).toUtf8();
    UseNullDevice(true, 1.0);
    CAudioPlayer player;
    player.Init();
    if (FAILED(player.Open(path.constData()))) {
        state.SkipWithError(player.m_szError);
        return;
    }
    double cpu = 0;
    for (auto _ : state) {
        const double before = ProcessCpuSeconds();
        player.Play(0);
        WaitWhilePlaying(player);
        cpu += ProcessCpuSeconds() - before;
        player.Stop();
    }
    state.counters["x_per_cpu"] = kSongSeconds * static_cast<double>(state.iterations()) / cpu;
}

void BM_FfmpegTool(benchmark::State& state, const Song& song)
{
    const QByteArray path = SongPath(song).toUtf8();
    double cpu = 0;
    for (auto _ : state) {
        const char* argv[] = {"ffmpeg", "-nostdin", "-v", "error", "-threads", "1", "-i", path.constData(), "-f",
                              "s16le", "-ar", "44100", "-ac", "2", "-y", "/dev/null", nullptr};
        const double before = ChildrenCpuSeconds();
        pid_t pid = -1;
        if (posix_spawnp(&pid, "ffmpeg", nullptr, nullptr, const_cast<char**>(argv), environ) != 0) {
            state.SkipWithError("ffmpeg did not start");
            return;
        }
        int status = 0;
        waitpid(pid, &status, 0);
        cpu += ChildrenCpuSeconds() - before;
    }
    state.counters["x_per_cpu"] = kSongSeconds * static_cast<double>(state.iterations()) / cpu;
}

// Real-time playback of the MP3 on the null device, measured over ten seconds.
void BM_RealTimePlaybackCpu(benchmark::State& state)
{
    const QByteArray path = SongPath(kSongs[0]).toUtf8();
    UseNullDevice(false, 1.0);
    CAudioPlayer player;
    player.Init();
    player.Open(path.constData());
    for (auto _ : state) {
        player.Play(0);
        std::this_thread::sleep_for(std::chrono::seconds(2)); // past the pre-buffering burst
        const double before = ProcessCpuSeconds();
        const auto wallStart = std::chrono::steady_clock::now();
        std::this_thread::sleep_for(std::chrono::seconds(10));
        const double wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - wallStart).count();
        state.counters["cpu_percent"] = 100.0 * (ProcessCpuSeconds() - before) / wall;
        player.Stop();
    }
}

void BM_PlayLatency(benchmark::State& state)
{
    const QByteArray path = SongPath(kSongs[0]).toUtf8();
    UseNullDevice(false, 1.0);
    CAudioPlayer player;
    player.Init();
    player.Open(path.constData());
    double total = 0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        player.Play(0);
        for (;;) {
            std::lock_guard<std::mutex> guard(player.m_csLock);
            if (player.m_nFreeBlocks < player.m_nBlockCount && player.m_pBlocks &&
                (reinterpret_cast<WAVEHDR*>(player.m_pBlocks)->dwFlags & WHDR_INQUEUE))
                break;
        }
        total += std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
        state.PauseTiming();
        player.Stop();
        state.ResumeTiming();
    }
    state.counters["ms"] = total / static_cast<double>(state.iterations());
}

// Play while playing, until the position is at the target: a block of the new place was heard.
void BM_SeekLatency(benchmark::State& state)
{
    const QByteArray path = SongPath(kSongs[0]).toUtf8();
    UseNullDevice(false, 100.0);
    CAudioPlayer player;
    player.Init();
    player.Open(path.constData());
    player.Play(0);
    double total = 0;
    QWORD target = 300000000;
    for (auto _ : state) {
        if (!player.m_bPlaying)
            player.Play(0);
        target = target == 300000000 ? 1200000000 : 300000000;
        const auto start = std::chrono::steady_clock::now();
        player.Play(target);
        for (;;) {
            const QWORD position = player.GetCurrentTime();
            if (position >= target && position < target + 50000000)
                break;
            std::this_thread::sleep_for(std::chrono::microseconds(50));
        }
        total += std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    }
    player.Stop();
    state.counters["ms"] = total / static_cast<double>(state.iterations());
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    for (const Song& song : kSongs) {
        benchmark::RegisterBenchmark((std::string("EngineDecode/") + song.name).c_str(), BM_EngineDecode, song)
            ->Unit(benchmark::kMillisecond)->UseRealTime();
        benchmark::RegisterBenchmark((std::string("FfmpegTool/") + song.name).c_str(), BM_FfmpegTool, song)
            ->Unit(benchmark::kMillisecond)->UseRealTime();
    }
    benchmark::RegisterBenchmark("RealTimePlaybackCpu/mp3_192k", BM_RealTimePlaybackCpu)
        ->Iterations(1)->Unit(benchmark::kSecond)->UseRealTime();
    benchmark::RegisterBenchmark("PlayLatency", BM_PlayLatency)->Iterations(20)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("SeekLatency", BM_SeekLatency)->Iterations(50)->Unit(benchmark::kMillisecond);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
