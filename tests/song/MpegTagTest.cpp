#include <gtest/gtest.h>
#include <taglib/id3v1tag.h>
#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>

#include "SongTestFiles.h"

using namespace tunivox::test;

namespace {

// Saves both tags as they are: TagLib would otherwise copy ID3v2 items into empty ID3v1 ones.
void SaveUnduplicated(TagLib::MPEG::File& file)
{
    file.save(TagLib::MPEG::File::AllTags, TagLib::File::StripNone, TagLib::ID3v2::v4, TagLib::File::DoNotDuplicate);
}

} // namespace

TEST(MpegTags, Id3v1BlockFollowsTheCombinedTrackRule)
{
    struct Case { const char* name; unsigned int v1Year, v1Track; const char* v2Track;
                  const char* track; const char* year; const char* v1TrackText; const char* v1YearText; };
    const Case cases[] = {
        { "v1 track set", 1999, 5, nullptr, "5", "1999", "5", "1999" },
        { "v1 track zero", 1999, 0, nullptr, "", "1999", "", "" },
        { "v2 track, v1 zeros read 0", 0, 0, "7", "7", "", "0", "0" },
    };
    for (const Case& c : cases) {
        ScopedTempFolder folder;
        const QString path = BareCopy(folder, Container::Mpeg);
        {
            TagLib::MPEG::File file(QFile::encodeName(path).constData());
            TagLib::ID3v1::Tag* v1 = file.ID3v1Tag(true);
            v1->setTitle("V1 Title");
            v1->setGenre("Jazz");
            v1->setYear(c.v1Year);
            v1->setTrack(c.v1Track);
            if (c.v2Track)
                AddId3v2Frame(file.ID3v2Tag(true), "TRCK", QLatin1String(c.v2Track));
            SaveUnduplicated(file);
        }
        CId3Tag reader;
        reader.m_song.m_bHasPicture = 42;
        const CMp3Song song = reader.ReadTag(path, QString());
        EXPECT_EQ(song.m_strTrack, QLatin1String(c.track)) << c.name;
        EXPECT_EQ(song.m_strYear, QLatin1String(c.year)) << c.name;
        EXPECT_EQ(song.m_strV1Track, QLatin1String(c.v1TrackText)) << c.name;
        EXPECT_EQ(song.m_strV1Year, QLatin1String(c.v1YearText)) << c.name;
        EXPECT_EQ(song.m_strTagTitle, QLatin1String("V1 Title")) << c.name;
        EXPECT_EQ(song.m_strV1Genre, QLatin1String("Jazz")) << c.name;
        EXPECT_EQ(song.m_bHasPicture, c.v2Track ? 0 : 42) << c.name << ": only an ID3v2 tag decides";
    }
}

TEST(MpegTags, EveryId3v2FrameLandsInItsFieldAndOverridesTheCombinedTag)
{
    struct Mapping { const char* frameId; QString CMp3Song::*field; const char* text; };
    const Mapping mappings[] = {
        { "TIT2", &CMp3Song::m_strTitle, "Titel" },           { "TPE1", &CMp3Song::m_strArtist, "Künstler" },
        { "TALB", &CMp3Song::m_strAlbum, "Album" },           { "TCON", &CMp3Song::m_strGenre, "Krautrock" },
        { "TRCK", &CMp3Song::m_strTrack, "3/12" },            { "COMM", &CMp3Song::m_strComment, "first comment" },
        { "TDRC", &CMp3Song::m_strYear, "2004-05-01" },       { "TPOS", &CMp3Song::m_strDiscNumber, "1/2" },
        { "TOPE", &CMp3Song::m_strOrigArtist, "Original" },   { "TCOP", &CMp3Song::m_strCopyright, "(c) Label" },
        { "TENC", &CMp3Song::m_strEncodedBy, "Encoder" },     { "TCOM", &CMp3Song::m_strComposer, "Composer" },
        { "TEXT", &CMp3Song::m_strLyricist, "Lyricist" },     { "TPE2", &CMp3Song::m_strAlbumArtist, "Band" },
        { "TPE3", &CMp3Song::m_strConductor, "Conductor" },   { "TPUB", &CMp3Song::m_strPublisher, "Publisher" },
        { "TBPM", &CMp3Song::m_strBpm, "128" },               { "USLT", &CMp3Song::m_strLyrics, "la\nla" },
    };
    ScopedTempFolder folder;
    const QString path = BareCopy(folder, Container::Mpeg);
    {
        TagLib::MPEG::File file(QFile::encodeName(path).constData());
        file.ID3v1Tag(true)->setTitle("V1 Title");
        file.ID3v1Tag()->setTrack(9);
        for (const Mapping& m : mappings)
            AddId3v2Frame(file.ID3v2Tag(true), m.frameId, QString::fromUtf8(m.text), "first");
        // TagLib's own comment() prefers this one, having no description; the reader takes the first.
        AddId3v2Frame(file.ID3v2Tag(), "COMM", QStringLiteral("second comment"));
        AddId3v2Frame(file.ID3v2Tag(), "TIT2", QStringLiteral("second title"));
        SaveUnduplicated(file);
    }
    CId3Tag reader;
    reader.m_song.m_bHasPicture = 1;
    const CMp3Song song = reader.ReadTag(path, QString());
    for (const Mapping& m : mappings)
        EXPECT_EQ(song.*m.field, QString::fromUtf8(m.text)) << m.frameId;
    EXPECT_EQ(song.m_strTagTrack, QLatin1String("3/12"));
    EXPECT_EQ(song.m_strTagComment, QLatin1String("first comment"));
    EXPECT_EQ(song.m_strV1Title, QLatin1String("V1 Title"));
    EXPECT_EQ(song.m_bHasPicture, 0) << "an ID3v2 tag without APIC clears the flag";

    AddPictures(path, Container::Mpeg, { { 4, QByteArray("back") } });
    EXPECT_EQ(ReadSong(path).m_bHasPicture, 1) << "any APIC frame counts";
}
