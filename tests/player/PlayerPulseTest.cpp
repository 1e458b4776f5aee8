// Songs through the whole chain a listener hears: the control, the engine, ALSA and a private sound
// server's null sink (PulseAudio, and PipeWire as desktops run it), recorded from its monitor.
#include <QSignalSpy>
#include <gtest/gtest.h>

#include "PlayerTestSupport.h"
#include "support/PulseTestSupport.h"
#include "support/SoundServer.h"
#include "support/TestFolders.h"

using namespace tunivox::test;

namespace {

// The file's PCM (the "data" chunk), less the final partial block the engine drops.
QByteArray PlayedPcm(const QString& path)
{
    QFile wav(path);
    if (!wav.open(QIODevice::ReadOnly))
        return {};
    const QByteArray file = wav.readAll();
    QByteArray pcm = file.mid(file.indexOf("data") + 8);
    pcm.truncate(pcm.size() - pcm.size() % 2048);
    return pcm;
}

// The control's engine plays through ALSA's "pulse" device, into the server that runs.
void PlayThroughPulseDevice()
{
    WaveMapperOptions options;
    options.eBackend = WaveBackend::Alsa;
    options.strAlsaDevice = "pulse";
    SetWaveMapper(options);
}

// A song started by the control on the PulseAudio server arrives whole, byte for byte.
TEST(PlayerPulse, ASongStartedByTheControlIsHeardWhole)
{
    ScopedSoundServer server;
    ASSERT_TRUE(server.Started()) << server.ErrorText().toStdString();
    PlayerFixture f(1.0);
    PlayThroughPulseDevice();

    f.Add({QStringLiteral("melody-44k-stereo.wav")});
    ASSERT_TRUE(server.StartCapture());
    ASSERT_EQ(f.ctrl->PlayStart(FixturePath(QStringLiteral("melody-44k-stereo.wav")).toUtf8().constData()), 1)
        << f.ctrl->m_strWork.toStdString();
    ASSERT_TRUE(f.EngineFinished(10000));
    const QByteArray captured = server.StopCapture();

    const QByteArray pcm = PlayedPcm(FixturePath(QStringLiteral("melody-44k-stereo.wav")));
    const qsizetype start = captured.indexOf(pcm.mid(8192, 4096));
    ASSERT_GE(start, 8192) << "the song's sound reached the sink";
    EXPECT_EQ(captured.mid(start - 8192, pcm.size()), pcm) << "every byte, in order";
}

class PlayerSoundServer : public ::testing::TestWithParam<SoundServerKind>
{};

// Without gapless playback the control goes on to the next song once the engine has played the
// first to its end: on every server, also one that resamples and never reports a stream played out,
// the first song is heard to its end and the second follows, whole.
TEST_P(PlayerSoundServer, WithoutGaplessTheNextSongFollowsTheEndOfTheFirst)
{
    ScopedSoundServer server(GetParam());
    ASSERT_TRUE(server.Started()) << server.ErrorText().toStdString();
    PlayerFixture f(1.0);
    PlayThroughPulseDevice();

    const QList<int> seconds{3, 1};
    ScopedTempFolder folder;
    QStringList paths;
    for (int i = 0; i < seconds.size(); ++i) {
        paths << folder.WriteFile(QStringLiteral("song%1.wav").arg(i), Wav(Pattern(seconds[i] * kPulseRate)));
        f.ctrl->addFile(SongFor(paths.last(), QStringLiteral("Artist"), QStringLiteral("Song %1").arg(i)), 0);
    }
    QSignalSpy started(f.ctrl, &CMediaPlayerCtrl::songStarted);
    ASSERT_TRUE(server.StartCapture());
    ASSERT_EQ(f.ctrl->PlayStart(paths[0].toUtf8().constData()), 1) << f.ctrl->m_strWork.toStdString();
    ASSERT_TRUE(WaitUntil([&] { return started.count() >= 2; }, 10000)) << "the second song never started";
    EXPECT_EQ(f.ctrl->GetCurrentIndex(), 1);
    ASSERT_TRUE(f.EngineFinished(10000));
    QThread::msleep(300);
    const QList<QByteArray> runs = SoundRuns(server.StopCapture(), kPulseRate / 100);

    ASSERT_EQ(runs.size(), seconds.size()) << Describe(runs);
    for (int i = 0; i < seconds.size(); ++i) {
        const double heard = FramesToMs(runs[i].size() / kPulseFrameBytes);
        EXPECT_NEAR(heard, 1000.0 * seconds[i], 30.0) << "song " << i << " heard for " << heard << " ms";
    }
}

INSTANTIATE_TEST_SUITE_P(Servers, PlayerSoundServer,
                         ::testing::Values(SoundServerKind::PulseAudio, SoundServerKind::PipeWire),
                         [](const ::testing::TestParamInfo<SoundServerKind>& info) {
                             return std::string(SoundServerName(info.param));
                         });

} // namespace
