// Tag reads per second: CId3Tag::ReadTag against a plain loop over TagLib's own classes reading the
// same items, both over one generated corpus of 2,000 short files of mixed containers.

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>
#include <stdexcept>
#include <string>
#include <taglib/asffile.h>
#include <taglib/fileref.h>
#include <taglib/flacfile.h>
#include <taglib/id3v1tag.h>
#include <taglib/id3v2tag.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>
#include <taglib/tag.h>
#include <taglib/wavfile.h>
#include <taglib/xiphcomment.h>
#include <vector>

#include "song/CId3Tag.h"

namespace {

constexpr int kCorpusSize = 2000;

// Copies of the short fixtures, each retagged so that no two files are alike; removed at exit.
struct Corpus
{
    Corpus();
    QTemporaryDir folder;
    std::vector<QString> paths;
};

Corpus::Corpus()
{
    const char* sources[] = { "noise-22k-mono.mp3", "chord-44k-stereo-vbr.mp3", "short-44k-stereo.wav",
                              "chord-44k-stereo.flac", "tone-48k-mono.m4a", "tone-22k-mono.wma" };
    for (int n = 0; n < kCorpusSize; ++n) {
        const QString source = QStringLiteral(TUNIVOX_FIXTURE_DIR "/") + QLatin1String(sources[n % 6]);
        const QString path = folder.filePath(
            QStringLiteral("song-%1.%2").arg(n, 4, 10, QLatin1Char('0')).arg(source.section(QLatin1Char('.'), -1)));
        if (!QFile::copy(source, path))
            throw std::runtime_error("cannot copy " + source.toStdString());
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
        TagLib::FileRef file(QFile::encodeName(path).constData());
        if (file.isNull())
            throw std::runtime_error("cannot tag " + path.toStdString());
        file.tag()->setTitle(TagLib::String::number(n) + " title");
        file.tag()->setArtist("Corpus Artist");
        file.tag()->setAlbum(TagLib::String("Album ") + TagLib::String::number(n / 12));
        file.tag()->setTrack(static_cast<unsigned int>(n % 12 + 1));
        file.tag()->setYear(static_cast<unsigned int>(1960 + n % 60));
        file.save();
        paths.push_back(path);
    }
}

const Corpus& SharedCorpus()
{
    static const Corpus corpus;
    return corpus;
}

// The plain loop's sink: text kept as UTF-8, as a caller of TagLib would keep it.
struct PlainRecord
{
    std::vector<std::string> texts;
    void Add(const TagLib::String& text) { texts.push_back(text.to8Bit(true)); }
    void Add(int number) { texts.push_back(std::to_string(number)); }
};

void PlainProperties(const TagLib::AudioProperties* properties, PlainRecord& record)
{
    if (!properties)
        return;
    record.Add(properties->bitrate());
    record.Add(properties->sampleRate());
    record.Add(properties->lengthInSeconds());
    record.Add(properties->channels());
}

void PlainMainItems(const TagLib::Tag* tag, PlainRecord& record)
{
    for (const TagLib::String& text : { tag->title(), tag->artist(), tag->album(), tag->genre(), tag->comment() })
        record.Add(text);
    record.Add(static_cast<int>(tag->year()));
    record.Add(static_cast<int>(tag->track()));
}

void PlainId3v2(const TagLib::ID3v2::Tag* tag, PlainRecord& record)
{
    static const char* const ids[] = { "TIT2", "TPE1", "TALB", "TCON", "TRCK", "COMM", "TDRC", "TPOS", "TOPE",
                                       "TCOP", "TENC", "TCOM", "TEXT", "TPE2", "TPE3", "TPUB", "TBPM", "USLT", "APIC" };
    const auto& frames = tag->frameListMap();
    for (const char* id : ids) {
        const auto found = frames.find(TagLib::ByteVector(id, 4));
        if (found != frames.end() && !found->second.isEmpty())
            record.Add(found->second.front()->toString());
    }
}

template <typename Map>
void PlainKeys(const Map& map, std::initializer_list<const char*> keys, PlainRecord& record)
{
    for (const char* key : keys) {
        const auto found = map.find(TagLib::String(key, TagLib::String::Latin1));
        if (found == map.end())
            continue;
        if constexpr (std::is_same_v<Map, TagLib::MP4::ItemMap>)
            record.Add(found->second.toStringList().toString(", "));
        else if constexpr (std::is_same_v<Map, TagLib::ASF::AttributeListMap>)
            record.Add(found->second.isEmpty() ? TagLib::String() : found->second.front().toString());
        else
            record.Add(found->second.toString(" "));
    }
}

void PlainRead(const QString& path, PlainRecord& record)
{
    const QByteArray name = QFile::encodeName(path);
    const auto style = TagLib::AudioProperties::Average;
    if (path.endsWith(QLatin1String(".mp3"))) {
        TagLib::MPEG::File file(name.constData(), true, style);
        PlainProperties(file.audioProperties(), record);
        PlainMainItems(file.tag(), record);
        if (file.hasID3v1Tag())
            PlainMainItems(file.ID3v1Tag(), record);
        if (file.hasID3v2Tag())
            PlainId3v2(file.ID3v2Tag(), record);
    } else if (path.endsWith(QLatin1String(".wav"))) {
        TagLib::RIFF::WAV::File file(name.constData(), true, style);
        PlainProperties(file.audioProperties(), record);
        PlainMainItems(file.tag(), record);
        if (file.hasID3v2Tag())
            PlainId3v2(file.ID3v2Tag(), record);
    } else if (path.endsWith(QLatin1String(".flac"))) {
        TagLib::FLAC::File file(name.constData(), true, style);
        PlainProperties(file.audioProperties(), record);
        if (file.hasXiphComment())
            PlainKeys(file.xiphComment()->fieldListMap(),
                      { "TITLE", "ARTIST", "ALBUM", "GENRE", "DATE", "TRACKNUMBER", "COMMENT", "ALBUMARTIST",
                        "DISCNUMBER", "ORIGARTIST", "COPYRIGHT", "ENCODEDBY", "COMPOSER", "LYRICIST",
                        "CONDUCTOR", "PUBLISHER", "BPM", "LYRICS" },
                      record);
        record.Add(static_cast<int>(file.pictureList().size()));
    } else if (path.endsWith(QLatin1String(".m4a"))) {
        TagLib::MP4::File file(name.constData(), true, style);
        PlainProperties(file.audioProperties(), record);
        PlainKeys(file.tag()->itemMap(),
                  { "\251nam", "\251ART", "\251alb", "\251day", "\251gen", "trkn", "\251cmt", "aART", "disk",
                    "cprt", "\251too", "\251wrt", "----:com.apple.iTunes:LYRICIST",
                    "----:com.apple.iTunes:CONDUCTOR", "tmpo", "\251lyr", "covr" },
                  record);
    } else if (path.endsWith(QLatin1String(".wma"))) {
        TagLib::ASF::File file(name.constData(), true, style);
        PlainMainItems(file.tag(), record);
        PlainKeys(file.tag()->attributeListMap(),
                  { "WM/TrackNumber", "WM/AlbumArtist", "WM/PartOfSet", "WM/EncodedBy", "WM/Composer",
                    "WM/Writer", "WM/Conductor", "WM/Publisher", "WM/BeatsPerMinute", "WM/Lyrics", "WM/Picture" },
                  record);
    }
}

void BM_Id3TagReadTag(benchmark::State& state)
{
    const Corpus& corpus = SharedCorpus();
    size_t next = 0;
    for (auto _ : state) {
        CId3Tag reader;
        CMp3Song song = reader.ReadTag(corpus.paths[next], QString());
        benchmark::DoNotOptimize(song);
        next = (next + 1) % corpus.paths.size();
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_PlainTagLibLoop(benchmark::State& state)
{
    const Corpus& corpus = SharedCorpus();
    size_t next = 0;
    for (auto _ : state) {
        PlainRecord record;
        PlainRead(corpus.paths[next], record);
        benchmark::DoNotOptimize(record);
        next = (next + 1) % corpus.paths.size();
    }
    state.SetItemsProcessed(state.iterations());
}

// Whole passes over the corpus so both sides see the same container mix; the first pass warms the
// page cache for both.
BENCHMARK(BM_PlainTagLibLoop)->Iterations(kCorpusSize * 3)->Repetitions(3)->ReportAggregatesOnly(true);
BENCHMARK(BM_Id3TagReadTag)->Iterations(kCorpusSize * 3)->Repetitions(3)->ReportAggregatesOnly(true);

} // namespace

BENCHMARK_MAIN();
