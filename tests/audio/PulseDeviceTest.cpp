// Choosing and losing the sound device, for real: the engine plays through ALSA into a private
// sound server's null sink (PulseAudio, and PipeWire through its PulseAudio protocol) whose monitor
// is recorded. A switch to another device while playing goes on
// where the listener was; a server killed mid-song is waited for and the song goes on where it was
// heard last, or, when it does not come back, the song ends saying why.
#include <QElapsedTimer>
#include <QThread>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

#include "AudioTestSupport.h"
#include "support/PulseTestSupport.h"
#include "support/SoundServer.h"
#include "support/TestFolders.h"

using namespace tunivox::test;

namespace {

constexpr int kRate = kPulseRate;
constexpr int kFrameBytes = kPulseFrameBytes;
constexpr QWORD kUnitsPerSecond = 10000000;
// Where the sound may go on after a switch or a recovery, compared with where it broke off: the
// sound server's idea of what was heard is this good (it measures within a few ms), far inside
// the engine's ring (1.5 s).
constexpr qsizetype kToleranceFrames = kRate / 20;

// Whether this process may give a thread the top of the normal class.
bool TopNiceGranted()
{
    bool granted = false;
    std::thread([&] { granted = setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), -20) == 0; }).join();
    return granted;
}

class PulseDevice : public ::testing::Test
{
protected:
    void StartServer(SoundServerKind kind, const char* device)
    {
        m_server.reset(); // first: it gives back the environment it changed
        m_server = std::make_unique<ScopedSoundServer>(kind);
        ASSERT_TRUE(m_server->Started()) << SoundServerName(kind) << ": " << m_server->ErrorText().toStdString();
        m_previous = GetWaveMapper();
        WaveMapperOptions options;
        options.strAlsaDevice = device;
        SetWaveMapper(options);
        m_pattern = Pattern(kSeconds * kRate);
        m_path = m_folder.WriteFile(QStringLiteral("pattern.wav"), Wav(m_pattern));
    }
    void TearDown() override { SetWaveMapper(m_previous); }

    // Where `sound` (at least 4096 bytes) starts in the pattern, in frames; -1 when nowhere.
    qsizetype FrameOf(const QByteArray& sound) const
    {
        const qsizetype at = m_pattern.indexOf(sound.left(4096));
        return at < 0 ? -1 : at / kFrameBytes;
    }
    // The pattern as the engine plays it: whole blocks only.
    QByteArray PlayedFrom(qsizetype frame) const
    {
        const QByteArray played = m_pattern.left(m_pattern.size() - m_pattern.size() % kBlockBytes);
        return played.mid(frame * kFrameBytes);
    }

    static constexpr int kSeconds = 7;
    std::unique_ptr<ScopedSoundServer> m_server;
    ScopedTempFolder m_folder;
    WaveMapperOptions m_previous;
    QByteArray m_pattern;
    QString m_path;
};

class PulseDeviceSwitch : public PulseDevice, public ::testing::WithParamInterface<SoundServerKind>
{
protected:
    void SetUp() override { StartServer(GetParam(), "pulse"); }
};

