#include "song/CId3Tag.h"

#include <QString>
#include <exception>
#include <iterator>
#include <taglib/asffile.h>
#include <taglib/flacfile.h>
#include <taglib/id3v1tag.h>
#include <taglib/id3v2tag.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>
#include <taglib/wavfile.h>
#include <taglib/xiphcomment.h>

#include "song/AudioStream.h"
#include "song/ReadOnlyTagFile.h"
#include "song/TagLibText.h"

namespace {

// The texts one read collects before they are stored into the record.
struct TagItems
{
    QString artist, title, album, year, genre, comment, track;
    QString composer, origArtist, copyright, encodedBy, discNumber, albumArtist, publisher,
        conductor, lyrics, lyricist, bpm;
};

using Item = QString TagItems::*;

struct Id3v2FrameItem
{
    const char* pszFrameId;
    Item item;
    const char* pszListingLabel;
};

// First frame of each id wins; an absent frame keeps what the combined tag gave.
const Id3v2FrameItem kId3v2Frames[] = {
    { "TIT2", &TagItems::title, "\nTITLE - [TIT2] : " },
    { "TPE1", &TagItems::artist, "\nARTIST - [TPE1] : " },
    { "TALB", &TagItems::album, "\nALBUM - [TALB] : " },
    { "TCON", &TagItems::genre, "\nGENRE - [TCON] : " },
    { "TRCK", &TagItems::track, "\nTRACKNUMBER - [TRCK] : " },
    { "COMM", &TagItems::comment, "\nCOMMENT - [COMM] : " },
    { "TDRC", &TagItems::year, "\nYEAR - [TDRC] : " },
    { "TPOS", &TagItems::discNumber, "\nDISCNUMBER - [TPOS] : " },
    { "TOPE", &TagItems::origArtist, "\nORIGINALARTIST - [TOPE] : " },
    { "TCOP", &TagItems::copyright, "\nCOPYRIGHT - [TCOP] : " },
    { "TENC", &TagItems::encodedBy, "\nENCODEDBY - [TENC] : " },
    { "TCOM", &TagItems::composer, "\nCOMPOSER - [TCOM] : " },
    { "TEXT", &TagItems::lyricist, "\nLYRICIST - [TEXT] : " },
    { "TPE2", &TagItems::albumArtist, "\nALBUMARTIST - BAND - [TEXT] : " },
    { "TPE3", &TagItems::conductor, "\nCONDUCTOR - [TPE3] : " },
    { "TPUB", &TagItems::publisher, "\nPUBLISHER - [TPUB] : " },
    { "TBPM", &TagItems::bpm, "\nBPM - [TBPM] : " },
    { "USLT", &TagItems::lyrics, "\nLYRICS - [USLT] : " },
};

enum class Conversion { Text, Integer, Year4 };

struct KeyedItem
{
    const char* pszKey;
    Item item;
    Conversion conversion;
};

const KeyedItem kXiphFields[] = {
    { "TITLE", &TagItems::title, Conversion::Text },
    { "ARTIST", &TagItems::artist, Conversion::Text },
    { "ALBUM", &TagItems::album, Conversion::Text },
    { "GENRE", &TagItems::genre, Conversion::Text },
    { "DATE", &TagItems::year, Conversion::Integer },
    { "TRACKNUMBER", &TagItems::track, Conversion::Integer },
    { "COMMENT", &TagItems::comment, Conversion::Text },
    { "ALBUMARTIST", &TagItems::albumArtist, Conversion::Text },
    { "DISCNUMBER", &TagItems::discNumber, Conversion::Text },
    { "ORIGARTIST", &TagItems::origArtist, Conversion::Text },
    { "COPYRIGHT", &TagItems::copyright, Conversion::Text },
    { "ENCODEDBY", &TagItems::encodedBy, Conversion::Text },
    { "COMPOSER", &TagItems::composer, Conversion::Text },
    { "LYRICIST", &TagItems::lyricist, Conversion::Text },
    { "CONDUCTOR", &TagItems::conductor, Conversion::Text },
    { "PUBLISHER", &TagItems::publisher, Conversion::Text },
    { "BPM", &TagItems::bpm, Conversion::Text },
    { "LYRICS", &TagItems::lyrics, Conversion::Text },
};

// MP4 atom names are Latin-1: "\251" is the copyright sign that starts the iTunes names.
const KeyedItem kMp4Items[] = {
    { "\251nam", &TagItems::title, Conversion::Text },
    { "\251ART", &TagItems::artist, Conversion::Text },
    { "\251alb", &TagItems::album, Conversion::Text },
    { "\251day", &TagItems::year, Conversion::Year4 },
    { "\251gen", &TagItems::genre, Conversion::Text },
    { "trkn", &TagItems::track, Conversion::Integer },
    { "\251cmt", &TagItems::comment, Conversion::Text },
    { "aART", &TagItems::albumArtist, Conversion::Text },
    { "disk", &TagItems::discNumber, Conversion::Integer },
    { "cprt", &TagItems::copyright, Conversion::Text },
    { "\251too", &TagItems::encodedBy, Conversion::Text },
    { "\251wrt", &TagItems::composer, Conversion::Text },
    { "----:com.apple.iTunes:LYRICIST", &TagItems::lyricist, Conversion::Text },
    { "----:com.apple.iTunes:CONDUCTOR", &TagItems::conductor, Conversion::Text },
    { "tmpo", &TagItems::bpm, Conversion::Integer },
    { "\251lyr", &TagItems::lyrics, Conversion::Text },
};

// Integer ASF attributes are kept only when positive.
const KeyedItem kAsfAttributes[] = {
    { "WM/TrackNumber", &TagItems::track, Conversion::Integer },
    { "WM/AlbumArtist", &TagItems::albumArtist, Conversion::Text },
    { "WM/PartOfSet", &TagItems::discNumber, Conversion::Integer },
    { "WM/EncodedBy", &TagItems::encodedBy, Conversion::Text },
    { "WM/Composer", &TagItems::composer, Conversion::Text },
    { "WM/Writer", &TagItems::lyricist, Conversion::Text },
    { "WM/Conductor", &TagItems::conductor, Conversion::Text },
    { "WM/Publisher", &TagItems::publisher, Conversion::Text },
    { "WM/BeatsPerMinute", &TagItems::bpm, Conversion::Text },
    { "WM/Lyrics", &TagItems::lyrics, Conversion::Text },
};

QString NumberUnlessZero(unsigned int value) { return value ? QString::number(value) : QString(); }

// False when the file has no audio properties: the read then ends with the record as it stands.
bool ReadProperties(const TagLib::AudioProperties* properties, CMp3Song& song)
{
    if (!properties)
        return false;
    song.m_strBitrate = QString::number(properties->bitrate());
    song.m_strSampleRate = QString::number(properties->sampleRate());
    song.m_strLength = QString::number(properties->lengthInSeconds());
    song.m_strCodecInfo = QStringLiteral("n/a");
    song.m_strChannels = properties->channels() == 1 ? QStringLiteral("Mono") : QStringLiteral("Stereo");
    return true;
}

// The combined tag's seven items; returns its track number for the ID3v1 rule.
unsigned int ReadMainItems(const TagLib::Tag* tag, TagItems& items)
{
    if (!tag)
        return 0;
    items.title = QStringFromTagLib(tag->title());
    items.artist = QStringFromTagLib(tag->artist());
    items.album = QStringFromTagLib(tag->album());
    items.genre = QStringFromTagLib(tag->genre());
    items.comment = QStringFromTagLib(tag->comment());
    items.year = NumberUnlessZero(tag->year());
    items.track = NumberUnlessZero(tag->track());
    return tag->track();
}

void ReadId3v2Frames(const TagLib::ID3v2::Tag& tag, TagItems& items, CMp3Song& song)
{
    song.m_bHasPicture = 0;
    const TagLib::ID3v2::FrameListMap& frames = tag.frameListMap();
    // A trace of what the frames gave, for a debugger; nothing reads it.
    QString frameListing;
    for (const Id3v2FrameItem& entry : kId3v2Frames) {
        const auto found = frames.find(TagLib::ByteVector(entry.pszFrameId, 4));
        if (found == frames.end() || found->second.isEmpty())
            continue;
        items.*entry.item = QStringFromTagLib(found->second.front()->toString());
        frameListing += QLatin1String(entry.pszListingLabel);
        frameListing += items.*entry.item;
    }
    const auto pictures = frames.find(TagLib::ByteVector("APIC", 4));
    if (pictures != frames.end() && !pictures->second.isEmpty())
        song.m_bHasPicture = 1;
}

bool ReadMpeg(const QString& path, TagItems& items, CMp3Song& song)
{
    const CReadOnlyTagFile<TagLib::MPEG::File> opened(path);
    TagLib::MPEG::File& file = *opened;
    if (!HoldsAudioStream(file) || !ReadProperties(file.audioProperties(), song))
        return false;
    const unsigned int combinedTrack = ReadMainItems(file.tag(), items);
    if (file.hasID3v1Tag()) {
        const TagLib::ID3v1::Tag* v1 = file.ID3v1Tag();
        song.m_strV1Artist = QStringFromTagLib(v1->artist());
        song.m_strV1Title = QStringFromTagLib(v1->title());
        song.m_strV1Album = QStringFromTagLib(v1->album());
        song.m_strV1Comment = QStringFromTagLib(v1->comment());
        song.m_strV1Genre = QStringFromTagLib(v1->genre());
        // Gated on the combined track, not the ID3v1 one, so a zero ID3v1 value can read "0".
        if (combinedTrack != 0) {
            song.m_strV1Track = QString::number(v1->track());
            song.m_strV1Year = QString::number(v1->year());
        }
    }
    if (file.hasID3v2Tag())
        ReadId3v2Frames(*file.ID3v2Tag(), items, song);
    return true;
}

bool ReadWav(const QString& path, TagItems& items, CMp3Song& song)
{
    const CReadOnlyTagFile<TagLib::RIFF::WAV::File> opened(path);
    TagLib::RIFF::WAV::File& file = *opened;
    if (!HoldsAudioStream(file) || !ReadProperties(file.audioProperties(), song))
        return false;
    ReadMainItems(file.tag(), items);
    if (file.hasID3v2Tag())
        ReadId3v2Frames(*file.ID3v2Tag(), items, song);
    return true;
}

bool ReadFlac(const QString& path, TagItems& items, CMp3Song& song)
{
    const CReadOnlyTagFile<TagLib::FLAC::File> opened(path);
    TagLib::FLAC::File& file = *opened;
    if (!file.isValid() || !ReadProperties(file.audioProperties(), song))
        return false;
    if (!file.hasXiphComment())
        return true;
    const TagLib::Ogg::FieldListMap& fields = file.xiphComment()->fieldListMap();
    for (const KeyedItem& entry : kXiphFields) {
        const auto found = fields.find(entry.pszKey);
        if (found == fields.end())
            continue;
        const TagLib::String joined = found->second.toString(" ");
        items.*entry.item = entry.conversion == Conversion::Integer ? QString::number(joined.toInt())
                                                                    : QStringFromTagLib(joined);
    }
    song.m_bHasPicture = file.pictureList().isEmpty() ? 0 : 1;
    return true;
}

bool ReadMp4(const QString& path, TagItems& items, CMp3Song& song)
{
    const CReadOnlyTagFile<TagLib::MP4::File> opened(path);
    TagLib::MP4::File& file = *opened;
    if (!file.isValid() || !ReadProperties(file.audioProperties(), song))
        return false;
    const TagLib::MP4::Tag* tag = file.tag();
    if (!tag)
        return true;
    const TagLib::MP4::ItemMap& map = tag->itemMap();
    for (const KeyedItem& entry : kMp4Items) {
        const auto found = map.find(TagLib::String(entry.pszKey, TagLib::String::Latin1));
        if (found == map.end())
            continue;
        const TagLib::MP4::Item& value = found->second;
        switch (entry.conversion) {
        case Conversion::Integer:
            items.*entry.item = QString::number(value.toInt());
            break;
        case Conversion::Year4:
            items.*entry.item = QStringFromTagLib(value.toStringList().toString(", ").substr(0, 4));
            break;
        case Conversion::Text:
            items.*entry.item = QStringFromTagLib(value.toStringList().toString(", "));
            break;
        }
    }
    song.m_bHasPicture = 0;
    const auto covers = map.find("covr");
    if (covers != map.end() && !covers->second.toCoverArtList().isEmpty())
        song.m_bHasPicture = 1;
    return true;
}

// Writers store numbers either as text or as integer attributes; both read as the same text.
TagLib::String AsfAttributeText(const TagLib::ASF::Attribute& attribute)
{
    switch (attribute.type()) {
    case TagLib::ASF::Attribute::DWordType:
        return TagLib::String::number(static_cast<int>(attribute.toUInt()));
    case TagLib::ASF::Attribute::WordType:
        return TagLib::String::number(attribute.toUShort());
    case TagLib::ASF::Attribute::QWordType:
        return TagLib::String::number(static_cast<int>(attribute.toULongLong()));
    default:
        return attribute.toString();
    }
}

bool ReadAsf(const QString& path, TagItems& items, CMp3Song& song)
{
    const CReadOnlyTagFile<TagLib::ASF::File> opened(path);
    TagLib::ASF::File& file = *opened;
    if (!file.isValid())
        return false;
    const TagLib::ASF::Tag* tag = file.tag();
    if (!tag)
        return true;
    items.title = QStringFromTagLib(tag->title());
    items.artist = QStringFromTagLib(tag->artist());
    items.album = QStringFromTagLib(tag->album());
    items.genre = QStringFromTagLib(tag->genre());
    items.comment = QStringFromTagLib(tag->comment());
    items.year = NumberUnlessZero(tag->year());
    items.copyright = QStringFromTagLib(tag->copyright());
    const TagLib::ASF::AttributeListMap& attributes = tag->attributeListMap();
    for (const KeyedItem& entry : kAsfAttributes) {
        const auto found = attributes.find(entry.pszKey);
        if (found == attributes.end() || found->second.isEmpty())
            continue;
        const TagLib::String text = AsfAttributeText(found->second.front());
        if (entry.conversion == Conversion::Integer) {
            const int number = text.toInt();
            if (number > 0)
                items.*entry.item = QString::number(number);
        } else {
            items.*entry.item = QStringFromTagLib(text);
        }
    }
    song.m_bHasPicture = 0;
    const auto pictures = attributes.find("WM/Picture");
    if (pictures != attributes.end() && !pictures->second.isEmpty())
        song.m_bHasPicture = 1;
    return true;
}

void StoreItems(const TagItems& items, const QString& path, CMp3Song& song)
{
    song.m_strArtist = song.m_strTagArtist = items.artist;
    song.m_strTitle = song.m_strTagTitle = items.title;
    song.m_strAlbum = song.m_strTagAlbum = items.album;
    song.m_strYear = song.m_strTagYear = items.year;
    song.m_strGenre = song.m_strTagGenre = items.genre;
    song.m_strComment = song.m_strTagComment = items.comment;
    song.m_strTrack = song.m_strTagTrack = items.track;
    song.m_strComposer = items.composer;
    song.m_strOrigArtist = items.origArtist;
    song.m_strCopyright = items.copyright;
    song.m_strEncodedBy = items.encodedBy;
    song.m_strDiscNumber = items.discNumber;
    song.m_strAlbumArtist = items.albumArtist;
    song.m_strPublisher = items.publisher;
    song.m_strConductor = items.conductor;
    song.m_strLyrics = items.lyrics;
    song.m_strLyricist = items.lyricist;
    song.m_strBpm = items.bpm;
    song.m_strFilePath = path;
}

} // namespace

CMp3Song CId3Tag::ReadTag(const QString& path, const QString& /*picturePath*/)
{
    try {
        TagItems items;
        bool readToEnd = true;
        if (HasExtension(path, QStringLiteral("mp3")))
            readToEnd = ReadMpeg(path, items, m_song);
        else if (HasExtension(path, QStringLiteral("wav")))
            readToEnd = ReadWav(path, items, m_song);
        else if (HasExtension(path, QStringLiteral("flac")))
            readToEnd = ReadFlac(path, items, m_song);
        else if (HasExtension(path, QStringLiteral("m4a")))
            readToEnd = ReadMp4(path, items, m_song);
        else if (HasExtension(path, QStringLiteral("wma")))
            readToEnd = ReadAsf(path, items, m_song);
        if (readToEnd)
            StoreItems(items, path, m_song);
    } catch (const std::exception&) {
        // A corrupt file that makes TagLib give up (an absurd allocation, say) reads as unreadable:
        // the empty record, not a half-filled one.
        m_song = CMp3Song();
    }
    return m_song;
}

int CId3Tag::HasExtension(const QString& path, const QString& ext)
{
    return path.contains(QLatin1Char('.') + ext, Qt::CaseInsensitive) ? 1 : 0;
}
