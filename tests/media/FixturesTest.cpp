// The generated media must be what the other suites assume: every song decodes cleanly with the
// declared rate and channel count, and carries the tags, lyrics and cover the manifest promises.
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <gtest/gtest.h>
#include <taglib/fileref.h>
#include <taglib/tpropertymap.h>

#include "support/TestFolders.h"

using tunivox::test::FixtureFolder;
using tunivox::test::FixturePath;

namespace {

struct FixtureCase
{
    const char* name;
    int rate;
    int channels;
    bool tagged;
    bool cover;
    bool lyrics;
};

const FixtureCase kFixtures[] = {
    {"tone-44k-stereo.mp3", 44100, 2, true, true, false},
    {"chord-44k-stereo-vbr.mp3", 44100, 2, true, false, false},
    {"noise-22k-mono.mp3", 22050, 1, false, false, false},
    {"melody-48k-mono.flac", 48000, 1, true, true, true},
    {"chord-44k-stereo.flac", 44100, 2, true, false, true},
    {"melody-44k-stereo.m4a", 44100, 2, true, true, true},
    {"tone-48k-mono.m4a", 48000, 1, false, false, false},
    {"chord-44k-stereo.wma", 44100, 2, true, false, false},
    {"tone-22k-mono.wma", 22050, 1, false, false, false},
    {"melody-44k-stereo.wav", 44100, 2, false, false, false},
    {"tone-48k-mono.wav", 48000, 1, false, false, false},
    {"melody-44k-stereo.ogg", 44100, 2, true, false, true},
    {"noise-48k-stereo.ogg", 48000, 2, false, false, false},
    {"tone-48k-stereo.opus", 48000, 2, true, false, true},
    {"long-44k-stereo.mp3", 44100, 2, true, true, false},
    {"short-44k-stereo.wav", 44100, 2, false, false, false},
};

QJsonObject Probe(const QString& path)
{
    QProcess probe;
    probe.start(QStringLiteral("ffprobe"), {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-of"),
                                            QStringLiteral("json"), QStringLiteral("-show_streams"), path});
    if (!probe.waitForFinished(30000) || probe.exitCode() != 0)
        return {};
    return QJsonDocument::fromJson(probe.readAllStandardOutput()).object();
}

// Decodes the whole file; any decoder complaint counts as a failure.
QString DecodeErrors(const QString& path)
{
    QProcess ffmpeg;
    ffmpeg.start(QStringLiteral("ffmpeg"), {QStringLiteral("-nostdin"), QStringLiteral("-v"), QStringLiteral("error"),
                                            QStringLiteral("-i"), path, QStringLiteral("-f"), QStringLiteral("null"),
                                            QStringLiteral("-")});
    if (!ffmpeg.waitForFinished(60000))
        return QStringLiteral("timed out");
    const QString errors = QString::fromUtf8(ffmpeg.readAllStandardError()).trimmed();
    return ffmpeg.exitCode() != 0 && errors.isEmpty() ? QStringLiteral("exit code %1").arg(ffmpeg.exitCode()) : errors;
}

void PrintTo(const FixtureCase& c, std::ostream* os) { *os << c.name; }

class Fixture : public ::testing::TestWithParam<FixtureCase> {};

TEST_P(Fixture, DecodesWithItsDeclaredFormat)
{
    const FixtureCase& c = GetParam();
    const QString path = FixturePath(QString::fromLatin1(c.name));
    EXPECT_EQ(DecodeErrors(path), QString());

    const QJsonArray streams = Probe(path).value(QStringLiteral("streams")).toArray();
    int audio = 0;
    bool cover = false;
    for (const QJsonValue& value : streams) {
        const QJsonObject stream = value.toObject();
        if (stream.value(QStringLiteral("codec_type")).toString() == QLatin1String("audio")) {
            ++audio;
            EXPECT_EQ(stream.value(QStringLiteral("sample_rate")).toString().toInt(), c.rate);
            EXPECT_EQ(stream.value(QStringLiteral("channels")).toInt(), c.channels);
        }
        if (stream.value(QStringLiteral("disposition")).toObject().value(QStringLiteral("attached_pic")).toInt() == 1)
            cover = true;
    }
    EXPECT_EQ(audio, 1);
    EXPECT_EQ(cover, c.cover);
}

TEST_P(Fixture, CarriesItsTags)
{
    const FixtureCase& c = GetParam();
    const QByteArray path = FixturePath(QString::fromLatin1(c.name)).toLocal8Bit();
    TagLib::FileRef file(path.constData());
    ASSERT_FALSE(file.isNull()) << "TagLib cannot open " << c.name;
    ASSERT_NE(file.audioProperties(), nullptr);
    EXPECT_EQ(file.audioProperties()->sampleRate(), c.rate);
    if (!c.tagged) {
        EXPECT_TRUE(file.tag()->title().isEmpty());
        return;
    }
    const QString base = QString::fromLatin1(c.name).section(QLatin1Char('.'), 0, 0);
    EXPECT_EQ(QString::fromStdString(file.tag()->title().to8Bit(true)), QStringLiteral("Title of ") + base);
    EXPECT_EQ(file.tag()->artist(), TagLib::String("Fixture Artist"));
    EXPECT_EQ(file.tag()->album(), TagLib::String("Fixture Album"));
    EXPECT_EQ(file.tag()->year(), 2004u);
    EXPECT_EQ(file.tag()->track(), 3u);
    EXPECT_EQ(file.tag()->genre(), TagLib::String("Rock"));
    const TagLib::PropertyMap properties = file.file()->properties();
    EXPECT_EQ(properties.contains("LYRICS"), c.lyrics);
}

INSTANTIATE_TEST_SUITE_P(Generated, Fixture, ::testing::ValuesIn(kFixtures),
                         [](const ::testing::TestParamInfo<FixtureCase>& info) {
                             std::string name = info.param.name;
                             for (char& ch : name)
                                 if (!std::isalnum(static_cast<unsigned char>(ch)))
                                     ch = '_';
                             return name;
                         });

TEST(Fixtures, VideoFileHasItsAudioAsSecondStream)
{
    const QJsonArray streams = Probe(FixturePath(QStringLiteral("video-audio-second.mp4")))
                                   .value(QStringLiteral("streams")).toArray();
    ASSERT_EQ(streams.size(), 2);
    EXPECT_EQ(streams[0].toObject().value(QStringLiteral("codec_type")).toString(), QStringLiteral("video"));
    EXPECT_EQ(streams[1].toObject().value(QStringLiteral("codec_type")).toString(), QStringLiteral("audio"));
}

TEST(Fixtures, BrokenFilesAreBroken)
{
    EXPECT_TRUE(Probe(FixturePath(QStringLiteral("not-audio.mp3"))).isEmpty());
    EXPECT_TRUE(Probe(FixturePath(QStringLiteral("empty.mp3"))).isEmpty());
    EXPECT_NE(DecodeErrors(FixturePath(QStringLiteral("truncated.mp3"))), QString()) << "cut mid-frame";
}

TEST(Fixtures, BackgroundPicturesExist)
{
    const QDir images(FixtureFolder() + QStringLiteral("Images"));
    EXPECT_EQ(images.entryList({QStringLiteral("*.jpg")}, QDir::Files).size(), 3);
}

} // namespace
