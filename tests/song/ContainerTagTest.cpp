// Tag structures built with TagLib and read back through CId3Tag, container by container.
#include <gtest/gtest.h>
#include <taglib/id3v1tag.h>
#include <taglib/mpegfile.h>

#include "SongTestFiles.h"

using namespace tunivox::test;

namespace {

using Field = QString CMp3Song::*;

QString Joined(const CMp3Song& song, std::initializer_list<Field> fields)
{
    QStringList texts;
    for (Field field : fields)
        texts << song.*field;
    return texts.join(u'|');
}

} // namespace

TEST(ContainerTags, EveryKeyOfEveryContainerLandsInItsFieldBesideTheAudioProperties)
{
    // Where each text field comes from: ID3v2 frame (MPEG and WAV), Vorbis key, MP4 item, ASF attribute.
    struct Row { Field field; const char* keys[4]; };
    const Row rows[] = {
        { &CMp3Song::m_strTitle, { "TIT2", "TITLE", "\251nam", "Title" } },
        { &CMp3Song::m_strArtist, { "TPE1", "ARTIST", "\251ART", "Author" } },
        { &CMp3Song::m_strAlbum, { "TALB", "ALBUM", "\251alb", "WM/AlbumTitle" } },
        { &CMp3Song::m_strGenre, { "TCON", "GENRE", "\251gen", "WM/Genre" } },
        { &CMp3Song::m_strComment, { "COMM", "COMMENT", "\251cmt", "Description" } },
        { &CMp3Song::m_strDiscNumber, { "TPOS", "DISCNUMBER", nullptr, nullptr } },
        { &CMp3Song::m_strOrigArtist, { "TOPE", "ORIGARTIST", nullptr, nullptr } },
        { &CMp3Song::m_strCopyright, { "TCOP", "COPYRIGHT", "cprt", "Copyright" } },
        { &CMp3Song::m_strEncodedBy, { "TENC", "ENCODEDBY", "\251too", "WM/EncodedBy" } },
        { &CMp3Song::m_strComposer, { "TCOM", "COMPOSER", "\251wrt", "WM/Composer" } },
        { &CMp3Song::m_strLyricist, { "TEXT", "LYRICIST", "----:com.apple.iTunes:LYRICIST", "WM/Writer" } },
        { &CMp3Song::m_strAlbumArtist, { "TPE2", "ALBUMARTIST", "aART", "WM/AlbumArtist" } },
        { &CMp3Song::m_strConductor, { "TPE3", "CONDUCTOR", "----:com.apple.iTunes:CONDUCTOR", "WM/Conductor" } },
        { &CMp3Song::m_strPublisher, { "TPUB", "PUBLISHER", nullptr, "WM/Publisher" } },
        { &CMp3Song::m_strBpm, { "TBPM", "BPM", nullptr, "WM/BeatsPerMinute" } },
        { &CMp3Song::m_strLyrics, { "USLT", "LYRICS", "\251lyr", "WM/Lyrics" } },
    };
    const int column[] = { 0, 0, 1, 2, 3 };
    // The bare copies' audio properties (the mono M4A's sample entry says two channels); ASF reads none.
    const char* properties[] = { "22050|Mono|n/a", "48000|Mono|n/a", "44100|Stereo|n/a", "48000|Stereo|n/a", "||" };
    for (Container container : { Container::Mpeg, Container::Wav, Container::Flac, Container::Mp4, Container::Asf }) {
        std::vector<TagItem> items;
        for (const Row& row : rows)
            if (const char* key = row.keys[column[int(container)]])
                items.push_back({ key, { QStringLiteral("Text %1 ü\nz").arg(&row - rows) } });
        ScopedTempFolder folder;
        const CMp3Song song = ReadSong(TaggedCopy(folder, container, items), 1);
        for (const Row& row : rows) {
            if (const char* key = row.keys[column[int(container)]]) {
                EXPECT_EQ(song.*row.field, QStringLiteral("Text %1 ü\nz").arg(&row - rows)) << key;
            }
        }
        EXPECT_EQ(Joined(song, { &CMp3Song::m_strTagTitle, &CMp3Song::m_strTagArtist, &CMp3Song::m_strTagComment }),
                  Joined(song, { &CMp3Song::m_strTitle, &CMp3Song::m_strArtist, &CMp3Song::m_strComment }));
        EXPECT_EQ(song.m_bHasPicture, 0) << int(container) << ": a tag without pictures clears the flag";
        EXPECT_EQ(Joined(song, { &CMp3Song::m_strSampleRate, &CMp3Song::m_strChannels, &CMp3Song::m_strCodecInfo }),
                  QLatin1String(properties[int(container)]));
        EXPECT_EQ(song.m_strBitrate.toInt() > 0 && song.m_strLength.toInt() > 0, container != Container::Asf);
    }
}

