// What the listener hears: PCM through the engine and the null device against the ffmpeg tool's
// decode of the same file, and where positions and seeks land.
#include <QElapsedTimer>
#include <QFile>
#include <QThread>
#include <cmath>
#include <gtest/gtest.h>

#include "AudioTestSupport.h"
#include "support/TestFolders.h"

using namespace tunivox::test;

namespace {

class EnginePcm : public ::testing::TestWithParam<const char*>
{
};

TEST_P(EnginePcm, MatchesFfmpegDecodeExceptTheDroppedPartialBlock)
{
    const QString path = FixturePath(QString::fromUtf8(GetParam()));
    const QByteArray reference = ReferencePcm(path);
    ASSERT_FALSE(reference.isEmpty());
    ScopedNullDevice device;
    CAudioPlayer player;
    InitAndOpen(player, path);

    const QByteArray played = PlayToEnd(player, device);
    EXPECT_EQ(played.size(), reference.size() - reference.size() % kBlockBytes);
    EXPECT_TRUE(played == reference.left(played.size())) << "PCM differs";
    // The last block's trailing time plus one block is where the position ends up.
    EXPECT_NEAR(static_cast<double>(player.GetCurrentTime()), played.size() * kUnitsPerByte, 200.0);
    EXPECT_EQ(player.m_hrThread, NS_E_NO_MORE_SAMPLES);
    EXPECT_EQ(player.Stop(), S_OK);
}

INSTANTIATE_TEST_SUITE_P(
    EveryFormat, EnginePcm,
    ::testing::Values("tone-44k-stereo.mp3", "chord-44k-stereo-vbr.mp3", "noise-22k-mono.mp3", "melody-48k-mono.flac",
                      "chord-44k-stereo.flac", "melody-44k-stereo.m4a", "tone-48k-mono.m4a", "chord-44k-stereo.wma",
                      "tone-22k-mono.wma", "melody-44k-stereo.wav", "tone-48k-mono.wav", "melody-44k-stereo.ogg",
                      "noise-48k-stereo.ogg", "tone-48k-stereo.opus", "short-44k-stereo.wav",
                      "video-audio-second.mp4"),
    [](const ::testing::TestParamInfo<const char*>& info) {
        std::string name = info.param;
        for (char& c : name)
            if (!std::isalnum(static_cast<unsigned char>(c)))
                c = '_';
        return name;
    });

TEST(EngineOpen, FindsTheFirstAudioOutputAndTheDuration)
{
    struct Case { const char* file; DWORD output; double seconds; };
    for (const Case& c : {Case{"video-audio-second.mp4", 1, 2.0}, Case{"tone-44k-stereo.mp3", 0, 3.03},
                          Case{"melody-48k-mono.flac", 0, 5.0}}) {
        CAudioPlayer player;
        InitAndOpen(player, FixturePath(c.file));
        EXPECT_EQ(player.m_dwAudioOutput, c.output) << c.file;
        EXPECT_NEAR(player.m_qwDuration / 1e7, c.seconds, 0.01) << c.file;
        EXPECT_EQ(player.GetDurationSeconds(), static_cast<DWORD>(c.seconds)) << c.file;
        ASSERT_NE(player.m_pWaveFormat, nullptr);
        EXPECT_EQ(player.m_pWaveFormat->nSamplesPerSec, 44100u);
        EXPECT_EQ(player.m_pWaveFormat->nChannels, 2);
        EXPECT_EQ(player.m_pWaveFormat->nAvgBytesPerSec, 176400u);
    }
}

// Starting at a position: lossless files land on the exact sample, lossy ones within one block.
TEST(EngineSeek, PlayFromAPositionStartsThere)
{
    struct Case { const char* file; double seconds; bool exact; };
    for (const Case& c : {Case{"melody-44k-stereo.wav", 1.5, true}, Case{"chord-44k-stereo.flac", 2.25, true},
                          Case{"tone-48k-mono.wav", 1.0, false}, Case{"long-44k-stereo.mp3", 7.3, false},
                          Case{"melody-44k-stereo.m4a", 2.0, false}}) {
        const QString path = FixturePath(c.file);
        const QByteArray reference = ReferencePcm(path);
        ScopedNullDevice device;
        CAudioPlayer player;
        InitAndOpen(player, path);
        const auto start = static_cast<QWORD>(c.seconds * 1e7);
        const QByteArray played = PlayToEnd(player, device, start);
        ASSERT_GE(played.size(), 16 * kBlockBytes) << c.file;
        const long long targetFrame = static_cast<long long>(c.seconds * 44100);
        if (c.exact) {
            EXPECT_TRUE(played == reference.mid(targetFrame * 4, played.size())) << c.file;
        } else {
            // Compared a few blocks in, past the first frame a lossy decoder rebuilds after a seek.
            const long long skipFrames = 4 * kBlockBytes / 4;
            const MatchResult match =
                BestMatch(reference, targetFrame + skipFrames, 1024, played.mid(4 * kBlockBytes, 8192));
            EXPECT_LE(std::llabs(match.nOffsetFrames - skipFrames - targetFrame), 512) << c.file;
            EXPECT_LT(match.dMeanDifference, 40.0) << c.file;
        }
        EXPECT_NEAR(static_cast<double>(player.GetCurrentTime()), start + played.size() * kUnitsPerByte, 200.0)
            << c.file;
    }
}

// Also with blocks handed back in bursts, which a seek's reset cuts short.
TEST(EngineSeek, SeekWhilePlayingContinuesAtTheTarget)
{
    const QString path = FixturePath("melody-44k-stereo.wav");
    const QByteArray reference = ReferencePcm(path);
    for (const DWORD handBackMs : {0u, 200u}) {
        ScopedNullDevice device(8.0);
        CAudioPlayer player;
        player.SetHandBackInterval(handBackMs);
        InitAndOpen(player, path);
        ASSERT_EQ(player.Play(0), S_OK);
        ASSERT_TRUE(WaitUntil([&] { return player.GetCurrentTime() > 5000000; }, 5000));
        const QWORD target = 22000000; // 2.2 s
        ASSERT_EQ(player.Play(target), S_OK);
        ASSERT_TRUE(WaitUntil([&] { return !player.m_bPlaying; }, 10000));
        const QByteArray played = device.Captured();

        // The tail after the seek is the reference from the target on, exactly and block-aligned.
        const QByteArray afterSeek = reference.mid(static_cast<qsizetype>(target / kUnitsPerByte / 4) * 4);
        const QByteArray tail = afterSeek.left(afterSeek.size() - afterSeek.size() % kBlockBytes);
        ASSERT_GT(tail.size(), 0);
        EXPECT_TRUE(played.endsWith(tail)) << handBackMs;
        EXPECT_EQ((played.size() - tail.size()) % kBlockBytes, 0) << handBackMs;
        EXPECT_EQ(player.Stop(), S_OK);
    }
}

// Positions advance one block at a time and stand still while paused. With a hand-back interval
// the device holds heard blocks back, yet the position read is the one the listener hears.
TEST(EnginePosition, AdvancesInBlockStepsAndFreezesWhilePaused)
{
    for (const DWORD handBackMs : {0u, 1000u}) {
        ScopedNullDevice device(1.0);
        CAudioPlayer player;
        player.SetHandBackInterval(handBackMs);
        InitAndOpen(player, FixturePath("long-44k-stereo.mp3"));
        const QWORD start = 10000000;
        QElapsedTimer sincePlay;
        sincePlay.start();
        ASSERT_EQ(player.Play(start), S_OK);
        if (handBackMs > 0) {
            QThread::msleep(600);
            EXPECT_EQ(player.PeekCurrentTime(), start) << "held back for the first burst";
            const QWORD heard = player.GetCurrentTime() - start;
            EXPECT_GT(heard, 3000000u);
            EXPECT_LE(heard, static_cast<QWORD>(sincePlay.elapsed()) * 10000);
            EXPECT_EQ(player.PeekCurrentTime(), start + heard);
        }
        const double blockUnits = kBlockBytes * kUnitsPerByte;
        int samples = 0;
        WaitUntil([&] {
            const QWORD position = player.GetCurrentTime();
            if (position > start) {
                const double blocks = (position - start) / blockUnits;
                EXPECT_NEAR(blocks, std::round(blocks), 0.002) << position;
                ++samples;
            }
            return samples > 100;
        }, 5000);
        EXPECT_GT(samples, 100);

        ASSERT_EQ(player.Pause(), S_OK);
        ASSERT_TRUE(WaitUntil([&] { return player.m_bPaused.load(); }, 2000));
        QThread::msleep(30);
        const QWORD frozen = player.GetCurrentTime();
        QThread::msleep(250);
        EXPECT_EQ(player.GetCurrentTime(), frozen) << handBackMs;
        EXPECT_TRUE(player.m_bPlaying);

        ASSERT_EQ(player.Resume(), S_OK);
        // The sound goes on at once, not at the next burst: unasked, 300 ms later most of it was heard.
        QThread::msleep(300);
        EXPECT_GT(player.GetCurrentTime(), frozen + 2000000) << handBackMs;
        EXPECT_FALSE(player.m_bPaused);
        EXPECT_EQ(player.Stop(), S_OK);
        EXPECT_EQ(player.GetCurrentTime(), 0u);
    }
}

// The kernel's count of the decoding thread's voluntary context switches: how often it slept.
long DecodingThreadSleeps()
{
    const QList<int> tids = ThreadIdsNamed(QStringLiteral("tunivox-decode"));
    if (tids.size() != 1)
        return -1;
    QFile status(QStringLiteral("/proc/self/task/%1/status").arg(tids.first()));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("voluntary_ctxt_switches:"))
            return line.mid(24).trimmed().toLong();
    }
    return -1;
}

// With 200 ms bursts the decoding thread sleeps until a quarter of the ring is free: in 3 s it
// sleeps 10 to 14 times, where waking for every burst made it 23 to 28.
TEST(EngineWakeUps, BurstsRefillAQuarterOfTheRingAtATime)
{
    ScopedNullDevice device(1.0);
    CAudioPlayer player;
    player.SetHandBackInterval(200);
    InitAndOpen(player, FixturePath("long-44k-stereo.mp3"));
    ASSERT_EQ(player.Play(0), S_OK);
    QThread::msleep(1000);
    const long before = DecodingThreadSleeps();
    ASSERT_GE(before, 0) << "no decoding thread";
    QThread::msleep(3000);
    const long slept = DecodingThreadSleeps() - before;
    EXPECT_GE(slept, 4) << "the ring is refilled while it plays";
    EXPECT_LE(slept, 18);
    EXPECT_TRUE(player.m_bPlaying);
    EXPECT_EQ(player.Stop(), S_OK);
}

} // namespace
