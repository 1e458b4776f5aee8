#include "song/ReplayGainTags.h"

#include <QHash>
#include <QRegularExpression>
#include <cmath>
#include <taglib/apetag.h>
#include <taglib/asffile.h>
#include <taglib/fileref.h>
#include <taglib/flacfile.h>
#include <taglib/id3v2tag.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>
#include <taglib/opusfile.h>
#include <taglib/relativevolumeframe.h>
#include <taglib/textidentificationframe.h>
#include <taglib/vorbisfile.h>
#include <taglib/wavfile.h>
#include <taglib/xiphcomment.h>

#include "song/ReadOnlyTagFile.h"
#include "song/TagLibText.h"

namespace {

// Upper-case key (the part after the last ':' for MP4 freeform names) to its first text.
using TextByKey = QHash<QString, QString>;

// Opus gains are Q7.8 dB to -23 LUFS; ReplayGain's reference is 5 dB louder.
constexpr double kR128ToReplayGainDb = 5.0;

void AddXiph(const TagLib::Ogg::XiphComment* comment, TextByKey& texts)
{
    if (!comment)
        return;
    for (const auto& [key, values] : comment->fieldListMap())
        if (!values.isEmpty())
            texts.insert(QStringFromTagLib(key).toUpper(), QStringFromTagLib(values.front()));
}

void AddId3v2(TagLib::ID3v2::Tag* tag, TextByKey& texts, ReplayGainValues& rva2)
{
    if (!tag)
        return;
    for (TagLib::ID3v2::Frame* frame : tag->frameList("TXXX")) {
        auto* text = dynamic_cast<TagLib::ID3v2::UserTextIdentificationFrame*>(frame);
        if (text && text->fieldList().size() >= 2)
            texts.insert(QStringFromTagLib(text->description()).toUpper(), QStringFromTagLib(text->fieldList()[1]));
    }
    for (TagLib::ID3v2::Frame* frame : tag->frameList("RVA2")) {
        auto* volume = dynamic_cast<TagLib::ID3v2::RelativeVolumeFrame*>(frame);
        if (!volume)
            continue;
        const QString id = QStringFromTagLib(volume->identification()).toLower();
        const bool album = id == QLatin1String("album");
        if (!album && id != QLatin1String("track"))
            continue;
        const double gain = volume->volumeAdjustment(TagLib::ID3v2::RelativeVolumeFrame::MasterVolume);
        const auto peak = volume->peakVolume(TagLib::ID3v2::RelativeVolumeFrame::MasterVolume);
        std::optional<double> peakValue;
        if (peak.bitsRepresentingPeak > 0 && peak.bitsRepresentingPeak <= 32 && !peak.peakVolume.isEmpty()) {
            double value = 0;
            for (unsigned char byte : peak.peakVolume)
                value = value * 256 + byte;
            peakValue = value / std::ldexp(1.0, peak.bitsRepresentingPeak - 1);
        }
        (album ? rva2.dAlbumGainDb : rva2.dTrackGainDb) = gain;
        (album ? rva2.dAlbumPeak : rva2.dTrackPeak) = peakValue;
    }
}

void AddMp4(const TagLib::MP4::Tag* tag, TextByKey& texts)
{
    if (!tag)
        return;
    for (const auto& [name, item] : tag->itemMap()) {
        const QString key = QStringFromTagLib(name);
        if (!key.startsWith(QLatin1String("----:")))
            continue;
        const TagLib::StringList values = item.toStringList();
        if (!values.isEmpty())
            texts.insert(key.section(QLatin1Char(':'), -1).toUpper(), QStringFromTagLib(values.front()));
    }
}

void AddAsf(const TagLib::ASF::Tag* tag, TextByKey& texts)
{
    if (!tag)
        return;
    for (const auto& [name, attributes] : tag->attributeListMap())
        if (!attributes.isEmpty())
            texts.insert(QStringFromTagLib(name).toUpper(), QStringFromTagLib(attributes.front().toString()));
}

void AddApe(const TagLib::APE::Tag* tag, TextByKey& texts)
{
    if (!tag)
        return;
    for (const auto& [key, item] : tag->itemListMap())
        texts.insert(QStringFromTagLib(key).toUpper(), QStringFromTagLib(item.toString()));
}

std::optional<double> Number(const TextByKey& texts, const char* key)
{
    const auto found = texts.constFind(QLatin1String(key));
    return found == texts.cend() ? std::nullopt : ParseReplayGainNumber(*found);
}

} // namespace

