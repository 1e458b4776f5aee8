#include "SongTestFiles.h"

#include <algorithm>
#include <stdexcept>
#include <taglib/asffile.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/commentsframe.h>
#include <taglib/flacfile.h>
#include <taglib/id3v2tag.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>
#include <taglib/textidentificationframe.h>
#include <taglib/tpropertymap.h>
#include <taglib/unsynchronizedlyricsframe.h>
#include <taglib/wavfile.h>

namespace tunivox::test {

namespace {

void Require(bool ok, const QString& what)
{
    if (!ok)
        throw std::runtime_error("test file setup failed: " + what.toStdString());
}

TagLib::String ToTagLib(const QString& text) { return TagLib::String(text.toStdString(), TagLib::String::UTF8); }

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

bool AllTextsEmpty(const CMp3Song& song)
{
    const Mp3SongTextField* fields = Mp3SongTextFields();
    return std::all_of(fields, fields + kMp3SongTextFieldCount,
                       [&](const Mp3SongTextField& field) { return (song.*field.pMember).isEmpty(); });
}

QString CopyFixture(const ScopedTempFolder& folder, const QString& fixture, const QString& name)
{
    const QString path = folder.WriteFile(name, FileBytes(FixturePath(fixture)));
    Require(QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner), path);
    return path;
}

QString BareCopy(const ScopedTempFolder& folder, Container container)
{
    const char* fixtures[] = { "noise-22k-mono.mp3", "tone-48k-mono.wav", "chord-44k-stereo.flac",
                               "tone-48k-mono.m4a", "tone-22k-mono.wma" };
    const int index = static_cast<int>(container);
    const QString path = CopyFixture(folder, QLatin1String(fixtures[index]),
                                     QStringLiteral("song.") + QLatin1String(kContainerExtensions[index]));
    const QByteArray name = QFile::encodeName(path);
    if (container == Container::Mpeg)
        Require(TagLib::MPEG::File(name.constData()).strip(), path);
    if (container == Container::Mp4)
        Require(TagLib::MP4::File(name.constData()).strip(), path);
    if (container == Container::Flac) {
        TagLib::FLAC::File file(name.constData());
        file.removePictures();
        file.setProperties(TagLib::PropertyMap());
        Require(file.save(), path);
    }
    return path;
}

void DropFlacBlocks(const QString& path, int blockType)
{
    const QByteArray bytes = FileBytes(path);
    QByteArray out = bytes.left(4);
    qsizetype pos = 4, lastKept = -1;
    for (bool last = false; !last && pos + 4 <= bytes.size();) {
        const auto header = static_cast<unsigned char>(bytes[pos]);
        const qsizetype length = bytes.mid(pos + 1, 3).toHex().toLongLong(nullptr, 16);
        last = header & 0x80;
        if ((header & 0x7f) != blockType) {
            lastKept = out.size();
            out += bytes.mid(pos, 4 + length);
            out[lastKept] = static_cast<char>(header & 0x7f);
        }
        pos += 4 + length;
    }
    Require(bytes.startsWith("fLaC") && lastKept > 0, path);
    out[lastKept] = static_cast<char>(out[lastKept] | 0x80);
    QFile file(path);
    Require(file.open(QIODevice::WriteOnly) && file.write(out + bytes.mid(pos)) > 0, path);
}

void AddId3v2Frame(TagLib::ID3v2::Tag* tag, const char* frameId, const QString& text, const char* description)
{
    using namespace TagLib::ID3v2;
    const QByteArray id(frameId);
    if (id == "COMM") {
        auto* frame = new CommentsFrame(TagLib::String::UTF8);
        frame->setDescription(description);
        frame->setText(ToTagLib(text));
        tag->addFrame(frame);
    } else if (id == "USLT") {
        auto* frame = new UnsynchronizedLyricsFrame(TagLib::String::UTF8);
        frame->setDescription(description);
        frame->setText(ToTagLib(text));
        tag->addFrame(frame);
    } else {
        auto* frame = new TextIdentificationFrame(frameId, TagLib::String::UTF8);
        frame->setText(ToTagLib(text));
        tag->addFrame(frame);
    }
}

void AddPictures(const QString& path, Container container, const std::vector<PictureSpec>& pictures)
{
    const QByteArray name = QFile::encodeName(path);
    auto addApic = [&](TagLib::ID3v2::Tag* tag) {
        for (const PictureSpec& spec : pictures) {
            auto* frame = new TagLib::ID3v2::AttachedPictureFrame;
            frame->setType(static_cast<TagLib::ID3v2::AttachedPictureFrame::Type>(spec.nType));
            frame->setPicture(ToByteVector(spec.bytes));
            tag->addFrame(frame);
        }
    };
    bool saved = false;
    if (container == Container::Mpeg) {
        TagLib::MPEG::File file(name.constData());
        addApic(file.ID3v2Tag(true));
        saved = file.save(TagLib::MPEG::File::ID3v2, TagLib::File::StripNone);
    } else if (container == Container::Wav) {
        TagLib::RIFF::WAV::File file(name.constData());
        addApic(file.ID3v2Tag());
        saved = file.save();
    } else if (container == Container::Flac) {
        TagLib::FLAC::File file(name.constData());
        for (const PictureSpec& spec : pictures) {
            auto* picture = new TagLib::FLAC::Picture;
            picture->setType(static_cast<TagLib::FLAC::Picture::Type>(spec.nType));
            picture->setData(ToByteVector(spec.bytes));
            file.addPicture(picture);
        }
        saved = file.save();
    } else if (container == Container::Mp4) {
        TagLib::MP4::File file(name.constData());
        TagLib::MP4::CoverArtList covers;
        for (const PictureSpec& spec : pictures)
            covers.append(TagLib::MP4::CoverArt(TagLib::MP4::CoverArt::JPEG, ToByteVector(spec.bytes)));
        file.tag()->setItem("covr", covers);
        saved = file.save();
    } else {
        // TagLib saves the first attribute of a name in one header object and the rest in another,
        // which it reads back first: writing the last picture first gives the order asked for.
        std::vector<PictureSpec> writeOrder = pictures;
        std::rotate(writeOrder.rbegin(), writeOrder.rbegin() + 1, writeOrder.rend());
        TagLib::ASF::File file(name.constData());
        for (const PictureSpec& spec : writeOrder) {
            TagLib::ASF::Picture picture;
            picture.setType(static_cast<TagLib::ASF::Picture::Type>(spec.nType));
            picture.setPicture(ToByteVector(spec.bytes));
            file.tag()->addAttribute("WM/Picture", TagLib::ASF::Attribute(picture));
        }
        saved = file.save();
        const TagLib::ASF::AttributeList read = TagLib::ASF::File(name.constData()).tag()->attribute("WM/Picture");
        Require(read.size() == pictures.size(), path);
        for (size_t i = 0; i < pictures.size(); ++i)
            Require(ToByteVector(pictures[i].bytes) == read[static_cast<unsigned int>(i)].toPicture().picture(), path);
    }
    Require(saved, path);
}

} // namespace tunivox::test