// From the server's default sink to the same sink named: another ALSA device, another stream.
TEST_P(PulseDeviceSwitch, SwitchWhilePlayingGoesOnWhereTheListenerWas)
{
    const char* const other = "pulse:nullsink";
    ASSERT_TRUE(m_server->StartCapture());
    CAudioPlayer player;
    InitAndOpen(player, m_path);
    ASSERT_EQ(player.SetOutputDevice("pulse"), S_OK);
    ASSERT_EQ(player.Play(0), S_OK) << player.m_szError;
    ASSERT_TRUE(WaitUntil([&] { return player.GetCurrentTime() >= 2 * kUnitsPerSecond; }, 8000));
    const HWAVEOUT device = player.m_hWaveOut;
    EXPECT_EQ(player.SetOutputDevice("no-such-device"), E_FAIL) << "a device that cannot open is refused";
    EXPECT_EQ(player.GetOutputDevice(), "pulse");
    ASSERT_EQ(player.SetOutputDevice(other), S_OK) << player.m_szError;
    EXPECT_EQ(player.GetOutputDevice(), other);
    WaveOutStatistics statistics;
    ASSERT_EQ(waveOutGetStatistics(device, &statistics), MMSYSERR_NOERROR);
    EXPECT_EQ(statistics.nSwitches, 1u);
    // The sound path runs at the top of the normal class where granted, never real-time: the
    // device thread, the decoding thread and the sound server client's threads the device opened,
    // the first time and at the switch.
    const int expectedNice = TopNiceGranted() ? -20 : 0;
    for (const char* name : {"tunivox-alsa", "tunivox-decode", "threaded-ml"}) {
        const QList<int> tids = ThreadIdsNamed(QString::fromLatin1(name));
        ASSERT_FALSE(tids.isEmpty()) << name;
        for (int tid : tids) {
            EXPECT_EQ(sched_getscheduler(tid), SCHED_OTHER) << name << " runs real-time";
            EXPECT_EQ(getpriority(PRIO_PROCESS, static_cast<id_t>(tid)), expectedNice) << name;
        }
    }
    EXPECT_TRUE(WaitUntil([&] { return !player.m_bPlaying; }, 15000));
    EXPECT_EQ(player.m_hrThread, NS_E_NO_MORE_SAMPLES);
    QThread::msleep(300);
    const QByteArray sound = SoundRuns(m_server->StopCapture()).join();

    const QByteArray played = PlayedFrom(0);
    const qsizetype before = CommonPrefix(sound, played) / kFrameBytes;
    ASSERT_GT(before, kRate) << "the first device played from the start";
    const QByteArray after = sound.mid(before * kFrameBytes);
    if (before * kFrameBytes == played.size() && after.isEmpty())
        return; // the second device took over without a frame lost or repeated: the whole song, once
    ASSERT_GE(after.size(), 4096) << "the second device played on; heard " << FramesToMs(before) << " ms of "
                                  << FramesToMs(played.size() / kFrameBytes) << " ms before the break";
    const qsizetype resumed = FrameOf(after);
    ASSERT_GE(resumed, 0);
    EXPECT_LE(std::abs(resumed - before), kToleranceFrames)
        << "broke off at " << FramesToMs(before) << " ms, went on at " << FramesToMs(resumed) << " ms";
    EXPECT_TRUE(after == PlayedFrom(resumed)) << "the rest is whole, once; first difference at " << FramesToMs(CommonPrefix(after, PlayedFrom(resumed)) / kFrameBytes) << " ms of " << FramesToMs(after.size() / kFrameBytes) << " ms against " << FramesToMs(PlayedFrom(resumed).size() / kFrameBytes);
}

enum class Restart { Never, AfterASecond };

INSTANTIATE_TEST_SUITE_P(Servers, PulseDeviceSwitch,
                         ::testing::Values(SoundServerKind::PulseAudio, SoundServerKind::PipeWireAt44k),
                         [](const ::testing::TestParamInfo<SoundServerKind>& info) {
                             return std::string(SoundServerName(info.param));
                         });

struct RecoveryRow
{
    const char* name;
    SoundServerKind server;
    const char* device;
    unsigned recoveryMs;
    Restart restart;
};

void PrintTo(const RecoveryRow& row, std::ostream* out)
{
    *out << row.name;
}

class PulseRecovery : public PulseDevice, public ::testing::WithParamInterface<RecoveryRow>
{
protected:
    void SetUp() override { StartServer(GetParam().server, GetParam().device); }
};