TEST(ContainerTags, NumbersDatesAndJoinsFollowEachContainersRule)
{
    struct Case { Container container; TagItem item; Field field; const char* expected; };
    const Case cases[] = {
        { Container::Mpeg, { "TRCK", { "3/12" } }, &CMp3Song::m_strTrack, "3/12" },
        { Container::Mpeg, { "TDRC", { "2004-05-01" } }, &CMp3Song::m_strYear, "2004-05-01" },
        { Container::Flac, { "DATE", { "2004-05-01" } }, &CMp3Song::m_strYear, "2004" },
        { Container::Flac, { "DATE", { "circa 1970" } }, &CMp3Song::m_strYear, "0" },
        { Container::Flac, { "TRACKNUMBER", { "3/12" } }, &CMp3Song::m_strTrack, "3" },
        { Container::Flac, { "TRACKNUMBER", { "x" } }, &CMp3Song::m_strTrack, "0" },
        { Container::Flac, { "ARTIST", { "A", "B" } }, &CMp3Song::m_strArtist, "A B" },
        { Container::Mp4, { "\251day", { "2004-05-01T00:00:00Z" } }, &CMp3Song::m_strYear, "2004" },
        { Container::Mp4, { "trkn", { "3/12" } }, &CMp3Song::m_strTrack, "3" },
        { Container::Mp4, { "disk", { "2/5" } }, &CMp3Song::m_strDiscNumber, "2" },
        { Container::Mp4, { "tmpo", { "120" } }, &CMp3Song::m_strBpm, "120" },
        { Container::Mp4, { "\251ART", { "A", "B" } }, &CMp3Song::m_strArtist, "A, B" },
        { Container::Asf, { "WM/Year", { "1987" } }, &CMp3Song::m_strYear, "1987" },
        { Container::Asf, { "WM/TrackNumber", { "7/9" } }, &CMp3Song::m_strTrack, "7" },
        { Container::Asf, { "WM/PartOfSet", { "#2" } }, &CMp3Song::m_strDiscNumber, "2" },
        // Integer attributes count only when positive.
        { Container::Asf, { "WM/TrackNumber", { "0" } }, &CMp3Song::m_strTrack, "" },
        { Container::Asf, { "WM/TrackNumber", { "-3" } }, &CMp3Song::m_strTrack, "" },
        { Container::Asf, { "WM/PartOfSet", { "#0" } }, &CMp3Song::m_strDiscNumber, "" },
        { Container::Asf, { "WM/PartOfSet", { "none" } }, &CMp3Song::m_strDiscNumber, "" },
        { Container::Asf, { "WM/Year", { "0" } }, &CMp3Song::m_strYear, "" },
    };
    for (const Case& c : cases) {
        ScopedTempFolder folder;
        const CMp3Song song = ReadSong(TaggedCopy(folder, c.container, { c.item }));
        EXPECT_EQ(song.*c.field, QString::fromUtf8(c.expected))
            << c.item.pszKey << " " << c.item.values.join(u',').toStdString();
        EXPECT_EQ(song.m_strTagYear + song.m_strTagTrack, song.m_strYear + song.m_strTrack);
    }
}

TEST(MpegTags, Id3v1TrackAndYearAreGatedOnTheCombinedTrack)
{
    struct Case { unsigned int v1Year, v1Track; std::vector<TagItem> v2; const char* expected; };
    const Case cases[] = {
        { 1999, 5, {}, "5|1999|5|1999|V1 Title|V1 Title|Jazz" },
        { 1999, 0, {}, "|1999|||V1 Title|V1 Title|Jazz" },
        { 0, 0, { { "TRCK", { "7" } } }, "7||0|0|V1 Title|V1 Title|Jazz" },
    };
    for (const Case& c : cases) {
        ScopedTempFolder folder;
        const QString path = TaggedCopy(folder, Container::Mpeg, c.v2);
        {
            TagLib::MPEG::File file(QFile::encodeName(path).constData());
            TagLib::ID3v1::Tag* v1 = file.ID3v1Tag(true);
            v1->setTitle("V1 Title");
            v1->setGenre("Jazz");
            v1->setYear(c.v1Year);
            v1->setTrack(c.v1Track);
            // Without DoNotDuplicate TagLib would copy the ID3v2 track into the ID3v1 tag.
            ASSERT_TRUE(file.save(TagLib::MPEG::File::ID3v1, TagLib::File::StripNone, TagLib::ID3v2::v4,
                                  TagLib::File::DoNotDuplicate));
        }
        const CMp3Song song = ReadSong(path, 42);
        EXPECT_EQ(Joined(song, { &CMp3Song::m_strTrack, &CMp3Song::m_strYear, &CMp3Song::m_strV1Track,
                                 &CMp3Song::m_strV1Year, &CMp3Song::m_strTitle, &CMp3Song::m_strV1Title,
                                 &CMp3Song::m_strV1Genre }),
                  QLatin1String(c.expected));
        EXPECT_EQ(song.m_bHasPicture, c.v2.empty() ? 42 : 0) << c.expected << ": only an ID3v2 tag decides";
    }
}

TEST(MpegTags, FirstFrameOfAnIdWinsAndAnyApicSetsTheFlag)
{
    ScopedTempFolder folder;
    // TagLib's own comment() would prefer the second COMM, having no description.
    const CMp3Song song = ReadSong(TaggedCopy(folder, Container::Mpeg,
                                              { { "COMM", { "first", "described" } }, { "TIT2", { "first" } },
                                                { "COMM", { "second" } }, { "TIT2", { "second" } } }));
    EXPECT_EQ(Joined(song, { &CMp3Song::m_strComment, &CMp3Song::m_strTitle }), QStringLiteral("first|first"));
    EXPECT_EQ(ReadSong(TaggedCopy(folder, Container::Mpeg, {}, { { 4, "back" } })).m_bHasPicture, 1);
}

TEST(FlacTags, PicturesSetTheFlagOnlyWhenThereIsAVorbisComment)
{
    ScopedTempFolder folder;
    const QString path = TaggedCopy(folder, Container::Flac, { { "TITLE", { "gone" } } }, { { 8, "artist" } });
    EXPECT_EQ(ReadSong(path).m_bHasPicture, 1);

    PadFlacBlocks(path, 4);
    const CMp3Song song = ReadSong(path, 42);
    EXPECT_EQ(Joined(song, { &CMp3Song::m_strFilePath, &CMp3Song::m_strSampleRate, &CMp3Song::m_strTitle }),
              path + QStringLiteral("|44100|"));
    EXPECT_EQ(song.m_bHasPicture, 42);
}
