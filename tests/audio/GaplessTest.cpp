// Gapless playback in the engine: a continuous sine cut into three songs, played one after the other
// through the null device, must join into the uncut sine (lossless: sample for sample; lossy: no
// gap, no click, close to it). Without a prepared next song every song ends on its own, as always.
#include <QThread>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>

#include "AudioTestSupport.h"
#include "support/TestFolders.h"

using namespace tunivox::test;

namespace {

constexpr long long kCutFrames[] = {57331, 130095, 48611}; // as the fixtures cut the sine
constexpr double kSpeed = 4.0;

QString Part(int part, const char* kind)
{
    return FixturePath(QStringLiteral("gapless-%1.%2").arg(part).arg(QString::fromLatin1(kind)));
}

// Plays the three parts; gapless: each one prepared while the one before plays, taken once heard.
QByteArray PlayParts(const char* kind, bool gapless, int* heardSongs)
{
    ScopedNullDevice device(kSpeed);
    CAudioPlayer player;
    EXPECT_EQ(player.Init(), S_OK);
    player.SetGapless(gapless);
    *heardSongs = 0;
    for (int part = 1; part <= 3; ++part) {
        if (part == 1 || !gapless) {
            EXPECT_EQ(player.Open(Part(part, kind).toUtf8().constData()), S_OK) << player.m_szError;
            EXPECT_EQ(player.Play(0), S_OK) << player.m_szError;
        }
        if (gapless && part < 3) {
            EXPECT_EQ(player.PrepareNext(Part(part + 1, kind).toUtf8().constData()), S_OK) << player.m_szError;
            EXPECT_TRUE(WaitUntil([&] { return player.GetNextState() == CAudioPlayer::kNextHeard || !player.m_bPlaying; },
                                  20000));
            *heardSongs += player.TakeHeardSong() ? 1 : 0;
        } else {
            EXPECT_TRUE(WaitUntil([&] { return !player.m_bPlaying; }, 20000));
        }
    }
    EXPECT_EQ(player.Stop(), S_OK);
    return device.Captured();
}

struct JoinCase
{
    const char* kind;
    bool lossless;
};

class GaplessJoin : public ::testing::TestWithParam<JoinCase>
{};

TEST_P(GaplessJoin, ThreeCutsPlayAsTheUncutSine)
{
    const JoinCase c = GetParam();
    const QByteArray whole = ReferencePcm(FixturePath("gapless-whole.wav"));
    ASSERT_FALSE(whole.isEmpty());
    int heard = 0;
    const QByteArray played = PlayParts(c.kind, true, &heard);
    EXPECT_EQ(heard, 2);
    // Only the last song's final part-block is dropped, as at the end of any song.
    ASSERT_NEAR(played.size(), whole.size() - whole.size() % kBlockBytes, c.lossless ? 0 : kBlockBytes);
    if (c.lossless) {
        EXPECT_TRUE(played == whole.left(played.size())) << "the joins are not sample-exact";
        return;
    }
    // Lossy: at the joins the sound is as close to the uncut sine as the codec is elsewhere (a gap or
    // a repeat would shift the sine there), and no step is larger than the codec's own (a click).
    const auto* p = reinterpret_cast<const qint16*>(played.constData());
    const auto* w = reinterpret_cast<const qint16*>(whole.constData());
    const long long frames = std::min(played.size(), whole.size()) / 4;
    auto meanError = [&](long long from, long long to) {
        double sum = 0;
        for (long long i = 2 * from; i < 2 * std::min(to, frames); ++i)
            sum += std::abs(p[i] - w[i]);
        return sum / (2.0 * (std::min(to, frames) - from));
    };
    auto largestStep = [&](long long from, long long to) {
        int step = 0;
        for (long long i = 2 * from + 2; i < 2 * std::min(to, frames); ++i)
            step = std::max(step, std::abs(p[i] - p[i - 2]));
        return step;
    };
    const double codecError = meanError(10000, 40000);
    const int codecStep = largestStep(10000, 40000);
    for (const long long join : {kCutFrames[0], kCutFrames[0] + kCutFrames[1]}) {
        SCOPED_TRACE(join);
        EXPECT_LT(meanError(join - 1024, join + 1024), 2 * codecError + 50);
        EXPECT_LT(largestStep(join - 1024, join + 1024), codecStep + codecStep / 4 + 100);
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, GaplessJoin,
                         ::testing::Values(JoinCase{"flac", true}, JoinCase{"wav", true}, JoinCase{"mp3", false},
                                           JoinCase{"m4a", false}),
                         [](const ::testing::TestParamInfo<JoinCase>& info) { return std::string(info.param.kind); });

// Without the option every song ends by itself and drops its final part-block: the joins lose samples.
TEST(GaplessOff, EachSongEndsOnItsOwn)
{
    const QByteArray whole = ReferencePcm(FixturePath("gapless-whole.wav"));
    int heard = 0;
    const QByteArray played = PlayParts("flac", false, &heard);
    EXPECT_EQ(heard, 0);
    const long long firstEnd = kCutFrames[0] * 4 - kCutFrames[0] * 4 % kBlockBytes;
    EXPECT_TRUE(played.left(firstEnd) == whole.left(firstEnd));
    EXPECT_FALSE(played.mid(firstEnd, kBlockBytes) == whole.mid(firstEnd, kBlockBytes));
    long long expected = 0;
    for (long long frames : kCutFrames)
        expected += frames * 4 - frames * 4 % kBlockBytes;
    EXPECT_EQ(played.size(), expected);
}

// A seek back into the song heard while the next one is already queued behind it keeps the next one
// prepared; a cancel then lets the song end alone.
TEST(GaplessCancel, SeekKeepsTheNextSongAndCancelDropsIt)
{
    ScopedNullDevice device(kSpeed);
    CAudioPlayer player;
    ASSERT_EQ(player.Init(), S_OK);
    player.SetGapless(true);
    ASSERT_EQ(player.Open(Part(1, "flac").toUtf8().constData()), S_OK);
    ASSERT_EQ(player.Play(0), S_OK);
    ASSERT_EQ(player.PrepareNext(Part(2, "flac").toUtf8().constData()), S_OK);
    ASSERT_TRUE(WaitUntil([&] { return player.GetNextState() == CAudioPlayer::kNextJoined; }, 20000));
    const QWORD target = 2000000; // 0.2 s into the first song
    ASSERT_EQ(player.Play(target), S_OK);
    ASSERT_TRUE(WaitUntil([&] { return player.GetNextState() == CAudioPlayer::kNextJoined; }, 20000));
    ASSERT_EQ(player.CancelNext(), S_OK);
    EXPECT_EQ(player.GetNextState(), CAudioPlayer::kNextNone);
    ASSERT_TRUE(WaitUntil([&] { return !player.m_bPlaying; }, 20000));
    // It ended with the first song's last whole block, never went on into the second.
    EXPECT_NEAR(static_cast<double>(player.GetCurrentTime()), kCutFrames[0] * 4 * kUnitsPerByte,
                kBlockBytes * kUnitsPerByte);
    EXPECT_EQ(player.Stop(), S_OK);
}

} // namespace
