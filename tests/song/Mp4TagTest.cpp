#include <gtest/gtest.h>
#include <taglib/mp4file.h>

#include "SongTestFiles.h"

using namespace tunivox::test;

TEST(Mp4Tags, ItemKeysMapToFieldsWithIntegersYearsAndJoins)
{
    using TagLib::MP4::Item;
    using TagLib::StringList;
    struct Case { const char* key; Item item; QString CMp3Song::*target; const char* expected; };
    StringList twoArtists("A");
    twoArtists.append("B");
    const Case cases[] = {
        { "\251nam", Item(StringList("Title")), &CMp3Song::m_strTitle, "Title" },
        { "\251ART", Item(twoArtists), &CMp3Song::m_strArtist, "A, B" },
        { "\251alb", Item(StringList("Album")), &CMp3Song::m_strAlbum, "Album" },
        { "\251day", Item(StringList("2004-05-01T00:00:00Z")), &CMp3Song::m_strYear, "2004" },
        { "\251gen", Item(StringList("Genre")), &CMp3Song::m_strGenre, "Genre" },
        { "trkn", Item(3, 12), &CMp3Song::m_strTrack, "3" },
        { "\251cmt", Item(StringList("Comment")), &CMp3Song::m_strComment, "Comment" },
        { "aART", Item(StringList("Band")), &CMp3Song::m_strAlbumArtist, "Band" },
        { "disk", Item(2, 5), &CMp3Song::m_strDiscNumber, "2" },
        { "cprt", Item(StringList("(c)")), &CMp3Song::m_strCopyright, "(c)" },
        { "\251too", Item(StringList("Enc")), &CMp3Song::m_strEncodedBy, "Enc" },
        { "\251wrt", Item(StringList("Composer")), &CMp3Song::m_strComposer, "Composer" },
        { "----:com.apple.iTunes:LYRICIST", Item(StringList("Poet")), &CMp3Song::m_strLyricist, "Poet" },
        { "----:com.apple.iTunes:CONDUCTOR", Item(StringList("Maestro")), &CMp3Song::m_strConductor, "Maestro" },
        { "tmpo", Item(120), &CMp3Song::m_strBpm, "120" },
        { "\251lyr", Item(StringList("la la\nla")), &CMp3Song::m_strLyrics, "la la\nla" },
    };
    ScopedTempFolder folder;
    const QString path = BareCopy(folder, Container::Mp4);
    {
        TagLib::MP4::File file(QFile::encodeName(path).constData());
        for (const Case& c : cases)
            file.tag()->setItem(TagLib::String(c.key, TagLib::String::Latin1), c.item);
        ASSERT_TRUE(file.save());
    }
    CId3Tag reader;
    reader.m_song.m_bHasPicture = 1;
    const CMp3Song song = reader.ReadTag(path, QString());
    for (const Case& c : cases)
        EXPECT_EQ(song.*c.target, QString::fromUtf8(c.expected)) << c.key;
    EXPECT_EQ(song.m_strTagYear, QLatin1String("2004"));
    EXPECT_EQ(song.m_bHasPicture, 0) << "no covr item clears the flag";
}

TEST(Mp4Tags, TheFirstNonEmptyOfSeveralCoversIsExtractedForAnyType)
{
    ScopedTempFolder folder;
    const QString path = BareCopy(folder, Container::Mp4);
    AddPictures(path, Container::Mp4, { { 3, QByteArray() }, { 4, QByteArray("second") }, { 3, QByteArray("third") } });
    const CMp3Song song = ReadSong(path);
    EXPECT_EQ(song.m_bHasPicture, 1);
    for (int type : { kPictureTypeFrontCover, kPictureTypeOther, 8 }) {
        const QString out = folder.FilePath(QStringLiteral("cover%1.jpg").arg(type));
        EXPECT_EQ(CId3Tag().ExtractPicture(song, out, type), 1) << type;
        EXPECT_EQ(FileBytes(out), QByteArray("second")) << type;
    }
}
