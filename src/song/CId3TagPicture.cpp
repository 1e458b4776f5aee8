#include "song/CId3Tag.h"

#include <QFile>
#include <exception>
#include <taglib/asffile.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/flacfile.h>
#include <taglib/id3v2tag.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>
#include <taglib/wavfile.h>

#include "song/AudioStream.h"
#include "song/ReadOnlyTagFile.h"
#include "song/TagLibText.h"

namespace {

int WritePicture(const QString& outputPath, const TagLib::ByteVector& bytes)
{
    CId3Tag::WriteBufferToFile(outputPath, bytes.data(), bytes.size());
    return 1;
}

int ExtractFromId3v2(const TagLib::ID3v2::Tag& tag, const QString& outputPath, int pictureType)
{
    const TagLib::ID3v2::FrameListMap& frames = tag.frameListMap();
    const auto pictures = frames.find(TagLib::ByteVector("APIC", 4));
    if (pictures == frames.end())
        return 0;
    for (const TagLib::ID3v2::Frame* frame : pictures->second) {
        const auto* picture = dynamic_cast<const TagLib::ID3v2::AttachedPictureFrame*>(frame);
        if (picture && picture->type() == pictureType && !picture->picture().isEmpty())
            return WritePicture(outputPath, picture->picture());
    }
    return 0;
}

int ExtractFromMpeg(const QString& path, const QString& outputPath, int pictureType)
{
    const CReadOnlyTagFile<TagLib::MPEG::File> opened(path);
    TagLib::MPEG::File& file = *opened;
    if (!HoldsAudioStream(file) || !file.hasID3v2Tag())
        return 0;
    return ExtractFromId3v2(*file.ID3v2Tag(), outputPath, pictureType);
}

int ExtractFromWav(const QString& path, const QString& outputPath, int pictureType)
{
    const CReadOnlyTagFile<TagLib::RIFF::WAV::File> opened(path);
    TagLib::RIFF::WAV::File& file = *opened;
    if (!HoldsAudioStream(file) || !file.hasID3v2Tag())
        return 0;
    return ExtractFromId3v2(*file.ID3v2Tag(), outputPath, pictureType);
}

int ExtractFromFlac(const QString& path, const QString& outputPath, int pictureType)
{
    const CReadOnlyTagFile<TagLib::FLAC::File> opened(path);
    TagLib::FLAC::File& file = *opened;
    if (!file.isValid())
        return 0;
    for (const TagLib::FLAC::Picture* picture : file.pictureList()) {
        if (picture->type() == pictureType && !picture->data().isEmpty())
            return WritePicture(outputPath, picture->data());
    }
    return 0;
}

// MP4 covers carry no picture type: the first non-empty one serves whatever type is asked for.
int ExtractFromMp4(const QString& path, const QString& outputPath)
{
    const CReadOnlyTagFile<TagLib::MP4::File> opened(path);
    TagLib::MP4::File& file = *opened;
    if (!file.isValid() || !file.tag())
        return 0;
    const TagLib::MP4::ItemMap& map = file.tag()->itemMap();
    const auto covers = map.find("covr");
    if (covers == map.end())
        return 0;
    for (const TagLib::MP4::CoverArt& cover : covers->second.toCoverArtList()) {
        if (!cover.data().isEmpty())
            return WritePicture(outputPath, cover.data());
    }
    return 0;
}

int ExtractFromAsf(const QString& path, const QString& outputPath, int pictureType)
{
    const CReadOnlyTagFile<TagLib::ASF::File> opened(path);
    TagLib::ASF::File& file = *opened;
    if (!file.isValid() || !file.tag())
        return 0;
    const TagLib::ASF::AttributeListMap& attributes = file.tag()->attributeListMap();
    const auto pictures = attributes.find("WM/Picture");
    if (pictures == attributes.end())
        return 0;
    for (const TagLib::ASF::Attribute& attribute : pictures->second) {
        const TagLib::ASF::Picture picture = attribute.toPicture();
        if (picture.type() == pictureType && !picture.picture().isEmpty())
            return WritePicture(outputPath, picture.picture());
    }
    return 0;
}

} // namespace

int CId3Tag::ExtractPicture(const CMp3Song& song, const QString& outputPath, int pictureType)
{
    const QString& path = song.m_strFilePath;
    try {
        if (HasExtension(path, QStringLiteral("mp3")))
            return ExtractFromMpeg(path, outputPath, pictureType);
        if (HasExtension(path, QStringLiteral("wav")))
            return ExtractFromWav(path, outputPath, pictureType);
        if (HasExtension(path, QStringLiteral("flac")))
            return ExtractFromFlac(path, outputPath, pictureType);
        if (HasExtension(path, QStringLiteral("m4a")))
            return ExtractFromMp4(path, outputPath);
        if (HasExtension(path, QStringLiteral("wma")))
            return ExtractFromAsf(path, outputPath, pictureType);
    } catch (const std::exception&) {
        // Same as an unreadable file: no picture.
    }
    return 0;
}

void CId3Tag::WriteBufferToFile(const QString& path, const void* data, unsigned int size)
{
    if (!data && size != 0)
        return;
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return;
    file.write(static_cast<const char*>(data), static_cast<qint64>(size));
}