std::optional<double> ParseReplayGainNumber(const QString& text)
{
    static const QRegularExpression number(QStringLiteral("^\\s*([+-]?(\\d+\\.?\\d*|\\.\\d+))"));
    const QRegularExpressionMatch match = number.match(text);
    if (!match.hasMatch())
        return std::nullopt;
    bool ok = false;
    const double value = match.captured(1).toDouble(&ok);
    return ok && std::isfinite(value) ? std::optional<double>(value) : std::nullopt;
}

ReplayGainValues ReadReplayGain(const QString& path)
{
    ReplayGainValues values;
    const CReadOnlyTagFile<TagLib::FileRef> opened(path, false);
    const TagLib::FileRef& file = *opened;
    if (file.isNull())
        return values;
    TextByKey texts;
    ReplayGainValues rva2;
    TagLib::File* raw = file.file();
    if (auto* mpeg = dynamic_cast<TagLib::MPEG::File*>(raw)) {
        AddApe(mpeg->APETag(false), texts);
        AddId3v2(mpeg->ID3v2Tag(false), texts, rva2);
    } else if (auto* flac = dynamic_cast<TagLib::FLAC::File*>(raw)) {
        AddId3v2(flac->ID3v2Tag(false), texts, rva2);
        AddXiph(flac->xiphComment(false), texts);
    } else if (auto* vorbis = dynamic_cast<TagLib::Ogg::Vorbis::File*>(raw)) {
        AddXiph(vorbis->tag(), texts);
    } else if (auto* opus = dynamic_cast<TagLib::Ogg::Opus::File*>(raw)) {
        AddXiph(opus->tag(), texts);
    } else if (auto* mp4 = dynamic_cast<TagLib::MP4::File*>(raw)) {
        AddMp4(mp4->tag(), texts);
    } else if (auto* asf = dynamic_cast<TagLib::ASF::File*>(raw)) {
        AddAsf(asf->tag(), texts);
    } else if (auto* wav = dynamic_cast<TagLib::RIFF::WAV::File*>(raw)) {
        AddId3v2(wav->ID3v2Tag(), texts, rva2);
    }

    values.dTrackGainDb = Number(texts, "REPLAYGAIN_TRACK_GAIN");
    values.dTrackPeak = Number(texts, "REPLAYGAIN_TRACK_PEAK");
    values.dAlbumGainDb = Number(texts, "REPLAYGAIN_ALBUM_GAIN");
    values.dAlbumPeak = Number(texts, "REPLAYGAIN_ALBUM_PEAK");
    if (const auto r128 = Number(texts, "R128_TRACK_GAIN"); r128 && !values.dTrackGainDb)
        values.dTrackGainDb = *r128 / 256.0 + kR128ToReplayGainDb;
    if (const auto r128 = Number(texts, "R128_ALBUM_GAIN"); r128 && !values.dAlbumGainDb)
        values.dAlbumGainDb = *r128 / 256.0 + kR128ToReplayGainDb;
    // RVA2 only where no text frame gave a gain.
    if (!values.dTrackGainDb && rva2.dTrackGainDb) {
        values.dTrackGainDb = rva2.dTrackGainDb;
        values.dTrackPeak = rva2.dTrackPeak;
    }
    if (!values.dAlbumGainDb && rva2.dAlbumGainDb) {
        values.dAlbumGainDb = rva2.dAlbumGainDb;
        values.dAlbumPeak = rva2.dAlbumPeak;
    }
    return values;
}
