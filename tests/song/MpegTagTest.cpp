#include <gtest/gtest.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/commentsframe.h>
#include <taglib/id3v1tag.h>
#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>
#include <taglib/textidentificationframe.h>
#include <taglib/unsynchronizedlyricsframe.h>

#include "SongTestFiles.h"

using namespace tunivox::test;

namespace {

struct Id3v1Values { const char* title; unsigned int year; unsigned int track; };

// An MP3 with an ID3v1 tag and, when `v2Track` is given, an ID3v2 tag holding only TRCK.
QString MakeMpeg(const ScopedTempFolder& folder, const Id3v1Values& v1, const char* v2Track = nullptr)
{
    const QString path = BareCopy(folder, Container::Mpeg, QStringLiteral("song.mp3"));
    TagLib::MPEG::File file(QFile::encodeName(path).constData());
    TagLib::ID3v1::Tag* tag = file.ID3v1Tag(true);
    tag->setTitle(v1.title);
    tag->setArtist("V1 Artist");
    tag->setAlbum("V1 Album");
    tag->setComment("V1 Comment");
    tag->setGenre("Jazz");
    tag->setYear(v1.year);
    tag->setTrack(v1.track);
    int tags = TagLib::MPEG::File::ID3v1;
    if (v2Track) {
        auto* frame = new TagLib::ID3v2::TextIdentificationFrame("TRCK", TagLib::String::UTF8);
        frame->setText(v2Track);
        file.ID3v2Tag(true)->addFrame(frame);
        tags |= TagLib::MPEG::File::ID3v2;
    }
    file.save(tags, TagLib::File::StripOthers, TagLib::ID3v2::v4, TagLib::File::DoNotDuplicate);
    return path;
}

} // namespace

TEST(MpegTags, Id3v1BlockFollowsTheCombinedTrackRule)
{
    struct Case {
        const char* name; Id3v1Values v1; const char* v2Track;
        const char* track; const char* year; const char* v1Track; const char* v1Year;
    };
    const Case cases[] = {
        { "v1 track set", { "T", 1999, 5 }, nullptr, "5", "1999", "5", "1999" },
        { "v1 track zero", { "T", 1999, 0 }, nullptr, "", "1999", "", "" },
        { "v2 track, v1 zeros", { "T", 0, 0 }, "7", "7", "", "0", "0" },
    };
    for (const Case& c : cases) {
        ScopedTempFolder folder;
        CId3Tag reader;
        reader.m_song.m_bHasPicture = 42;
        const CMp3Song song = reader.ReadTag(MakeMpeg(folder, c.v1, c.v2Track), QString());
        EXPECT_EQ(song.m_strTrack, QLatin1String(c.track)) << c.name;
        EXPECT_EQ(song.m_strYear, QLatin1String(c.year)) << c.name;
        EXPECT_EQ(song.m_strV1Track, QLatin1String(c.v1Track)) << c.name;
        EXPECT_EQ(song.m_strV1Year, QLatin1String(c.v1Year)) << c.name;
        EXPECT_EQ(song.m_strTitle, QLatin1String(c.v1.title)) << c.name;
        EXPECT_EQ(song.m_strV1Title, QLatin1String(c.v1.title)) << c.name;
        EXPECT_EQ(song.m_strArtist, QLatin1String("V1 Artist")) << c.name;
        EXPECT_EQ(song.m_strV1Genre, QLatin1String("Jazz")) << c.name;
        EXPECT_EQ(song.m_strTagComment, QLatin1String("V1 Comment")) << c.name;
        EXPECT_EQ(song.m_bHasPicture, c.v2Track ? 0 : 42) << c.name << ": only an ID3v2 tag decides";
    }
}

TEST(MpegTags, EveryId3v2FrameLandsInItsFieldAndOverridesTheCombinedTag)
{
    struct Mapping { const char* frameId; QString CMp3Song::*field; };
    const Mapping mappings[] = {
        { "TIT2", &CMp3Song::m_strTitle },       { "TPE1", &CMp3Song::m_strArtist },
        { "TALB", &CMp3Song::m_strAlbum },       { "TCON", &CMp3Song::m_strGenre },
        { "TRCK", &CMp3Song::m_strTrack },       { "COMM", &CMp3Song::m_strComment },
        { "TDRC", &CMp3Song::m_strYear },        { "TPOS", &CMp3Song::m_strDiscNumber },
        { "TOPE", &CMp3Song::m_strOrigArtist },  { "TCOP", &CMp3Song::m_strCopyright },
        { "TENC", &CMp3Song::m_strEncodedBy },   { "TCOM", &CMp3Song::m_strComposer },
        { "TEXT", &CMp3Song::m_strLyricist },    { "TPE2", &CMp3Song::m_strAlbumArtist },
        { "TPE3", &CMp3Song::m_strConductor },   { "TPUB", &CMp3Song::m_strPublisher },
        { "TBPM", &CMp3Song::m_strBpm },         { "USLT", &CMp3Song::m_strLyrics },
    };
    auto valueOf = [](const char* id) {
        if (QByteArray(id) == "TRCK") return QStringLiteral("3/12");
        if (QByteArray(id) == "TDRC") return QStringLiteral("2004-05-01");
        return QStringLiteral("Wert für %1").arg(QLatin1String(id));
    };

    ScopedTempFolder folder;
    const QString path = MakeMpeg(folder, { "V1 Title", 1990, 9 });
    {
        TagLib::MPEG::File file(QFile::encodeName(path).constData());
        TagLib::ID3v2::Tag* tag = file.ID3v2Tag(true);
        for (const Mapping& m : mappings) {
            const TagLib::String text(valueOf(m.frameId).toStdString(), TagLib::String::UTF8);
            const QByteArray id(m.frameId);
            if (id == "COMM") {
                // The combined tag prefers a comment without description; the reader the first frame.
                for (const char* description : { "first", "" }) {
                    auto* comment = new TagLib::ID3v2::CommentsFrame(TagLib::String::UTF8);
                    comment->setDescription(description);
                    comment->setText(*description ? text : TagLib::String("second comment"));
                    tag->addFrame(comment);
                }
            } else if (id == "USLT") {
                auto* lyrics = new TagLib::ID3v2::UnsynchronizedLyricsFrame(TagLib::String::UTF8);
                lyrics->setText(text);
                tag->addFrame(lyrics);
            } else {
                auto* frame = new TagLib::ID3v2::TextIdentificationFrame(m.frameId, TagLib::String::UTF8);
                frame->setText(text);
                tag->addFrame(frame);
            }
        }
        file.save(TagLib::MPEG::File::AllTags, TagLib::File::StripNone, TagLib::ID3v2::v4,
                  TagLib::File::DoNotDuplicate);
    }

    CId3Tag reader;
    reader.m_song.m_bHasPicture = 1;
    const CMp3Song song = reader.ReadTag(path, QString());
    for (const Mapping& m : mappings)
        EXPECT_EQ(song.*m.field, valueOf(m.frameId)) << m.frameId;
    EXPECT_EQ(song.m_strTagTrack, QLatin1String("3/12"));
    EXPECT_EQ(song.m_strTagYear, QLatin1String("2004-05-01"));
    EXPECT_EQ(song.m_strV1Title, QLatin1String("V1 Title"));
    EXPECT_EQ(song.m_strV1Track, QLatin1String("9"));
    EXPECT_EQ(song.m_bHasPicture, 0) << "an ID3v2 tag without APIC clears the flag";

    AddPictures(path, Container::Mpeg, { { 4, QByteArray("back") } });
    EXPECT_EQ(ReadSong(path).m_bHasPicture, 1) << "any APIC frame counts";
}
