// Real audio output: ALSA into a private PulseAudio null sink, recorded from its monitor. These run
// in real time, so there are only a few.
#include <QElapsedTimer>
#include <QThread>
#include <alsa/asoundlib.h>
#include <gtest/gtest.h>

#include "AudioTestSupport.h"
#include "support/PulseServer.h"
#include "support/TestFolders.h"

using namespace tunivox::test;

namespace {

class PulseAlsa : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(m_server.Started()) << m_server.ErrorText().toStdString(); }

    ScopedPulseServer m_server;
};

// A pattern with no silent frame, so that it is found in the monitor's silence exactly.
QByteArray Pattern(int frames)
{
    QByteArray pcm(frames * 4, Qt::Uninitialized);
    auto* samples = reinterpret_cast<qint16*>(pcm.data());
    quint32 state = 12345;
    for (int i = 0; i < frames * 2; ++i) {
        state = state * 1103515245u + 12345u;
        samples[i] = static_cast<qint16>(((state >> 16) % 20000) + 100) * ((i & 2) ? 1 : -1);
    }
    return pcm;
}

// Where `expected` starts inside `captured`, or -1.
qsizetype FindStart(const QByteArray& captured, const QByteArray& expected)
{
    return captured.indexOf(expected.left(4096));
}

TEST_F(PulseAlsa, FoundationPlaysExactBytesInRealTime)
{
    const int frames = 3 * 44100;
    const QByteArray pattern = Pattern(frames);
    ASSERT_TRUE(m_server.StartCapture());

    snd_pcm_t* pcm = nullptr;
    ASSERT_EQ(snd_pcm_open(&pcm, "pulse", SND_PCM_STREAM_PLAYBACK, 0), 0);
    ASSERT_EQ(snd_pcm_set_params(pcm, SND_PCM_FORMAT_S16_LE, SND_PCM_ACCESS_RW_INTERLEAVED, 2, 44100, 0, 200000), 0);
    QElapsedTimer timer;
    timer.start();
    for (int done = 0; done < frames;) {
        const snd_pcm_sframes_t written = snd_pcm_writei(pcm, pattern.constData() + done * 4, frames - done);
        if (written < 0) {
            ASSERT_EQ(snd_pcm_recover(pcm, static_cast<int>(written), 0), 0);
            continue;
        }
        done += static_cast<int>(written);
    }
    snd_pcm_drain(pcm);
    const double seconds = timer.elapsed() / 1000.0;
    snd_pcm_close(pcm);
    QThread::msleep(200);
    const QByteArray captured = m_server.StopCapture();

    EXPECT_GE(seconds, 0.9 * 3);
    EXPECT_LE(seconds, 1.3 * 3);
    const qsizetype start = FindStart(captured, pattern);
    ASSERT_GE(start, 0);
    EXPECT_TRUE(captured.mid(start, pattern.size()) == pattern);
}

TEST_F(PulseAlsa, EngineOutputIsTheFfmpegDecode)
{
    const QString path = FixturePath("chord-44k-stereo.flac");
    const QByteArray reference = ReferencePcm(path);
    const WaveMapperOptions previous = GetWaveMapper();
    WaveMapperOptions options;
    options.strAlsaDevice = "pulse";
    SetWaveMapper(options);
    ASSERT_TRUE(m_server.StartCapture());
    CAudioPlayer player;
    InitAndOpen(player, path);
    ASSERT_EQ(player.Play(0), S_OK) << player.m_szError;
    EXPECT_TRUE(WaitUntil([&] { return !player.m_bPlaying; }, 10000));
    EXPECT_EQ(player.m_hrThread, NS_E_NO_MORE_SAMPLES);
    EXPECT_EQ(player.Stop(), S_OK);
    QThread::msleep(200);
    const QByteArray captured = m_server.StopCapture();
    SetWaveMapper(previous);

    const QByteArray expected = reference.left(reference.size() - reference.size() % kBlockBytes);
    const qsizetype start = FindStart(captured, expected);
    ASSERT_GE(start, 0);
    EXPECT_TRUE(captured.mid(start, expected.size()) == expected);
}

TEST_F(PulseAlsa, PauseRestartAndResetWork)
{
    const WaveMapperOptions previous = GetWaveMapper();
    WaveMapperOptions options;
    options.strAlsaDevice = "pulse";
    SetWaveMapper(options);
    CAudioPlayer player;
    InitAndOpen(player, FixturePath("long-44k-stereo.mp3"));
    ASSERT_EQ(player.Play(0), S_OK) << player.m_szError;
    ASSERT_TRUE(WaitUntil([&] { return player.GetCurrentTime() > 5000000; }, 5000));

    ASSERT_EQ(player.Pause(), S_OK);
    ASSERT_TRUE(WaitUntil([&] { return player.m_bPaused.load(); }, 2000));
    QThread::msleep(100);
    const QWORD frozen = player.GetCurrentTime();
    QThread::msleep(400);
    EXPECT_EQ(player.GetCurrentTime(), frozen);

    ASSERT_EQ(player.Resume(), S_OK);
    EXPECT_TRUE(WaitUntil([&] { return player.GetCurrentTime() > frozen + 2000000; }, 2000));

    // A seek resets the device: the position follows the new place, in real time.
    ASSERT_EQ(player.Play(80000000), S_OK);
    QElapsedTimer timer;
    timer.start();
    EXPECT_TRUE(WaitUntil([&] { return player.GetCurrentTime() >= 80000000; }, 3000));
    ASSERT_TRUE(WaitUntil([&] { return player.GetCurrentTime() >= 85000000; }, 3000));
    EXPECT_GE(timer.elapsed(), 400);
    EXPECT_TRUE(player.m_bPlaying);
    EXPECT_EQ(player.Stop(), S_OK);
    SetWaveMapper(previous);
}

} // namespace
