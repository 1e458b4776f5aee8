// The gap between songs: one 440 Hz sine cut into three WAV songs (about 2.5 s each, cut off every
// block boundary), played through the control on the null device at real time, with gapless
// playback off (the end of a song is found by the 950 ms timer) and on.
//
// Counters, in samples at 44.1 kHz:
//   "silence_samples"        time without sound between the first and the last block, both joins
//                            together (the time they took less the sound they held: the null device
//                            paces by its clock and restarts it only after running dry);
//   "discontinuity_samples"  samples of the sine missing at the joins, both joins together.
// Goal with the option on: 0 and 0.
#include <QApplication>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>
#include <QWidget>
#include <atomic>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cmath>
#include <thread>
#include <vector>

#include "audio/CAudioPlayer.h"
#include "audio/WaveOut.h"
#include "platform/Folders.h"
#include "player/CMediaPlayerCtrl.h"
#include "song/CMp3Song.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kCuts[] = {110251, 110333, 110417};
constexpr int kBlockFrames = 512;

QTemporaryDir& Folder()
{
    static QTemporaryDir folder;
    return folder;
}

std::vector<qint16> Sine()
{
    int total = 0;
    for (int cut : kCuts)
        total += cut;
    std::vector<qint16> pcm(static_cast<std::size_t>(total) * 2);
    for (int i = 0; i < total; ++i)
        pcm[2 * i] = pcm[2 * i + 1] = static_cast<qint16>(0.5 * 32767 * std::sin(2 * M_PI * 440.0 * i / 44100.0));
    return pcm;
}

void WriteWav(const QString& path, const qint16* frames, int count)
{
    const quint32 bytes = static_cast<quint32>(count) * 4;
    QByteArray header("RIFF");
    auto put32 = [&](quint32 v) { header.append(reinterpret_cast<const char*>(&v), 4); };
    auto put16 = [&](quint16 v) { header.append(reinterpret_cast<const char*>(&v), 2); };
    put32(36 + bytes);
    header.append("WAVEfmt ");
    put32(16);
    put16(1);
    put16(2);
    put32(44100);
    put32(176400);
    put16(4);
    put16(16);
    header.append("data");
    put32(bytes);
    QFile file(path);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(header);
        file.write(reinterpret_cast<const char*>(frames), bytes);
    }
}

QStringList Songs(const std::vector<qint16>& sine)
{
    QStringList paths;
    int start = 0;
    for (int part = 0; part < 3; ++part) {
        paths << Folder().filePath(QStringLiteral("cut-%1.wav").arg(part + 1));
        if (!QFile::exists(paths.last()))
            WriteWav(paths.last(), sine.data() + 2 * start, kCuts[part]);
        start += kCuts[part];
    }
    return paths;
}

// Frames of `sine` skipped where `played` jumps ahead in it (a dropped part-block is < 512 frames).
long long MissingFrames(const std::vector<qint16>& sine, const std::vector<BYTE>& bytes)
{
    const auto* played = reinterpret_cast<const qint16*>(bytes.data());
    const long long frames = static_cast<long long>(bytes.size() / 4);
    const long long total = static_cast<long long>(sine.size() / 2);
    long long missing = 0;
    for (long long i = 0; i < frames && i + missing < total; ++i) {
        if (played[2 * i] == sine[2 * (i + missing)])
            continue;
        long long skip = 1;
        for (; skip < 4 * kBlockFrames && i + missing + skip + 64 < total; ++skip) {
            bool same = true;
            for (long long k = 0; k < 64 && i + k < frames && same; ++k)
                same = played[2 * (i + k)] == sine[2 * (i + missing + skip + k)];
            if (same)
                break;
        }
        missing += skip;
    }
    return missing;
}

void BM_GapBetweenSongs(benchmark::State& state)
{
    const bool gapless = state.range(0) != 0;
    const std::vector<qint16> sine = Sine();
    const QStringList songs = Songs(sine);
    for (auto _ : state) {
        auto capture = std::make_shared<CWaveMemoryCapture>();
        WaveMapperOptions options;
        options.eBackend = WaveBackend::Null;
        options.null.pCapture = capture;
        SetWaveMapper(options);

        QWidget host;
        auto* ctrl = new CMediaPlayerCtrl(&host);
        ctrl->Init();
        ctrl->ClearPlayList();
        for (const QString& path : songs) {
            CMp3Song song;
            song.m_strFilePath = path;
            song.m_strAux2 = path.section(QLatin1Char('/'), -1);
            ctrl->addFile(song, 0);
        }
        ctrl->SetGapless(gapless ? 1 : 0);
        int started = 0;
        QObject::connect(ctrl, &CMediaPlayerCtrl::songStarted, ctrl, [&] { ++started; });

        // When the first and the last block came back.
        std::atomic<bool> sampling{true};
        Clock::time_point first{};
        Clock::time_point last{};
        std::size_t firstSize = 0;
        std::size_t lastSize = 0;
        std::thread sampler([&] {
            while (sampling) {
                const std::size_t now = capture->Size();
                if (now != lastSize) {
                    last = Clock::now();
                    if (lastSize == 0) {
                        first = last;
                        firstSize = now;
                    }
                    lastSize = now;
                }
                std::this_thread::sleep_for(std::chrono::microseconds(250));
            }
        });
        ctrl->PlayStart(songs.first().toUtf8().constData());
        const Clock::time_point limit = Clock::now() + std::chrono::seconds(30);
        while (Clock::now() < limit && (started < 3 || ctrl->GetAudioPlayer()->m_bPlaying)) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
            QThread::msleep(1);
        }
        sampling = false;
        sampler.join();
        if (started < 3)
            state.SkipWithError("the three songs did not play");
        const double heardSeconds = static_cast<double>(lastSize - firstSize) / 176400;
        const double silence = std::chrono::duration<double>(last - first).count() - heardSeconds;
        state.counters["silence_samples"] = std::max(0.0, silence) * 44100;
        state.counters["discontinuity_samples"] = static_cast<double>(MissingFrames(sine, capture->Bytes()));
        delete ctrl;
    }
    SetWaveMapper(WaveMapperOptions());
}
BENCHMARK(BM_GapBetweenSongs)->ArgName("gapless")->Arg(0)->Arg(1)->Iterations(1)->Unit(benchmark::kSecond);

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    // The control keeps its options in the user's settings: not this user's.
    SetUserConfigFolderOverride(Folder().filePath(QStringLiteral("config")));
    SetPrivateTempFolderOverride(Folder().filePath(QStringLiteral("temp")));
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
