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

int ExtractFromMpeg(const QByteArray& fileName, const QString& outputPath, int pictureType)
{
    TagLib::MPEG::File file(fileName.constData(), true, TagLib::AudioProperties::Average);
    if (!HoldsAudioStream(file) || !file.hasID3v2Tag())
        return 0;
    return ExtractFromId3v2(*file.ID3v2Tag(), outputPath, pictureType);
}

int ExtractFromWav(const QByteArray& fileName, const QString& outputPath, int pictureType)
{
    TagLib::RIFF::WAV::File file(fileName.constData(), true, TagLib::AudioProperties::Average);
    if (!HoldsAudioStream(file) || !file.hasID3v2Tag())
        return 0;
    return ExtractFromId3v2(*file.ID3v2Tag(), outputPath, pictureType);
}

int ExtractFromFlac(const QByteArray& fileName, const QString& outputPath, int pictureType)
{
    TagLib::FLAC::File file(fileName.constData(), true, TagLib::AudioProperties::Average);
    if (!file.isValid())
        return 0;
    for (const TagLib::FLAC::Picture* picture : file.pictureList()) {
        if (picture->type() == pictureType && !picture->data().isEmpty())
            return WritePicture(outputPath, picture->data());
    }
    return 0;
}

// MP4 covers carry no picture type: the first non-empty one serves whatever type is asked for.
int ExtractFromMp4(const QByteArray& fileName, const QString& outputPath)
{
    TagLib::MP4::File file(fileName.constData(), true, TagLib::AudioProperties::Average);
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

int ExtractFromAsf(const QByteArray& fileName, const QString& outputPath, int pictureType)
{
    TagLib::ASF::File file(fileName.constData(), true, TagLib::AudioProperties::Average);
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
        const QByteArray fileName = TagLibFileName(path);
        if (HasExtension(path, QStringLiteral("mp3")))
            return ExtractFromMpeg(fileName, outputPath, pictureType);
        if (HasExtension(path, QStringLiteral("wav")))
            return ExtractFromWav(fileName, outputPath, pictureType);
        if (HasExtension(path, QStringLiteral("flac")))
            return ExtractFromFlac(fileName, outputPath, pictureType);
        if (HasExtension(path, QStringLiteral("m4a")))
            return ExtractFromMp4(fileName, outputPath);
        if (HasExtension(path, QStringLiteral("wma")))
            return ExtractFromAsf(fileName, outputPath, pictureType);
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
