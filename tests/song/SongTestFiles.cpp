#include "SongTestFiles.h"

#include <QFile>
#include <algorithm>
#include <stdexcept>
#include <taglib/asffile.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/commentsframe.h>
#include <taglib/flacfile.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>
#include <taglib/textidentificationframe.h>
#include <taglib/tpropertymap.h>
#include <taglib/unsynchronizedlyricsframe.h>
#include <taglib/wavfile.h>
#include <taglib/xiphcomment.h>

namespace tunivox::test {

namespace {

// A setup failure must not read as a reader fault.
void Require(bool ok, const QString& what)
{
    if (!ok)
        throw std::runtime_error("test file setup failed: " + what.toStdString());
}

TagLib::ByteVector Bytes(const QByteArray& bytes)
{
    return { bytes.constData(), static_cast<unsigned int>(bytes.size()) };
}
TagLib::String Text(const QString& text) { return { text.toStdString(), TagLib::String::UTF8 }; }

QString BareCopy(const ScopedTempFolder& folder, Container container)
{
    const char* fixtures[] = { "noise-22k-mono.mp3", "tone-48k-mono.wav", "chord-44k-stereo.flac",
                               "tone-48k-mono.m4a", "tone-22k-mono.wma" };
    const QString fixture = QLatin1String(fixtures[static_cast<int>(container)]);
    const QString path = folder.WriteFile(QStringLiteral("song.") + fixture.section(u'.', -1),
                                          FileBytes(FixturePath(fixture)));
    const QByteArray name = QFile::encodeName(path);
    if (container == Container::Mpeg)
        Require(TagLib::MPEG::File(name.constData()).strip(), path);
    if (container == Container::Mp4)
        Require(TagLib::MP4::File(name.constData()).strip(), path);
    return path;
}

void WriteId3v2(TagLib::ID3v2::Tag* tag, const std::vector<TagItem>& items, const std::vector<PictureData>& pictures)
{
    using namespace TagLib::ID3v2;
    for (const TagItem& item : items) {
        const QByteArray id(item.pszKey);
        const TagLib::String description = Text(item.values.value(1));
        Frame* frame = nullptr;
        if (id == "COMM") {
            frame = new CommentsFrame(TagLib::String::UTF8);
            static_cast<CommentsFrame*>(frame)->setDescription(description);
        } else if (id == "USLT") {
            frame = new UnsynchronizedLyricsFrame(TagLib::String::UTF8);
            static_cast<UnsynchronizedLyricsFrame*>(frame)->setDescription(description);
        } else {
            frame = new TextIdentificationFrame(id.constData(), TagLib::String::UTF8);
        }
        frame->setText(Text(item.values.value(0)));
        tag->addFrame(frame);
    }
    for (const PictureData& picture_ : pictures) {
        auto* frame = new AttachedPictureFrame;
        frame->setType(static_cast<AttachedPictureFrame::Type>(picture_.nType));
        frame->setPicture(Bytes(picture_.bytes));
        tag->addFrame(frame);
    }
}

} // namespace

QString TaggedCopy(const ScopedTempFolder& folder, Container container, const std::vector<TagItem>& items,
                   const std::vector<PictureData>& pictures)
{
    const QString path = BareCopy(folder, container);
    const QByteArray name = QFile::encodeName(path);
    bool saved = false;
    if (container == Container::Mpeg) {
        TagLib::MPEG::File file(name.constData());
        WriteId3v2(file.ID3v2Tag(true), items, pictures);
        saved = file.save(TagLib::MPEG::File::ID3v2, TagLib::File::StripNone);
    } else if (container == Container::Wav) {
        TagLib::RIFF::WAV::File file(name.constData());
        WriteId3v2(file.ID3v2Tag(), items, pictures);
        saved = file.save(TagLib::RIFF::WAV::File::ID3v2);
    } else if (container == Container::Flac) {
        TagLib::FLAC::File file(name.constData());
        file.removePictures();
        file.setProperties(TagLib::PropertyMap());
        for (const TagItem& item : items)
            for (const QString& value : item.values)
                file.xiphComment(true)->addField(item.pszKey, Text(value), false);
        for (const PictureData& picture_ : pictures) {
            auto* picture = new TagLib::FLAC::Picture;
            picture->setType(static_cast<TagLib::FLAC::Picture::Type>(picture_.nType));
            picture->setData(Bytes(picture_.bytes));
            file.addPicture(picture);
        }
        saved = file.save();
    } else if (container == Container::Mp4) {
        TagLib::MP4::File file(name.constData());
        for (const TagItem& item : items) {
            const QString key = QString::fromLatin1(item.pszKey);
            const QStringList number = item.values.value(0).split(u'/');
            TagLib::StringList texts;
            for (const QString& value : item.values)
                texts.append(Text(value));
            TagLib::MP4::Item value(texts);
            if (key == "trkn" || key == "disk")
                value = TagLib::MP4::Item(number.value(0).toInt(), number.value(1).toInt());
            else if (key == "tmpo")
                value = TagLib::MP4::Item(number.value(0).toInt());
            file.tag()->setItem(TagLib::String(item.pszKey, TagLib::String::Latin1), value);
        }
        TagLib::MP4::CoverArtList covers;
        for (const PictureData& picture_ : pictures)
            covers.append(TagLib::MP4::CoverArt(TagLib::MP4::CoverArt::JPEG, Bytes(picture_.bytes)));
        if (!pictures.empty())
            file.tag()->setItem("covr", covers);
        saved = file.save();
    } else {
        TagLib::ASF::File file(name.constData());
        TagLib::ASF::Tag* tag = file.tag();
        for (const TagItem& item : items) {
            const QString key = QString::fromLatin1(item.pszKey), value = item.values.value(0);
            if (key == "Title")
                tag->setTitle(Text(value));
            else if (key == "Author")
                tag->setArtist(Text(value));
            else if (key == "Description")
                tag->setComment(Text(value));
            else if (key == "Copyright")
                tag->setCopyright(Text(value));
            else if (value.startsWith(u'#'))
                tag->addAttribute(item.pszKey, TagLib::ASF::Attribute(value.mid(1).toUInt()));
            else
                tag->addAttribute(item.pszKey, TagLib::ASF::Attribute(Text(value)));
        }
        // TagLib saves the first attribute of a name in one header object and the rest in another,
        // which it reads back first: writing the last picture first gives the order asked for.
        std::vector<PictureData> writeOrder = pictures;
        std::rotate(writeOrder.rbegin(), writeOrder.rbegin() + std::min<size_t>(1, pictures.size()), writeOrder.rend());
        for (const PictureData& picture_ : writeOrder) {
            TagLib::ASF::Picture picture;
            picture.setType(static_cast<TagLib::ASF::Picture::Type>(picture_.nType));
            picture.setPicture(Bytes(picture_.bytes));
            tag->addAttribute("WM/Picture", TagLib::ASF::Attribute(picture));
        }
        saved = file.save();
    }
    Require(saved, path);
    return path;
}

void PadFlacBlocks(const QString& path, int blockType)
{
    QByteArray bytes = FileBytes(path);
    Require(bytes.startsWith("fLaC"), path);
    bool last = false;
    for (qsizetype pos = 4; !last && pos + 4 <= bytes.size();) {
        const auto header = static_cast<unsigned char>(bytes[pos]);
        last = header & 0x80;
        if ((header & 0x7f) == blockType)
            bytes[pos] = static_cast<char>((header & 0x80) | 1);
        pos += 4 + bytes.mid(pos + 1, 3).toHex().toInt(nullptr, 16);
    }
    QFile file(path);
    Require(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size(), path);
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

CMp3Song ReadSong(const QString& path, int hasPictureBefore)
{
    CId3Tag reader;
    reader.m_song.m_bHasPicture = hasPictureBefore;
    return reader.ReadTag(path, QString());
}

} // namespace tunivox::test
