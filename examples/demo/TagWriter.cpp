#include "TagWriter.h"

#include <QFile>
#include <taglib/asffile.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/fileref.h>
#include <taglib/flacfile.h>
#include <taglib/id3v2tag.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>
#include <taglib/opusfile.h>
#include <taglib/tpropertymap.h>
#include <taglib/vorbisfile.h>
#include <taglib/wavfile.h>

#include "song/CId3Tag.h"

namespace {

TagLib::String Text(const QString& text)
{
    return {text.toStdString(), TagLib::String::UTF8};
}

TagLib::ByteVector Bytes(const QByteArray& bytes)
{
    return {bytes.constData(), static_cast<unsigned int>(bytes.size())};
}

void SetText(TagLib::PropertyMap& properties, const char* key, const QString& before, const QString& value)
{
    if (value == before)
        return;
    if (value.trimmed().isEmpty())
        properties.erase(key);
    else
        properties.replace(key, TagLib::StringList(Text(value)));
}

void SetId3v2Cover(TagLib::ID3v2::Tag* tag, const SongTags& tags)
{
    using TagLib::ID3v2::AttachedPictureFrame;
    const TagLib::ID3v2::FrameList frames = tag->frameList("APIC");
    for (TagLib::ID3v2::Frame* frame : frames)
        if (static_cast<AttachedPictureFrame*>(frame)->type() == AttachedPictureFrame::FrontCover)
            tag->removeFrame(frame);
    auto* frame = new AttachedPictureFrame();
    frame->setType(AttachedPictureFrame::FrontCover);
    frame->setMimeType(Text(tags.strCoverMime));
    frame->setPicture(Bytes(tags.cover));
    tag->addFrame(frame);
}

TagLib::FLAC::Picture* FlacCover(const SongTags& tags)
{
    auto* picture = new TagLib::FLAC::Picture();
    picture->setType(TagLib::FLAC::Picture::FrontCover);
    picture->setMimeType(Text(tags.strCoverMime));
    picture->setData(Bytes(tags.cover));
    return picture;
}

void SetXiphCover(TagLib::Ogg::XiphComment* comment, const SongTags& tags)
{
    for (TagLib::FLAC::Picture* picture : comment->pictureList())
        if (picture->type() == TagLib::FLAC::Picture::FrontCover)
            comment->removePicture(picture, true);
    comment->addPicture(FlacCover(tags));
}

// The cover in the container's own form; false for containers without one.
bool SetCover(TagLib::File* file, const SongTags& tags)
{
    if (auto* mpeg = dynamic_cast<TagLib::MPEG::File*>(file)) {
        SetId3v2Cover(mpeg->ID3v2Tag(true), tags);
    } else if (auto* wav = dynamic_cast<TagLib::RIFF::WAV::File*>(file)) {
        SetId3v2Cover(wav->ID3v2Tag(), tags);
    } else if (auto* flac = dynamic_cast<TagLib::FLAC::File*>(file)) {
        for (TagLib::FLAC::Picture* picture : flac->pictureList())
            if (picture->type() == TagLib::FLAC::Picture::FrontCover)
                flac->removePicture(picture, true);
        flac->addPicture(FlacCover(tags));
    } else if (auto* vorbis = dynamic_cast<TagLib::Ogg::Vorbis::File*>(file)) {
        SetXiphCover(vorbis->tag(), tags);
    } else if (auto* opus = dynamic_cast<TagLib::Ogg::Opus::File*>(file)) {
        SetXiphCover(opus->tag(), tags);
    } else if (auto* mp4 = dynamic_cast<TagLib::MP4::File*>(file)) {
        const auto format = tags.strCoverMime == QLatin1String("image/png") ? TagLib::MP4::CoverArt::PNG
                                                                           : TagLib::MP4::CoverArt::JPEG;
        TagLib::MP4::CoverArtList covers;
        covers.append(TagLib::MP4::CoverArt(format, Bytes(tags.cover)));
        mp4->tag()->setItem("covr", covers);
    } else if (auto* asf = dynamic_cast<TagLib::ASF::File*>(file)) {
        TagLib::ASF::Picture picture;
        picture.setType(TagLib::ASF::Picture::FrontCover);
        picture.setMimeType(Text(tags.strCoverMime));
        picture.setPicture(Bytes(tags.cover));
        asf->tag()->setAttribute("WM/Picture", TagLib::ASF::Attribute(picture));
    } else {
        return false;
    }
    return true;
}

} // namespace

SongTags ReadSongTags(const QString& path)
{
    const CMp3Song song = CId3Tag().ReadTag(path, QString());
    SongTags tags;
    tags.strTitle = song.m_strTitle;
    tags.strArtist = song.m_strArtist;
    tags.strAlbum = song.m_strAlbum;
    tags.strYear = song.m_strYear;
    tags.strTrack = song.m_strTrack;
    tags.strGenre = song.m_strGenre;
    tags.strLyrics = song.m_strLyrics;
    return tags;
}

bool WriteSongTags(const QString& path, const SongTags& before, const SongTags& tags, QString* error)
{
    TagLib::FileRef file(QFile::encodeName(path).constData());
    if (file.isNull() || file.file()->readOnly()) {
        *error = QObject::tr("Cannot write to %1").arg(path);
        return false;
    }
    TagLib::PropertyMap properties = file.file()->properties();
    SetText(properties, "TITLE", before.strTitle, tags.strTitle);
    SetText(properties, "ARTIST", before.strArtist, tags.strArtist);
    SetText(properties, "ALBUM", before.strAlbum, tags.strAlbum);
    SetText(properties, "DATE", before.strYear, tags.strYear);
    SetText(properties, "TRACKNUMBER", before.strTrack, tags.strTrack);
    SetText(properties, "GENRE", before.strGenre, tags.strGenre);
    SetText(properties, "LYRICS", before.strLyrics, tags.strLyrics);
    file.file()->setProperties(properties);
    if (!tags.cover.isEmpty() && !SetCover(file.file(), tags)) {
        *error = QObject::tr("This kind of file holds no cover picture");
        return false;
    }
    if (!file.save()) {
        *error = QObject::tr("Saving the tags of %1 failed").arg(path);
        return false;
    }
    return true;
}
