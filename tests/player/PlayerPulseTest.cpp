// One song through the whole chain a listener hears: the control, the engine, ALSA and a private
// PulseAudio null sink, recorded from its monitor.
#include <gtest/gtest.h>

#include "PlayerTestSupport.h"
#include "support/PulseServer.h"

using namespace tunivox::test;

TEST(PlayerPulse, ASongStartedByTheControlIsHeardWhole)
{
    ScopedPulseServer server;
    ASSERT_TRUE(server.Started()) << server.ErrorText().toStdString();
    PlayerFixture f(1.0);
    WaveMapperOptions options;
    options.eBackend = WaveBackend::Alsa;
    options.strAlsaDevice = "pulse";
    SetWaveMapper(options);

    f.Add({QStringLiteral("melody-44k-stereo.wav")});
    ASSERT_TRUE(server.StartCapture());
    ASSERT_EQ(f.ctrl->PlayStart(FixturePath(QStringLiteral("melody-44k-stereo.wav")).toUtf8().constData()), 1)
        << f.ctrl->m_strWork.toStdString();
    ASSERT_TRUE(f.EngineFinished(10000));
    const QByteArray captured = server.StopCapture();

    // The file's PCM (the "data" chunk), less the final partial block the engine drops.
    QFile wav(FixturePath(QStringLiteral("melody-44k-stereo.wav")));
    ASSERT_TRUE(wav.open(QIODevice::ReadOnly));
    const QByteArray file = wav.readAll();
    QByteArray pcm = file.mid(file.indexOf("data") + 8);
    pcm.truncate(pcm.size() - pcm.size() % 2048);
    const qsizetype start = captured.indexOf(pcm.mid(8192, 4096));
    ASSERT_GE(start, 8192) << "the song's sound reached the sink";
    EXPECT_EQ(captured.mid(start - 8192, pcm.size()), pcm) << "every byte, in order";
}
