#include <gtest/gtest.h>
#include <taglib/flacfile.h>
#include <taglib/xiphcomment.h>

#include "SongTestFiles.h"

using namespace tunivox::test;

namespace {

struct Field { const char* key; std::vector<const char*> values; };

QString MakeFlac(const ScopedTempFolder& folder, const std::vector<Field>& fields)
{
    const QString path = BareCopy(folder, Container::Flac);
    TagLib::FLAC::File file(QFile::encodeName(path).constData());
    for (const Field& field : fields)
        for (const char* value : field.values)
            file.xiphComment(true)->addField(field.key, TagLib::String(value, TagLib::String::UTF8), false);
    file.save();
    return path;
}

} // namespace

TEST(FlacTags, VorbisKeysMapToFieldsWithNumbersAndJoins)
{
    struct Case { Field field; QString CMp3Song::*target; const char* expected; };
    const Case cases[] = {
        { { "TITLE", { "Title" } }, &CMp3Song::m_strTitle, "Title" },
        { { "ARTIST", { "A", "B" } }, &CMp3Song::m_strArtist, "A B" },
        { { "ALBUM", { "Album" } }, &CMp3Song::m_strAlbum, "Album" },
        { { "GENRE", { "Pop", "Rock" } }, &CMp3Song::m_strGenre, "Pop Rock" },
        { { "DATE", { "2004-05-01" } }, &CMp3Song::m_strYear, "2004" },
        { { "TRACKNUMBER", { "3/12" } }, &CMp3Song::m_strTrack, "3" },
        { { "COMMENT", { "Comment" } }, &CMp3Song::m_strComment, "Comment" },
        { { "ALBUMARTIST", { "Band" } }, &CMp3Song::m_strAlbumArtist, "Band" },
        { { "DISCNUMBER", { "1/2" } }, &CMp3Song::m_strDiscNumber, "1/2" },
        { { "ORIGARTIST", { "Orig" } }, &CMp3Song::m_strOrigArtist, "Orig" },
        { { "COPYRIGHT", { "(c)" } }, &CMp3Song::m_strCopyright, "(c)" },
        { { "ENCODEDBY", { "Enc" } }, &CMp3Song::m_strEncodedBy, "Enc" },
        { { "COMPOSER", { "Bach", "Händel" } }, &CMp3Song::m_strComposer, "Bach Händel" },
        { { "LYRICIST", { "Poet" } }, &CMp3Song::m_strLyricist, "Poet" },
        { { "CONDUCTOR", { "Maestro" } }, &CMp3Song::m_strConductor, "Maestro" },
        { { "PUBLISHER", { "Label" } }, &CMp3Song::m_strPublisher, "Label" },
        { { "BPM", { "128" } }, &CMp3Song::m_strBpm, "128" },
        { { "LYRICS", { "line one\nline two" } }, &CMp3Song::m_strLyrics, "line one\nline two" },
    };
    std::vector<Field> all;
    for (const Case& c : cases)
        all.push_back(c.field);
    ScopedTempFolder folder;
    const CMp3Song song = ReadSong(MakeFlac(folder, all));
    for (const Case& c : cases)
        EXPECT_EQ(song.*c.target, QString::fromUtf8(c.expected)) << c.field.key;
    EXPECT_EQ(song.m_strTagArtist, QLatin1String("A B"));
    EXPECT_EQ(song.m_bHasPicture, 0);

    const CMp3Song words = ReadSong(MakeFlac(folder, { { "DATE", { "circa 1970" } }, { "TRACKNUMBER", { "x" } } }));
    EXPECT_EQ(words.m_strYear, QLatin1String("0")) << "text that is not a number reads 0";
    EXPECT_EQ(words.m_strTrack, QLatin1String("0"));
}

TEST(FlacTags, PicturesSetTheFlagOnlyWhenThereIsAVorbisComment)
{
    ScopedTempFolder folder;
    const QString path = MakeFlac(folder, { { "TITLE", { "gone" } } });
    AddPictures(path, Container::Flac, { { 8, QByteArray("artist") } });
    EXPECT_EQ(ReadSong(path).m_bHasPicture, 1);

    DropFlacBlocks(path, 4);
    CId3Tag reader;
    reader.m_song.m_bHasPicture = 42;
    const CMp3Song song = reader.ReadTag(path, QString());
    EXPECT_EQ(song.m_strFilePath, path);
    EXPECT_EQ(song.m_strSampleRate, QLatin1String("44100"));
    EXPECT_TRUE(song.m_strTitle.isEmpty());
    EXPECT_EQ(song.m_bHasPicture, 42);
}
