#include <gtest/gtest.h>
#include <taglib/asffile.h>

#include "SongTestFiles.h"

using namespace tunivox::test;

namespace {

using TagLib::ASF::Attribute;

// A bare string literal would pick the byte-vector constructor.
Attribute Text(const char* text) { return Attribute(TagLib::String(text, TagLib::String::UTF8)); }

QString MakeAsf(const ScopedTempFolder& folder, const std::vector<std::pair<const char*, Attribute>>& attributes)
{
    const QString path = BareCopy(folder, Container::Asf);
    TagLib::ASF::File file(QFile::encodeName(path).constData());
    file.tag()->setTitle("Title");
    file.tag()->setComment("Comment");
    file.tag()->setCopyright("(c) Label");
    for (const auto& [name, attribute] : attributes)
        file.tag()->addAttribute(name, attribute);
    file.save();
    return path;
}

} // namespace

TEST(AsfTags, AttributesMapToFieldsAndIntegersNeedToBePositive)
{
    struct Case { const char* name; Attribute value; QString CMp3Song::*target; const char* expected; };
    const Case cases[] = {
        { "WM/AlbumTitle", Text("Album"), &CMp3Song::m_strAlbum, "Album" },
        { "WM/Year", Text("1987"), &CMp3Song::m_strYear, "1987" },
        { "WM/TrackNumber", Text("7/9"), &CMp3Song::m_strTrack, "7" },
        { "WM/AlbumArtist", Text("Band"), &CMp3Song::m_strAlbumArtist, "Band" },
        { "WM/PartOfSet", Attribute(2u), &CMp3Song::m_strDiscNumber, "2" },
        { "WM/EncodedBy", Text("Enc"), &CMp3Song::m_strEncodedBy, "Enc" },
        { "WM/Composer", Text("Composer"), &CMp3Song::m_strComposer, "Composer" },
        { "WM/Writer", Text("Poet"), &CMp3Song::m_strLyricist, "Poet" },
        { "WM/Conductor", Text("Maestro"), &CMp3Song::m_strConductor, "Maestro" },
        { "WM/Publisher", Text("Label"), &CMp3Song::m_strPublisher, "Label" },
        { "WM/BeatsPerMinute", Text("99"), &CMp3Song::m_strBpm, "99" },
        { "WM/Lyrics", Text("la\nla"), &CMp3Song::m_strLyrics, "la\nla" },
    };
    std::vector<std::pair<const char*, Attribute>> attributes;
    for (const Case& c : cases)
        attributes.emplace_back(c.name, c.value);
    ScopedTempFolder folder;
    const CMp3Song song = ReadSong(MakeAsf(folder, attributes));
    for (const Case& c : cases)
        EXPECT_EQ(song.*c.target, QString::fromUtf8(c.expected)) << c.name;
    EXPECT_EQ(song.m_strTagTitle, QLatin1String("Title"));
    EXPECT_EQ(song.m_strComment, QLatin1String("Comment"));
    EXPECT_EQ(song.m_strCopyright, QLatin1String("(c) Label"));
    EXPECT_EQ(song.m_bHasPicture, 0);

    for (const Attribute& zero : { Text("0"), Text("-3"), Attribute(0u), Text("none") }) {
        const CMp3Song empty = ReadSong(MakeAsf(folder, { { "WM/TrackNumber", zero }, { "WM/PartOfSet", zero },
                                                          { "WM/Year", Text("0") } }));
        EXPECT_EQ(empty.m_strTrack + empty.m_strDiscNumber + empty.m_strYear, QString()) << zero.toString().toCString();
    }
}
