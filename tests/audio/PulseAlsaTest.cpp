// Real audio output: the engine through ALSA into a private sound server's null sink (PulseAudio,
// and PipeWire through its PulseAudio protocol, as desktops run it), recorded from its
// monitor and lined up with what was played: every sample present, in order, none repeated, and the
// song ends when its last sample has been heard. Some cases load every core on purpose, as a host
// scanning and writing files does while it plays. These run in real time, so there are few.
#include <QElapsedTimer>
#include <QProcess>
#include <QThread>
#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

#include "AudioTestSupport.h"
#include "support/PulseTestSupport.h"
#include "support/ProgramRun.h"
#include "support/SoundServer.h"
#include "support/TestFolders.h"

using namespace tunivox::test;

namespace {

constexpr int kRate = 44100;
constexpr int kFrameBytes = 4;
constexpr QWORD kUnitsPerSecond = 10000000;

// Busy threads, eight on every core, until the scope ends or its time runs out.
class ScopedCpuLoad
{
public:
    explicit ScopedCpuLoad(int seconds)
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
        const unsigned count = 8 * std::max(1u, std::thread::hardware_concurrency());
        for (unsigned i = 0; i < count; ++i)
            m_threads.emplace_back([this, deadline] {
                volatile unsigned spin = 0;
                while (!m_bStop.load(std::memory_order_relaxed) && std::chrono::steady_clock::now() < deadline)
                    for (int k = 0; k < 100000; ++k)
                        spin = spin + 1;
            });
    }
    ~ScopedCpuLoad()
    {
        m_bStop = true;
        for (std::thread& thread : m_threads)
            thread.join();
    }

private:
    std::atomic<bool> m_bStop{false};
    std::vector<std::thread> m_threads;
};

class PulseAlsa : public ::testing::Test
{
protected:
    void StartServer(SoundServerKind kind)
    {
        m_server.reset(); // first: it gives back the environment it changed
        m_server = std::make_unique<ScopedSoundServer>(kind);
        ASSERT_TRUE(m_server->Started()) << SoundServerName(kind) << ": " << m_server->ErrorText().toStdString();
    }

    std::unique_ptr<ScopedSoundServer> m_server;
    ScopedTempFolder m_folder;
};

// The recording itself loses nothing, even with every core busy: aplay's sound comes back whole.
// On every server.
TEST_F(PulseAlsa, HarnessHearsAplayWholeUnderLoad)
{
    const QByteArray pattern = Pattern(3 * kRate);
    const QString wav = m_folder.WriteFile(QStringLiteral("pattern.wav"), Wav(pattern));
    ScopedCpuLoad load(60);
    for (SoundServerKind kind : {SoundServerKind::PulseAudio, SoundServerKind::PipeWireAt44k}) {
        StartServer(kind);
        SCOPED_TRACE(SoundServerName(kind));
        ASSERT_TRUE(m_server->StartCapture());
        QProcess aplay;
        aplay.start(QStringLiteral("aplay"), {QStringLiteral("-q"), QStringLiteral("-D"), QStringLiteral("pulse"), wav});
        ASSERT_TRUE(aplay.waitForFinished(20000));
        EXPECT_EQ(aplay.exitCode(), 0) << aplay.readAllStandardError().toStdString();
        QThread::msleep(300);
        const QList<QByteArray> runs = SoundRuns(m_server->StopCapture());
        ASSERT_EQ(runs.size(), 1);
        EXPECT_TRUE(runs[0] == pattern);
    }
}

enum class Action { None, PauseResume, Seek };

struct DeliveryRow
{
    const char* name;
    SoundServerKind server;
    const char* device;
    bool bLoaded;
    Action action;
    DWORD dwHandBackMs = 0;
};

void PrintTo(const DeliveryRow& row, std::ostream* out)
{
    *out << row.name;
}

class PulseAlsaDelivery : public PulseAlsa, public ::testing::WithParamInterface<DeliveryRow>
{
protected:
    void SetUp() override { StartServer(GetParam().server); }
};

