#include "SongTestFiles.h"

#include <QFile>
#include <algorithm>
#include <stdexcept>
#include <taglib/asffile.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/flacfile.h>
#include <taglib/id3v2tag.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>
#include <taglib/wavfile.h>
#include <taglib/xiphcomment.h>
#include <vector>

namespace tunivox::test {

namespace {

void Require(bool ok, const QString& what)
{
    if (!ok)
        throw std::runtime_error(what.toStdString());
}

} // namespace

TagLib::ByteVector ToByteVector(const QByteArray& bytes)
{
    return TagLib::ByteVector(bytes.constData(), static_cast<unsigned int>(bytes.size()));
}

QByteArray FileBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString CopyFixture(const ScopedTempFolder& folder, const QString& fixture, const QString& name)
{
    const QString path = folder.WriteFile(name, FileBytes(FixturePath(fixture)));
    Require(QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner), path);
    return path;
}

QString BareCopy(const ScopedTempFolder& folder, Container container, const QString& name)
{
    const QByteArray fileName = QFile::encodeName(folder.FilePath(name));
    switch (container) {
    case Container::Mpeg: {
        CopyFixture(folder, QStringLiteral("tone-44k-stereo.mp3"), name);
        TagLib::MPEG::File file(fileName.constData());
        Require(file.strip(), name);
        break;
    }
    case Container::Wav: {
        CopyFixture(folder, QStringLiteral("melody-44k-stereo.wav"), name);
        TagLib::RIFF::WAV::File file(fileName.constData());
        file.strip();
        break;
    }
    case Container::Flac: {
        CopyFixture(folder, QStringLiteral("chord-44k-stereo.flac"), name);
        TagLib::FLAC::File file(fileName.constData());
        file.removePictures();
        const TagLib::StringList keys = [&] {
            TagLib::StringList all;
            for (const auto& field : file.xiphComment(true)->fieldListMap())
                all.append(field.first);
            return all;
        }();
        for (const TagLib::String& key : keys)
            file.xiphComment()->removeFields(key);
        Require(file.save(), name);
        break;
    }
    case Container::Mp4: {
        CopyFixture(folder, QStringLiteral("melody-44k-stereo.m4a"), name);
        TagLib::MP4::File file(fileName.constData());
        Require(file.strip(), name);
        break;
    }
    case Container::Asf: {
        CopyFixture(folder, QStringLiteral("chord-44k-stereo.wma"), name);
        TagLib::ASF::File file(fileName.constData());
        std::vector<TagLib::String> names;
        for (const auto& attribute : file.tag()->attributeListMap())
            names.push_back(attribute.first);
        for (const TagLib::String& attributeName : names)
            file.tag()->removeItem(attributeName);
        file.tag()->setTitle(TagLib::String());
        file.tag()->setArtist(TagLib::String());
        file.tag()->setComment(TagLib::String());
        file.tag()->setCopyright(TagLib::String());
        file.tag()->setRating(TagLib::String());
        Require(file.save(), name);
        break;
    }
    }
    return folder.FilePath(name);
}

void DropFlacBlocks(const QString& path, int blockType)
{
    const QByteArray bytes = FileBytes(path);
    Require(bytes.startsWith("fLaC"), path);
    QByteArray out = bytes.left(4);
    qsizetype lastHeader = -1;
    qsizetype pos = 4;
    bool last = false;
    while (!last && pos + 4 <= bytes.size()) {
        const auto header = static_cast<unsigned char>(bytes[pos]);
        last = (header & 0x80) != 0;
        const qsizetype length = (static_cast<unsigned char>(bytes[pos + 1]) << 16)
            | (static_cast<unsigned char>(bytes[pos + 2]) << 8) | static_cast<unsigned char>(bytes[pos + 3]);
        if ((header & 0x7f) != blockType) {
            lastHeader = out.size();
            out += bytes.mid(pos, 4 + length);
            out[lastHeader] = static_cast<char>(header & 0x7f);
        }
        pos += 4 + length;
    }
    Require(lastHeader >= 0, path);
    out[lastHeader] = static_cast<char>(out[lastHeader] | 0x80);
    out += bytes.mid(pos);
    QFile file(path);
    Require(file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(out) == out.size(), path);
}

void AddPictures(const QString& path, Container container, const std::vector<PictureSpec>& pictures)
{
    const QByteArray fileName = QFile::encodeName(path);
    auto addApic = [&](TagLib::ID3v2::Tag* tag) {
        for (const PictureSpec& spec : pictures) {
            auto* frame = new TagLib::ID3v2::AttachedPictureFrame;
            frame->setType(static_cast<TagLib::ID3v2::AttachedPictureFrame::Type>(spec.nType));
            frame->setMimeType("image/jpeg");
            frame->setPicture(ToByteVector(spec.bytes));
            tag->addFrame(frame);
        }
    };
    switch (container) {
    case Container::Mpeg: {
        TagLib::MPEG::File file(fileName.constData());
        addApic(file.ID3v2Tag(true));
        Require(file.save(TagLib::MPEG::File::ID3v2, TagLib::File::StripNone), path);
        break;
    }
    case Container::Wav: {
        TagLib::RIFF::WAV::File file(fileName.constData());
        addApic(file.ID3v2Tag());
        Require(file.save(), path);
        break;
    }
    case Container::Flac: {
        TagLib::FLAC::File file(fileName.constData());
        for (const PictureSpec& spec : pictures) {
            auto* picture = new TagLib::FLAC::Picture;
            picture->setType(static_cast<TagLib::FLAC::Picture::Type>(spec.nType));
            picture->setMimeType("image/jpeg");
            picture->setData(ToByteVector(spec.bytes));
            file.addPicture(picture);
        }
        Require(file.save(), path);
        break;
    }
    case Container::Mp4: {
        TagLib::MP4::File file(fileName.constData());
        TagLib::MP4::CoverArtList covers;
        for (const PictureSpec& spec : pictures)
            covers.append(TagLib::MP4::CoverArt(TagLib::MP4::CoverArt::JPEG, ToByteVector(spec.bytes)));
        file.tag()->setItem("covr", covers);
        Require(file.save(), path);
        break;
    }
    case Container::Asf: {
        // TagLib saves the first attribute of a name in one header object and the rest in another,
        // which it reads back first; writing the last picture first gives back the order asked for.
        std::vector<PictureSpec> writeOrder = pictures;
        if (!writeOrder.empty())
            std::rotate(writeOrder.begin(), writeOrder.end() - 1, writeOrder.end());
        {
            TagLib::ASF::File file(fileName.constData());
            for (const PictureSpec& spec : writeOrder) {
                TagLib::ASF::Picture picture;
                picture.setType(static_cast<TagLib::ASF::Picture::Type>(spec.nType));
                picture.setMimeType("image/jpeg");
                picture.setPicture(ToByteVector(spec.bytes));
                file.tag()->addAttribute("WM/Picture", TagLib::ASF::Attribute(picture));
            }
            Require(file.save(), path);
        }
        TagLib::ASF::File check(fileName.constData());
        const TagLib::ASF::AttributeList read = check.tag()->attribute("WM/Picture");
        Require(read.size() == pictures.size(), path);
        for (size_t i = 0; i < pictures.size(); ++i)
            Require(ToByteVector(pictures[i].bytes) == read[static_cast<unsigned int>(i)].toPicture().picture(), path);
        break;
    }
    }
}

} // namespace tunivox::test
