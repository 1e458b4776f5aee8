#include "support/TagRewrite.h"

#include <QFile>
#include <QThread>
#include <cstdio>
#include <stdexcept>
#include <taglib/apetag.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/fileref.h>
#include <taglib/flacfile.h>
#include <taglib/id3v1tag.h>
#include <taglib/id3v2tag.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>
#include <taglib/tpropertymap.h>

namespace tunivox::test {

namespace {

void Require(bool ok, const QString& path, const char* what)
{
    if (!ok)
        throw std::runtime_error(std::string(what) + " failed on " + path.toStdString());
}

TagLib::String Text(const QString& text)
{
    return {text.toStdString(), TagLib::String::UTF8};
}

TagLib::ByteVector Bytes(const QByteArray& bytes)
{
    return {bytes.constData(), static_cast<unsigned int>(bytes.size())};
}

} // namespace

QByteArray FakePicture(int size)
{
    QByteArray bytes(size, '\0');
    std::uint32_t state = 12345;
    for (char& c : bytes) {
        state = state * 1103515245u + 12345u;
        c = static_cast<char>(state >> 24);
    }
    bytes[0] = static_cast<char>(0xFF);
    bytes[1] = static_cast<char>(0xD8);
    return bytes;
}

void SetTitleAndLyrics(const QString& path, const QString& title, const QString& lyrics)
{
    TagLib::FileRef file(QFile::encodeName(path).constData());
    Require(!file.isNull(), path, "open");
    TagLib::PropertyMap properties = file.file()->properties();
    properties.replace("TITLE", TagLib::StringList(Text(title)));
    properties.replace("LYRICS", TagLib::StringList(Text(lyrics)));
    file.file()->setProperties(properties);
    Require(file.save(), path, "save");
}

void SetTag(const QString& path, const char* key, const QString& value)
{
    TagLib::FileRef file(QFile::encodeName(path).constData());
    Require(!file.isNull(), path, "open");
    TagLib::PropertyMap properties = file.file()->properties();
    properties.replace(key, TagLib::StringList(Text(value)));
    file.file()->setProperties(properties);
    Require(file.save(), path, "save");
}

void AddPicture(const QString& path, int size, int holdOpenMs)
{
    const QByteArray name = QFile::encodeName(path);
    const TagLib::ByteVector bytes = Bytes(FakePicture(size));
    if (path.endsWith(QLatin1String(".mp3"))) {
        TagLib::MPEG::File file(name.constData());
        auto* frame = new TagLib::ID3v2::AttachedPictureFrame();
        frame->setMimeType("image/jpeg");
        frame->setType(TagLib::ID3v2::AttachedPictureFrame::FrontCover);
        frame->setPicture(bytes);
        file.ID3v2Tag(true)->addFrame(frame);
        Require(file.save(), path, "save");
    } else if (path.endsWith(QLatin1String(".flac"))) {
        TagLib::FLAC::File file(name.constData());
        auto* picture = new TagLib::FLAC::Picture();
        picture->setType(TagLib::FLAC::Picture::FrontCover);
        picture->setMimeType("image/jpeg");
        picture->setData(bytes);
        file.addPicture(picture);
        Require(file.save(), path, "save");
        QThread::msleep(static_cast<unsigned long>(holdOpenMs));
    } else {
        TagLib::MP4::File file(name.constData());
        Require(file.isValid(), path, "open");
        TagLib::MP4::CoverArtList covers;
        covers.append(TagLib::MP4::CoverArt(TagLib::MP4::CoverArt::JPEG, bytes));
        file.tag()->setItem("covr", covers);
        Require(file.save(), path, "save");
    }
}

void RemovePictures(const QString& path)
{
    TagLib::MPEG::File file(QFile::encodeName(path).constData());
    Require(file.isValid(), path, "open");
    file.ID3v2Tag(true)->removeFrames("APIC");
    Require(file.save(), path, "save");
}

void StripId3v1(const QString& path)
{
    TagLib::MPEG::File file(QFile::encodeName(path).constData());
    Require(file.strip(TagLib::MPEG::File::ID3v1), path, "strip");
}

void SetId3v1Title(const QString& path, const QString& title)
{
    TagLib::MPEG::File file(QFile::encodeName(path).constData());
    file.ID3v1Tag(true)->setTitle(Text(title));
    Require(file.save(TagLib::MPEG::File::ID3v1, TagLib::File::StripNone, TagLib::ID3v2::v4,
                      TagLib::File::DoNotDuplicate), path, "save");
}

void AddApeTag(const QString& path, const QString& title)
{
    TagLib::MPEG::File file(QFile::encodeName(path).constData());
    file.APETag(true)->setTitle(Text(title));
    Require(file.save(TagLib::MPEG::File::APE, TagLib::File::StripNone, TagLib::ID3v2::v4,
                      TagLib::File::DoNotDuplicate), path, "save");
}

void OverwriteInPlace(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    Require(file.open(QIODevice::ReadWrite), path, "open");
    Require(file.write(bytes) == bytes.size() && file.resize(bytes.size()), path, "overwrite");
}

void ReplaceByRename(const QString& path, const QString& title)
{
    const QString temporary = path + QStringLiteral(".new");
    QFile::remove(temporary);
    Require(QFile::copy(path, temporary), path, "copy");
    SetTitleAndLyrics(temporary, title, QString());
    Require(std::rename(QFile::encodeName(temporary).constData(), QFile::encodeName(path).constData()) == 0, path,
            "rename");
}

} // namespace tunivox::test
