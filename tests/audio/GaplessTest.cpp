// Gapless playback in the engine: a continuous sine cut into three songs, played one after the other
// through the null device, must join into the uncut sine (lossless: sample for sample; lossy: no
// gap, no click, close to it), each song at its own ReplayGain. Without a prepared next song every
// song ends on its own, as always.
#include <QFile>
#include <QThread>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <taglib/flacfile.h>
#include <taglib/xiphcomment.h>

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

QStringList Parts(const char* kind)
{
    return {Part(1, kind), Part(2, kind), Part(3, kind)};
}

struct Played
{
    QByteArray pcm;
    int heardSongs = 0;
    QList<ReplayGainApplied> gains; // GetReplayGainApplied as each song starts, when the control shows it
};

// Plays the songs; gapless: each one prepared while the one before plays, taken once heard.
Played PlaySongs(const QStringList& songs, bool gapless, const ReplayGainOptions& gain = {})
{
    ScopedNullDevice device(kSpeed);
    CAudioPlayer player;
    EXPECT_EQ(player.Init(), S_OK);
    player.SetGapless(gapless);
    player.SetReplayGain(gain);
    Played played;
    for (int song = 0; song < songs.size(); ++song) {
        if (song == 0 || !gapless) {
            EXPECT_EQ(player.Open(songs[song].toUtf8().constData()), S_OK) << player.m_szError;
            EXPECT_EQ(player.Play(0), S_OK) << player.m_szError;
            played.gains.append(player.GetReplayGainApplied());
        }
        if (gapless && song + 1 < songs.size()) {
            EXPECT_EQ(player.PrepareNext(songs[song + 1].toUtf8().constData()), S_OK) << player.m_szError;
            EXPECT_TRUE(WaitUntil([&] { return player.GetNextState() == CAudioPlayer::kNextHeard || !player.m_bPlaying; },
                                  20000));
            if (player.TakeHeardSong()) {
                ++played.heardSongs;
                played.gains.append(player.GetReplayGainApplied());
            }
        } else {
            EXPECT_TRUE(WaitUntil([&] { return !player.m_bPlaying; }, 20000));
        }
    }
    EXPECT_EQ(player.Stop(), S_OK);
    played.pcm = device.Captured();
    return played;
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
    const Played songs = PlaySongs(Parts(c.kind), true);
    EXPECT_EQ(songs.heardSongs, 2);
    const QByteArray& played = songs.pcm;
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
    const Played songs = PlaySongs(Parts("flac"), false);
    EXPECT_EQ(songs.heardSongs, 0);
    const QByteArray& played = songs.pcm;
    const long long firstEnd = kCutFrames[0] * 4 - kCutFrames[0] * 4 % kBlockBytes;
    EXPECT_TRUE(played.left(firstEnd) == whole.left(firstEnd));
    EXPECT_FALSE(played.mid(firstEnd, kBlockBytes) == whole.mid(firstEnd, kBlockBytes));
    long long expected = 0;
    for (long long frames : kCutFrames)
        expected += frames * 4 - frames * 4 % kBlockBytes;
    EXPECT_EQ(played.size(), expected);
}

// An album whose songs carry different ReplayGain values, played gapless: each song is heard at its
// own gain from its first sample to its last, and the engine reports that gain as the song starts.
struct AlbumGainCase
{
    const char* name;
    ReplayGainMode mode;
    double expectedDb[3];
};

void PrintTo(const AlbumGainCase& c, std::ostream* out)
{
    *out << c.name;
}

class GaplessAlbumGain : public ::testing::TestWithParam<AlbumGainCase>
{};