TEST_P(PulseRecovery, ServerKilledMidSong)
{
    const RecoveryRow& row = GetParam();
    ASSERT_TRUE(m_server->StartCapture());
    CAudioPlayer player;
    InitAndOpen(player, m_path);
    player.SetDeviceRecovery(row.recoveryMs);
    ASSERT_EQ(player.Play(0), S_OK) << player.m_szError;
    ASSERT_TRUE(WaitUntil([&] { return player.GetCurrentTime() >= 2 * kUnitsPerSecond; }, 8000));
    m_server->Kill();
    const QByteArray first = SoundRuns(m_server->StopCapture()).join();
    QElapsedTimer sinceKill;
    sinceKill.start();
    if (row.restart == Restart::Never) {
        ASSERT_TRUE(WaitUntil([&] { return !player.m_bPlaying; }, static_cast<int>(row.recoveryMs) + 5000));
        EXPECT_GE(sinceKill.elapsed(), static_cast<qint64>(row.recoveryMs) - 200) << "tried for the whole time";
        EXPECT_TRUE(FAILED(player.m_hrThread.load()));
        EXPECT_EQ(QString::fromUtf8(player.GetDeviceFailure()).left(26), QStringLiteral("The sound device stopped: "))
            << player.GetDeviceFailure();
        return;
    }
    QThread::msleep(1000);
    const QWORD heldAt = player.GetCurrentTime();
    ASSERT_TRUE(m_server->Restart()) << m_server->ErrorText().toStdString();
    ASSERT_TRUE(m_server->StartCapture());
    EXPECT_TRUE(WaitUntil([&] { return !player.m_bPlaying; }, 20000));
    EXPECT_EQ(player.m_hrThread, NS_E_NO_MORE_SAMPLES) << "the song ended as songs do";
    EXPECT_STREQ(player.GetDeviceFailure(), "");
    QThread::msleep(300);
    const QList<QByteArray> runs = SoundRuns(m_server->StopCapture());
    ASSERT_FALSE(runs.isEmpty()) << "nothing was heard after the restart";
    const QByteArray second = runs.join();

    const qsizetype brokeOff = CommonPrefix(first, PlayedFrom(0)) / kFrameBytes;
    ASSERT_GT(brokeOff, kRate);
    const qsizetype resumed = FrameOf(second);
    ASSERT_GE(resumed, 0);
    EXPECT_LE(std::abs(resumed - brokeOff), kToleranceFrames)
        << "heard up to " << FramesToMs(brokeOff) << " ms, went on at " << FramesToMs(resumed) << " ms";
    EXPECT_LE(std::abs(static_cast<qsizetype>(heldAt * kRate / kUnitsPerSecond) - resumed), kToleranceFrames)
        << "the position waited where the sound stopped";
    EXPECT_TRUE(second == PlayedFrom(resumed)) << "the rest is whole, once; " << Describe(runs) << "; first difference at " << FramesToMs(CommonPrefix(second, PlayedFrom(resumed)) / kFrameBytes) << " ms of " << FramesToMs(PlayedFrom(resumed).size() / kFrameBytes);
}

INSTANTIATE_TEST_SUITE_P(Rows, PulseRecovery,
                         ::testing::Values(RecoveryRow{"PulseAudioOffEndsTheSong", SoundServerKind::PulseAudio, "pulse", 0, Restart::Never},
                                           RecoveryRow{"PulseAudioOnGoesOnAfterRestart", SoundServerKind::PulseAudio, "pulse", 10000, Restart::AfterASecond},
                                           RecoveryRow{"PulseAudioOnGivesUpInTime", SoundServerKind::PulseAudio, "pulse", 2000, Restart::Never},
                                           RecoveryRow{"PipeWireOffEndsTheSong", SoundServerKind::PipeWireAt44k, "pulse", 0, Restart::Never},
                                           RecoveryRow{"PipeWireOnGoesOnAfterRestart", SoundServerKind::PipeWireAt44k, "pulse", 10000, Restart::AfterASecond}),
                         [](const ::testing::TestParamInfo<RecoveryRow>& info) { return std::string(info.param.name); });

} // namespace
