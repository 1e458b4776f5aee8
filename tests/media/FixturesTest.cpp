// The generated media must be what the other suites assume: every song decodes cleanly with the
// declared rate and channel count, and carries the tags, lyrics and cover the generator promises.
// (The broken and video files are checked where the engine opens them.)
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <gtest/gtest.h>
#include <taglib/fileref.h>
#include <taglib/tpropertymap.h>

#include "support/TestFolders.h"

using tunivox::test::FixturePath;

namespace {

struct FixtureCase { const char* name; int rate, channels; bool tagged, cover, lyrics; };

const FixtureCase kFixtures[] = {
    {"tone-44k-stereo.mp3", 44100, 2, true, true, false},   {"chord-44k-stereo-vbr.mp3", 44100, 2, true, false, false},
    {"noise-22k-mono.mp3", 22050, 1, false, false, false},  {"melody-48k-mono.flac", 48000, 1, true, true, true},
    {"chord-44k-stereo.flac", 44100, 2, true, false, true}, {"melody-44k-stereo.m4a", 44100, 2, true, true, true},
    {"tone-48k-mono.m4a", 48000, 1, false, false, false},   {"chord-44k-stereo.wma", 44100, 2, true, false, false},
    {"tone-22k-mono.wma", 22050, 1, false, false, false},   {"melody-44k-stereo.wav", 44100, 2, false, false, false},
    {"tone-48k-mono.wav", 48000, 1, false, false, false},   {"melody-44k-stereo.ogg", 44100, 2, true, false, true},
    {"noise-48k-stereo.ogg", 48000, 2, false, false, false}, {"tone-48k-stereo.opus", 48000, 2, true, false, true},
    {"long-44k-stereo.mp3", 44100, 2, true, true, false},   {"short-44k-stereo.wav", 44100, 2, false, false, false},
};

// Runs an ffmpeg tool on `path`; any complaint on stderr counts as a failure.
QByteArray RunTool(const char* program, QStringList arguments, const QString& path, QString* errors)
{
    QProcess tool;
    arguments.replaceInStrings(QStringLiteral("FILE"), path);
    tool.start(QString::fromLatin1(program), arguments);
    const bool finished = tool.waitForFinished(60000);
    *errors = QString::fromUtf8(tool.readAllStandardError()).trimmed();
    if (!finished || (tool.exitCode() != 0 && errors->isEmpty()))
        *errors = QStringLiteral("exit code %1").arg(tool.exitCode());
    return tool.readAllStandardOutput();
}

void PrintTo(const FixtureCase& c, std::ostream* os) { *os << c.name; }

class Fixture : public ::testing::TestWithParam<FixtureCase> {};

TEST_P(Fixture, DecodesWithItsFormatAndCarriesItsTags)
{
    const FixtureCase& c = GetParam();
    const QString path = FixturePath(QString::fromLatin1(c.name));
    QString errors;
    RunTool("ffmpeg", {"-nostdin", "-v", "error", "-i", "FILE", "-f", "null", "-"}, path, &errors);
    EXPECT_EQ(errors, QString());
    const QByteArray probe = RunTool("ffprobe", {"-v", "error", "-of", "json", "-show_streams", "FILE"}, path, &errors);
    int audio = 0;
    bool cover = false;
    for (const QJsonValue& value : QJsonDocument::fromJson(probe).object().value(QStringLiteral("streams")).toArray()) {
        const QJsonObject stream = value.toObject();
        if (stream.value(QStringLiteral("codec_type")).toString() == QLatin1String("audio")) {
            ++audio;
            EXPECT_EQ(stream.value(QStringLiteral("sample_rate")).toString().toInt(), c.rate);
            EXPECT_EQ(stream.value(QStringLiteral("channels")).toInt(), c.channels);
        }
        cover |= stream.value(QStringLiteral("disposition")).toObject().value(QStringLiteral("attached_pic")).toInt() == 1;
    }
    EXPECT_EQ(audio, 1);
    EXPECT_EQ(cover, c.cover);

    TagLib::FileRef file(path.toLocal8Bit().constData());
    ASSERT_FALSE(file.isNull()) << "TagLib cannot open " << c.name;
    const TagLib::Tag* tag = file.tag();
    if (!c.tagged) {
        EXPECT_TRUE(tag->title().isEmpty());
        return;
    }
    const QString base = QString::fromLatin1(c.name).section(QLatin1Char('.'), 0, 0);
    EXPECT_EQ(QString::fromStdString(tag->title().to8Bit(true)), QStringLiteral("Title of ") + base);
    EXPECT_EQ(tag->artist() + "|" + tag->album() + "|" + tag->genre(), TagLib::String("Fixture Artist|Fixture Album|Rock"));
    EXPECT_EQ(tag->year() * 100 + tag->track(), 200403u);
    EXPECT_EQ(file.file()->properties().contains("LYRICS"), c.lyrics);
}

INSTANTIATE_TEST_SUITE_P(Generated, Fixture, ::testing::ValuesIn(kFixtures),
                         [](const ::testing::TestParamInfo<FixtureCase>& info) {
                             std::string name = info.param.name;
                             for (char& ch : name)
                                 if (!std::isalnum(static_cast<unsigned char>(ch)))
                                     ch = '_';
                             return name;
                         });

} // namespace
