// ReplayGain: files tagged with known gains in every container play scaled by exactly that gain
// (within one LSB of the untouched decode), through the same stage as the volume; off by default.
#include <QFile>
#include <cmath>
#include <gtest/gtest.h>
#include <taglib/asffile.h>
#include <taglib/flacfile.h>
#include <taglib/id3v2tag.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>
#include <taglib/opusfile.h>
#include <taglib/relativevolumeframe.h>
#include <taglib/textidentificationframe.h>
#include <taglib/vorbisfile.h>
#include <taglib/xiphcomment.h>

#include "AudioTestSupport.h"
#include "support/TestFolders.h"

using namespace tunivox::test;

namespace {

enum class Tagging { None, Id3v2Text, Id3v2Rva2, Xiph, OpusR128, Mp4Freeform, Asf };

struct GainRow
{
    const char* name;
    const char* fixture;
    Tagging tagging;
    double trackDb;
    double albumDb;
    double trackPeak; // 0: no peak tag
    ReplayGainOptions options;
    double expectedDb;
};

void PrintTo(const GainRow& row, std::ostream* out)
{
    *out << row.name;
}

TagLib::String Db(double db)
{
    char text[32];
    std::snprintf(text, sizeof(text), "%+.2f dB", db);
    return text;
}

void AddId3v2Text(TagLib::ID3v2::Tag* tag, const char* key, const TagLib::String& value)
{
    tag->addFrame(new TagLib::ID3v2::UserTextIdentificationFrame(key, TagLib::StringList(value)));
}

void AddRva2(TagLib::ID3v2::Tag* tag, const char* id, double db)
{
    auto* frame = new TagLib::ID3v2::RelativeVolumeFrame();
    frame->setIdentification(id);
    frame->setVolumeAdjustment(static_cast<float>(db), TagLib::ID3v2::RelativeVolumeFrame::MasterVolume);
    tag->addFrame(frame);
}

// Writes the row's values in the container's own way; returns false when TagLib could not save.
bool Tag(const QString& path, const GainRow& row)
{
    const QByteArray name = QFile::encodeName(path);
    switch (row.tagging) {
    case Tagging::None:
        return true;
    case Tagging::Id3v2Text:
    case Tagging::Id3v2Rva2: {
        TagLib::MPEG::File file(name.constData());
        TagLib::ID3v2::Tag* tag = file.ID3v2Tag(true);
        if (row.tagging == Tagging::Id3v2Rva2) {
            AddRva2(tag, "track", row.trackDb);
            AddRva2(tag, "album", row.albumDb);
        } else {
            AddId3v2Text(tag, "REPLAYGAIN_TRACK_GAIN", Db(row.trackDb));
            AddId3v2Text(tag, "replaygain_album_gain", Db(row.albumDb));
            if (row.trackPeak > 0)
                AddId3v2Text(tag, "REPLAYGAIN_TRACK_PEAK", std::to_string(row.trackPeak));
        }
        return file.save(TagLib::MPEG::File::ID3v2, TagLib::File::StripNone, TagLib::ID3v2::v4);
    }
    case Tagging::Xiph: {
        const auto add = [&row](TagLib::Ogg::XiphComment* comment) {
            comment->addField("REPLAYGAIN_TRACK_GAIN", Db(row.trackDb));
            comment->addField("REPLAYGAIN_ALBUM_GAIN", Db(row.albumDb));
            if (row.trackPeak > 0)
                comment->addField("REPLAYGAIN_TRACK_PEAK", std::to_string(row.trackPeak));
        };
        if (path.endsWith(QLatin1String(".flac"))) {
            TagLib::FLAC::File file(name.constData());
            add(file.xiphComment(true));
            return file.save();
        }
        TagLib::Ogg::Vorbis::File file(name.constData());
        add(file.tag());
        return file.save();
    }
    case Tagging::OpusR128: {
        TagLib::Ogg::Opus::File file(name.constData());
        // Q7.8 dB to -23 LUFS, 5 dB below the ReplayGain reference.
        file.tag()->addField("R128_TRACK_GAIN", TagLib::String::number(int(std::lround((row.trackDb - 5) * 256))));
        file.tag()->addField("R128_ALBUM_GAIN", TagLib::String::number(int(std::lround((row.albumDb - 5) * 256))));
        return file.save();
    }
    case Tagging::Mp4Freeform: {
        TagLib::MP4::File file(name.constData());
        file.tag()->setItem("----:com.apple.iTunes:replaygain_track_gain", TagLib::StringList(Db(row.trackDb)));
        file.tag()->setItem("----:com.apple.iTunes:replaygain_album_gain", TagLib::StringList(Db(row.albumDb)));
        return file.save();
    }
    case Tagging::Asf: {
        TagLib::ASF::File file(name.constData());
        file.tag()->setAttribute("REPLAYGAIN_TRACK_GAIN", TagLib::ASF::Attribute(Db(row.trackDb)));
        file.tag()->setAttribute("REPLAYGAIN_ALBUM_GAIN", TagLib::ASF::Attribute(Db(row.albumDb)));
        return file.save();
    }
    }
    return false;
}

// The largest distance of `gained` from `plain` scaled by `factor` and clipped as a sample is, over
// `samples` samples from sample `from` (all when negative), and the sample where it is.
std::pair<double, qsizetype> WorstDifference(const QByteArray& plain, const QByteArray& gained, double factor,
                                             qsizetype from = 0, qsizetype samples = -1)
{
    const auto* a = reinterpret_cast<const qint16*>(plain.constData());
    const auto* b = reinterpret_cast<const qint16*>(gained.constData());
    std::pair<double, qsizetype> worst{0, from};
    for (qsizetype i = from; i < (samples < 0 ? plain.size() / 2 : from + samples); ++i) {
        const double difference = std::abs(b[i] - std::clamp(std::round(a[i] * factor), -32768.0, 32767.0));
        if (difference > worst.first)
            worst = {difference, i};
    }
    return worst;
}

class ReplayGainPcm : public ::testing::TestWithParam<GainRow>
{};

TEST_P(ReplayGainPcm, CapturedPcmIsTheDecodeScaledByTheGain)
{
    const GainRow& row = GetParam();
    ScopedTempFolder folder;
    const QString extension = QString::fromLatin1(row.fixture).section(QLatin1Char('.'), -1);
    const QString path = folder.FilePath(QStringLiteral("song.") + extension);
    ASSERT_TRUE(QFile::copy(FixturePath(QString::fromLatin1(row.fixture)), path));
    ASSERT_TRUE(Tag(path, row));

    const QByteArray plain = NullDevicePlayer(path).PlayToEnd(); // off unless asked for
    NullDevicePlayer player(path);
    player.SetReplayGain(row.options);
    EXPECT_NEAR(player.GetReplayGainApplied().dGainDb, row.expectedDb, 0.01);
    const QByteArray gained = player.PlayToEnd();
    ASSERT_GT(plain.size(), 44100);
    ASSERT_EQ(gained.size(), plain.size());

    const auto [worst, at] = WorstDifference(plain, gained, std::pow(10.0, row.expectedDb / 20.0));
    EXPECT_LE(worst, 1.0) << "at sample " << at;
}

constexpr double kPeak = 0.8; // above each fixture's real peak, so the limited gain never clips

INSTANTIATE_TEST_SUITE_P(
    Containers, ReplayGainPcm,
    ::testing::Values(
        GainRow{"Mp3Id3v2TextTrack", "tone-44k-stereo.mp3", Tagging::Id3v2Text, -6, -3, 0, {ReplayGainMode::Track}, -6},
        GainRow{"Mp3Id3v2TextAlbum", "tone-44k-stereo.mp3", Tagging::Id3v2Text, -6, -3, 0, {ReplayGainMode::Album}, -3},
        GainRow{"Mp3Rva2Track", "tone-44k-stereo.mp3", Tagging::Id3v2Rva2, -4.5, -2, 0, {ReplayGainMode::Track}, -4.5},
        GainRow{"FlacVorbisCommentAlbum", "chord-44k-stereo.flac", Tagging::Xiph, -6, -8, 0, {ReplayGainMode::Album}, -8},
        GainRow{"OggVorbisCommentTrack", "melody-44k-stereo.ogg", Tagging::Xiph, -7, -3, 0, {ReplayGainMode::Track}, -7},
        GainRow{"OpusR128Track", "tone-48k-stereo.opus", Tagging::OpusR128, -6, -2, 0, {ReplayGainMode::Track}, -6},
        GainRow{"Mp4FreeformTrack", "melody-44k-stereo.m4a", Tagging::Mp4Freeform, -5, -1, 0, {ReplayGainMode::Track}, -5},
        GainRow{"AsfAttributeAlbum", "chord-44k-stereo.wma", Tagging::Asf, -6, -9, 0, {ReplayGainMode::Album}, -9},
        GainRow{"PreampAdds", "chord-44k-stereo.flac", Tagging::Xiph, -6, -8, 0, {ReplayGainMode::Track, 2.5}, -3.5},
        GainRow{"NoValuesPlaysAtFallback", "chord-44k-stereo.flac", Tagging::None, 0, 0, 0,
                {ReplayGainMode::Track, 3, true, -5}, -5},
        GainRow{"BoostLimitedByPeak", "chord-44k-stereo.flac", Tagging::Xiph, 10, 10, kPeak, {ReplayGainMode::Track},
                -20 * std::log10(kPeak)},
        GainRow{"BoostWithoutPeakIsNotAllowed", "chord-44k-stereo.flac", Tagging::Xiph, 10, 10, 0, {ReplayGainMode::Track}, 0},
        GainRow{"NoPreventionSaturates", "chord-44k-stereo.flac", Tagging::Xiph, 10, 10, kPeak,
                {ReplayGainMode::Track, 0, false}, 10},
        GainRow{"OffPlaysUntouched", "chord-44k-stereo.flac", Tagging::Xiph, -6, -8, 0, {ReplayGainMode::Off}, 0}),
    [](const ::testing::TestParamInfo<GainRow>& info) { return std::string(info.param.name); });

// A gain change reaches the playing song: blocks queued before it keep the old gain, the later
// ones carry the new one.
TEST(ReplayGain, ChangeWhilePlayingReachesTheSong)
{
    ScopedTempFolder folder;
    const QString path = folder.FilePath(QStringLiteral("song.flac"));
    ASSERT_TRUE(QFile::copy(FixturePath(QStringLiteral("chord-44k-stereo.flac")), path));
    ASSERT_TRUE(Tag(path, GainRow{"", "", Tagging::Xiph, -12, -12, 0, {}, 0}));
    const QByteArray reference = ReferencePcm(path);
    NullDevicePlayer player(path, 4.0);
    ASSERT_EQ(player.Play(0), S_OK);
    ASSERT_TRUE(WaitUntil([&] { return player.GetCurrentTime() > 2000000; }, 5000));
    player.SetReplayGain({ReplayGainMode::Track});
    EXPECT_NEAR(player.GetReplayGainApplied().dGainDb, -12, 0.01);
    ASSERT_TRUE(WaitUntil([&] { return !player.m_bPlaying; }, 10000));
    const QByteArray captured = player.Captured();
    ASSERT_GT(captured.size(), 4 * kBlockBytes);
    ASSERT_GE(reference.size(), captured.size());
    constexpr int kBlockSamples = kBlockBytes / 2;
    EXPECT_EQ(WorstDifference(reference, captured, 1.0, 0, kBlockSamples).first, 0) << "the start played untouched";
    EXPECT_LE(WorstDifference(reference, captured, std::pow(10.0, -12 / 20.0), captured.size() / 2 - kBlockSamples,
                              kBlockSamples).first, 1)
        << "the end is 12 dB down";
}

} // namespace
