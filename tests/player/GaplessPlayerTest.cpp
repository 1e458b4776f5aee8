// Gapless playback through the control: with SetGapless(1) the songs of a cut sine follow each other
// sample for sample and the control announces each one when it is heard; off, every song ends and
// the timer starts the next, as always. A list change replaces the song prepared to follow.
#include <QProcess>
#include <gtest/gtest.h>

#include "PlayerTestSupport.h"

using namespace tunivox::test;

namespace {

constexpr long long kCutBytes[] = {57331 * 4, 130095 * 4, 48611 * 4}; // as the fixtures cut the sine
constexpr int kBlockBytes = 2048;

QByteArray ReferencePcm(const QString& path)
{
    QProcess ffmpeg;
    ffmpeg.start(QStringLiteral("ffmpeg"), {QStringLiteral("-nostdin"), QStringLiteral("-v"), QStringLiteral("error"),
                                            QStringLiteral("-i"), path, QStringLiteral("-f"), QStringLiteral("s16le"),
                                            QStringLiteral("-")});
    return ffmpeg.waitForFinished(60000) ? ffmpeg.readAllStandardOutput() : QByteArray();
}

// The player fixture, its null device at twice real time capturing what it plays.
struct GaplessFixture : PlayerFixture
{
    explicit GaplessFixture(const QStringList& songs = {"gapless-1.flac", "gapless-2.flac", "gapless-3.flac"})
        : PlayerFixture(2.0)
    {
        WaveMapperOptions options = GetWaveMapper();
        options.null.pCapture = capture;
        SetWaveMapper(options);
        Add(songs);
    }
    std::shared_ptr<CWaveMemoryCapture> capture = std::make_shared<CWaveMemoryCapture>();
};

struct Start
{
    long long heardBytes;
    quint64 position;
    int index;
    int row;
};

TEST(GaplessPlayer, EachSongIsAnnouncedWhenHeard)
{
    const QByteArray whole = ReferencePcm(FixturePath("gapless-whole.wav"));
    for (const bool gapless : {false, true}) {
        GaplessFixture f;
        f.ctrl->SetGapless(gapless);
        QList<Start> starts;
        QObject::connect(f.ctrl, &CMediaPlayerCtrl::songStarted, f.ctrl, [&] {
            starts.append({static_cast<long long>(f.capture->Size()), f.ctrl->GetAudioPlayer()->GetCurrentTime(),
                           f.ctrl->GetCurrentIndex(), f.ctrl->currentRow()});
        });
        ASSERT_EQ(f.ctrl->PlayStart(FixturePath("gapless-1.flac").toUtf8().constData()), 1);
        ASSERT_TRUE(WaitUntil([&] { return starts.size() == 3; }, 20000)) << gapless;
        ASSERT_TRUE(f.EngineFinished(20000));
        const QByteArray played = [&] {
            const std::vector<BYTE> bytes = f.capture->Bytes();
            return QByteArray(reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size()));
        }();
        EXPECT_EQ(f.host->Count(WM_PLAYER_SONG_STARTED), 3);
        long long joined = 0;
        for (int i = 1; i < 3; ++i) {
            joined += kCutBytes[i - 1];
            EXPECT_EQ(starts[i].index, i);
            EXPECT_EQ(starts[i].row, i);
            if (gapless) {
                // Heard: the block with its first sample came back (the decoder joined it a whole
                // ring, 1.5 s, earlier); and soon after, within a second of sound.
                EXPECT_GE(starts[i].heardBytes, joined) << i;
                EXPECT_LT(starts[i].heardBytes, joined + 176400) << i;
                EXPECT_LT(starts[i].position, 10000000u) << i;
            }
        }
        if (gapless) {
            EXPECT_TRUE(played == whole.left(played.size())) << "the joins are not sample-exact";
            EXPECT_EQ(played.size(), whole.size() - whole.size() % kBlockBytes);
        } else {
            // Each song drops its final part-block: the first join already loses samples.
            EXPECT_LT(played.size(), whole.size() - 2 * kBlockBytes);
            EXPECT_EQ(f.ctrl->GetAudioPlayer()->GetNextState(), CAudioPlayer::kNextNone);
        }
        // Kept for the next start of a control.
        CMediaPlayerCtrl other(f.host.get());
        other.Init();
        EXPECT_EQ(other.IsGapless(), gapless ? 1 : 0);
    }
}

TEST(GaplessPlayer, ListChangeReplacesThePreparedSong)
{
    const QByteArray third = ReferencePcm(FixturePath("gapless-3.flac"));
    // The first song is longer than the engine's ring, so the next one is not joined at once.
    GaplessFixture f({"gapless-2.flac", "gapless-1.flac", "gapless-3.flac"});
    f.ctrl->SetGapless(1);
    QStringList started;
    QObject::connect(f.ctrl, &CMediaPlayerCtrl::songStarted, f.ctrl,
                     [&] { started.append(f.ctrl->GetPlayingFileName().section(QLatin1Char('/'), -1)); });
    ASSERT_EQ(f.ctrl->PlayStart(FixturePath("gapless-2.flac").toUtf8().constData()), 1);
    ASSERT_EQ(f.ctrl->GetAudioPlayer()->GetNextState(), CAudioPlayer::kNextReady);
    // The Delete key's way: the item, then the entry of the parallel arrays.
    f.ctrl->DeleteString(1);
    f.ctrl->RemoveEntryAt(1);
    ASSERT_TRUE(WaitUntil([&] { return started.size() == 2; }, 20000));
    EXPECT_EQ(started, (QStringList{"gapless-2.flac", "gapless-3.flac"}));
    ASSERT_TRUE(f.EngineFinished(20000));
    const std::vector<BYTE> bytes = f.capture->Bytes();
    const QByteArray played(reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size()));
    EXPECT_TRUE(played.mid(kCutBytes[1], 8 * kBlockBytes) == third.left(8 * kBlockBytes)) << "the third song follows";

    // A user's start drops what was prepared and prepares the song after the new one.
    f.ctrl->setCurrentRow(0);
    ASSERT_EQ(f.ctrl->Play(), 1);
    EXPECT_NE(f.ctrl->GetAudioPlayer()->GetNextState(), CAudioPlayer::kNextNone);
    f.ctrl->Stop();
    EXPECT_EQ(f.ctrl->GetAudioPlayer()->GetNextState(), CAudioPlayer::kNextNone);
}

} // namespace