TEST_P(GaplessAlbumGain, EachSongPlaysAtItsOwnGain)
{
    const AlbumGainCase c = GetParam();
    constexpr double kTrackDb[] = {-8, 0, 3};
    ScopedTempFolder folder;
    QStringList songs;
    for (int song = 0; song < 3; ++song) {
        songs.append(folder.FilePath(QStringLiteral("%1.flac").arg(song + 1)));
        ASSERT_TRUE(QFile::copy(Part(song + 1, "flac"), songs.last()));
        TagLib::FLAC::File file(QFile::encodeName(songs.last()).constData());
        TagLib::Ogg::XiphComment* comment = file.xiphComment(true);
        comment->addField("REPLAYGAIN_TRACK_GAIN", TagLib::String::number(static_cast<int>(kTrackDb[song])) + " dB");
        comment->addField("REPLAYGAIN_TRACK_PEAK", "0.5"); // the sine's own: room for the boost
        if (song < 2) // a half-tagged album: the last song's track gain stands in
            comment->addField("REPLAYGAIN_ALBUM_GAIN", "-2 dB");
        ASSERT_TRUE(file.save());
    }
    const QByteArray whole = ReferencePcm(FixturePath("gapless-whole.wav"));
    const Played played = PlaySongs(songs, true, {c.mode});
    ASSERT_EQ(played.gains.size(), 3);
    ASSERT_EQ(played.pcm.size(), whole.size() - whole.size() % kBlockBytes);
    const auto* p = reinterpret_cast<const qint16*>(played.pcm.constData());
    const auto* w = reinterpret_cast<const qint16*>(whole.constData());
    long long first = 0;
    for (int song = 0; song < 3; ++song) {
        SCOPED_TRACE(song + 1);
        EXPECT_NEAR(played.gains[song].dGainDb, c.expectedDb[song], 0.01);
        const double factor = std::pow(10.0, c.expectedDb[song] / 20.0);
        const long long end = std::min<long long>(2 * (first + kCutFrames[song]), played.pcm.size() / 2);
        long long worstAt = -1;
        double worst = 0;
        for (long long i = 2 * first; i < end; ++i) {
            const double difference = std::abs(p[i] - std::clamp(std::round(w[i] * factor), -32768.0, 32767.0));
            if (difference > worst) {
                worst = difference;
                worstAt = i / 2 - first;
            }
        }
        EXPECT_LE(worst, 1.0) << "at frame " << worstAt << " of the song";
        first += kCutFrames[song];
    }
}

INSTANTIATE_TEST_SUITE_P(Modes, GaplessAlbumGain,
                         ::testing::Values(AlbumGainCase{"Track", ReplayGainMode::Track, {-8, 0, 3}},
                                           AlbumGainCase{"Album", ReplayGainMode::Album, {-2, -2, 3}}),
                         [](const ::testing::TestParamInfo<AlbumGainCase>& info) { return std::string(info.param.name); });

// The first part of the album playing, with gapless playback on.
void PlayFirstPartGapless(CAudioPlayer& player)
{
    ASSERT_EQ(player.Init(), S_OK);
    player.SetGapless(true);
    ASSERT_EQ(player.Open(Part(1, "flac").toUtf8().constData()), S_OK);
    ASSERT_EQ(player.Play(0), S_OK);
}

// A song that cannot be prepared is reported, not dropped in silence, and the open one ends alone.
TEST(GaplessPrepare, FailureIsReportedAndTheSongEndsAlone)
{
    ScopedNullDevice device(kSpeed);
    CAudioPlayer player;
    PlayFirstPartGapless(player);
    for (const char* name : {"not-audio.mp3", "no-such-song.flac"}) {
        SCOPED_TRACE(name);
        EXPECT_TRUE(FAILED(player.PrepareNext(FixturePath(QString::fromLatin1(name)).toUtf8().constData())));
        EXPECT_STRNE(player.GetNextFailure(), "");
        EXPECT_EQ(player.GetNextState(), CAudioPlayer::kNextNone);
    }
    ASSERT_TRUE(WaitUntil([&] { return !player.m_bPlaying; }, 20000));
    EXPECT_EQ(device.Captured().size(), kCutFrames[0] * 4 - kCutFrames[0] * 4 % kBlockBytes);
    EXPECT_EQ(player.Stop(), S_OK);
}

// A seek back into the song heard while the next one is already queued behind it keeps the next one
// prepared; a cancel then lets the song end alone.
TEST(GaplessCancel, SeekKeepsTheNextSongAndCancelDropsIt)
{
    ScopedNullDevice device(kSpeed);
    CAudioPlayer player;
    PlayFirstPartGapless(player);
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