// A song through the engine arrives whole: at the start, across a pause and a seek, with the
// machine idle and loaded. The device reports no underrun and starts one stream per play or seek,
// the position it reports at a pause is what the listener has heard, also when the device hands
// blocks back in bursts, and the song ends once its last sample has been heard, whatever the
// server makes of the stream running dry.
TEST_P(PulseAlsaDelivery, EverySampleArrivesInOrderOnce)
{
    const DeliveryRow& row = GetParam();
    const int seconds = 7;
    const QByteArray pattern = Pattern(seconds * kRate);
    const QString wav = m_folder.WriteFile(QStringLiteral("pattern.wav"), Wav(pattern));
    const WaveMapperOptions previous = GetWaveMapper();
    WaveMapperOptions options;
    options.strAlsaDevice = row.device;
    SetWaveMapper(options);
    std::unique_ptr<ScopedCpuLoad> load;
    if (row.bLoaded)
        load = std::make_unique<ScopedCpuLoad>(40);

    ASSERT_TRUE(m_server->StartCapture());
    CAudioPlayer player;
    player.SetHandBackInterval(row.dwHandBackMs);
    InitAndOpen(player, wav);
    ASSERT_EQ(player.Play(0), S_OK) << player.m_szError;
    WaveOutStatistics statistics;
    auto sample = [&] {
        waveOutGetStatistics(player.m_hWaveOut, &statistics);
        return true;
    };

    QWORD pausedAt = 0;
    const QWORD seekTo = 5 * kUnitsPerSecond;
    if (row.action != Action::None) {
        ASSERT_TRUE(WaitUntil([&] { return sample() && player.GetCurrentTime() >= 2 * kUnitsPerSecond; }, 8000));
        if (row.action == Action::PauseResume) {
            ASSERT_EQ(player.Pause(), S_OK);
            ASSERT_TRUE(WaitUntil([&] { return player.m_bPaused.load(); }, 2000));
            QThread::msleep(300);
            pausedAt = player.GetCurrentTime();
            QThread::msleep(400);
            EXPECT_EQ(player.GetCurrentTime(), pausedAt) << "the position stands still while paused";
            ASSERT_EQ(player.Resume(), S_OK);
        } else {
            ASSERT_EQ(player.Play(seekTo), S_OK);
        }
    }
    QElapsedTimer sinceStart;
    sinceStart.start();
    EXPECT_TRUE(WaitUntil([&] { return sample() && !player.m_bPlaying; }, 20000));
    EXPECT_EQ(player.m_hrThread, NS_E_NO_MORE_SAMPLES);
    QElapsedTimer stopping;
    stopping.start();
    EXPECT_EQ(player.Stop(), S_OK);
    EXPECT_LT(stopping.elapsed(), 1500) << "stopping after the end waits for nothing the server holds";
    QThread::msleep(300);
    const QList<QByteArray> runs = SoundRuns(m_server->StopCapture());
    SetWaveMapper(previous);
    ASSERT_FALSE(runs.isEmpty()) << "nothing was heard";

    const QByteArray played = pattern.left(pattern.size() - pattern.size() % kBlockBytes);
    const QByteArray sound = runs.join();
    EXPECT_EQ(statistics.nUnderruns, 0u);
    EXPECT_EQ(statistics.nStreamStarts, row.action == Action::Seek ? 2u : 1u);
    switch (row.action) {
    case Action::None:
        EXPECT_EQ(runs.size(), 1) << Describe(runs);
        EXPECT_TRUE(sound == played) << "first difference at frame " << CommonPrefix(sound, played) / kFrameBytes;
        break;
    case Action::PauseResume: {
        EXPECT_EQ(runs.size(), 2) << "one pause, no other gap; " << Describe(runs);
        EXPECT_TRUE(sound == played) << "first difference at frame " << CommonPrefix(sound, played) / kFrameBytes;
        // The position counts whole blocks heard: about one block behind the sound, never ahead.
        // The monitor records what the sink rendered, a little ahead of what the server reports
        // played, and that report is interpolated between timing updates: idle this slack is a
        // millisecond or two, on a loaded machine it has reached 21 ms.
        const qsizetype heard = runs[0].size() / kFrameBytes;
        const auto position = static_cast<qsizetype>(pausedAt * kRate / kUnitsPerSecond);
        constexpr qsizetype kReportSlack = kRate / 20;
        EXPECT_LE(position, heard) << FramesToMs(position - heard) << " ms ahead of the sound";
        EXPECT_LE(heard - position, kBlockBytes / kFrameBytes + kReportSlack) << "heard " << heard << ", position " << position << ": "
            << FramesToMs(heard - position) << " ms behind the sound";
        break;
    }
    case Action::Seek: {
        // The song up to the seek, then the song from the seek target to its end.
        const qsizetype before = CommonPrefix(sound, played);
        const QByteArray after = sound.mid(before);
        const qsizetype target = static_cast<qsizetype>(seekTo * kRate / kUnitsPerSecond) * kFrameBytes;
        ASSERT_GE(after.size(), 4096);
        const qsizetype resumed = pattern.indexOf(after.left(4096));
        EXPECT_EQ(resumed, target) << "resumed at frame " << resumed / kFrameBytes;
        const qsizetype rest = pattern.size() - target;
        EXPECT_TRUE(after == pattern.mid(target, rest - rest % kBlockBytes)) << "the rest is whole, once";
        EXPECT_LE(runs.size(), 2) << Describe(runs);
        break;
    }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Rows, PulseAlsaDelivery,
    ::testing::Values(DeliveryRow{"PulseAudioStartIdle", SoundServerKind::PulseAudio, "pulse", false, Action::None},
                      DeliveryRow{"PulseAudioPauseResumeLoaded", SoundServerKind::PulseAudio, "pulse", true, Action::PauseResume},
                      DeliveryRow{"PulseAudioSeekLoaded", SoundServerKind::PulseAudio, "pulse", true, Action::Seek},
                      DeliveryRow{"PulseAudioPauseResumeInBursts", SoundServerKind::PulseAudio, "pulse", false, Action::PauseResume, 200},
                      DeliveryRow{"PipeWireStartLoaded", SoundServerKind::PipeWireAt44k, "pulse", true, Action::None},
                      // Idle: under load PipeWire's played report runs up to a block ahead of its monitor.
                      DeliveryRow{"PipeWirePauseResume", SoundServerKind::PipeWireAt44k, "pulse", false, Action::PauseResume},
                      DeliveryRow{"PipeWireSeekLoaded", SoundServerKind::PipeWireAt44k, "pulse", true, Action::Seek},
                      DeliveryRow{"PipeWirePauseResumeInBursts", SoundServerKind::PipeWireAt44k, "pulse", false, Action::PauseResume, 200}),
    [](const ::testing::TestParamInfo<DeliveryRow>& info) { return std::string(info.param.name); });

// A compressed song decodes through the same path: the sink gets exactly ffmpeg's decode.
TEST_F(PulseAlsa, EngineOutputIsTheFfmpegDecode)
{
    StartServer(SoundServerKind::PulseAudio);
    const QString path = FixturePath("chord-44k-stereo.flac");
    const QByteArray reference = ReferencePcm(path);
    const WaveMapperOptions previous = GetWaveMapper();
    WaveMapperOptions options;
    options.strAlsaDevice = "pulse";
    SetWaveMapper(options);
    ASSERT_TRUE(m_server->StartCapture());
    CAudioPlayer player;
    InitAndOpen(player, path);
    ASSERT_EQ(player.Play(0), S_OK) << player.m_szError;
    EXPECT_TRUE(WaitUntil([&] { return !player.m_bPlaying; }, 10000));
    EXPECT_EQ(player.Stop(), S_OK);
    QThread::msleep(200);
    const QByteArray captured = m_server->StopCapture();
    SetWaveMapper(previous);

    const QByteArray expected = reference.left(reference.size() - reference.size() % kBlockBytes);
    const qsizetype start = captured.indexOf(expected.left(4096));
    ASSERT_GE(start, 0);
    EXPECT_TRUE(captured.mid(start, expected.size()) == expected);
}

// The command-line player ends when the song has been heard, on every server, also where the server
// resamples (PipeWire at its desktop rate) and never reports the stream played out.
TEST_F(PulseAlsa, PlayToolEndsWithTheSong)
{
    const int seconds = 3;
    const QString wav = m_folder.WriteFile(QStringLiteral("pattern.wav"), Wav(Pattern(seconds * kRate)));
    for (SoundServerKind kind : {SoundServerKind::PulseAudio, SoundServerKind::PipeWire}) {
        SCOPED_TRACE(SoundServerName(kind));
        StartServer(kind);
        ASSERT_TRUE(m_server->StartCapture());
        const QStringList device{QStringLiteral("--alsa-device"), QStringLiteral("pulse")};
        QElapsedTimer timer;
        timer.start();
        const ProgramResult run = RunProgram(QStringLiteral(TUNIVOX_BINARY_DIR "/bin/tunivox-play"), device + QStringList{wav},
                                             (seconds + 10) * 1000);
        EXPECT_TRUE(run.bFinished) << "still playing " << timer.elapsed() << " ms after the start";
        EXPECT_EQ(run.nExitCode, 0) << run.errors.toStdString();
        EXPECT_LT(timer.elapsed(), (seconds + 3) * 1000);
        const QList<QByteArray> runs = SoundRuns(m_server->StopCapture(), kRate / 100);
        ASSERT_EQ(runs.size(), 1) << Describe(runs);
        // The whole song less its last partial block, give or take the resampler's edges.
        EXPECT_NEAR(FramesToMs(runs[0].size() / kFrameBytes), 1000.0 * seconds, 15.0);
    }
}

} // namespace
