#pragma once
// Builds exact tag structures for the song reader tests: untagged copies of short fixtures in a
// temporary folder, tagged with TagLib.

#include <QByteArray>
#include <QStringList>
#include <vector>

#include "song/CId3Tag.h"
#include "support/TestFolders.h"

namespace tunivox::test {

enum class Container { Mpeg, Wav, Flac, Mp4, Asf };

struct TagItem
{
    const char* pszKey;
    QStringList values;
};

struct PictureData
{
    int nType;
    QByteArray bytes;
};

// An untagged copy of a short fixture of `container`, named "song.<extension>", holding `items` under
// the container's own keys (ID3v2 frame ids for MPEG and WAV, Vorbis keys, MP4 item names, ASF
// attribute names) and `pictures`, read back in this order. ID3v2 COMM / USLT take a second value as
// their description; MP4 "trkn" / "disk" take "n/total", "tmpo" a number; ASF "Title", "Author",
// "Description", "Copyright" are the header texts, and "#n" is written as the integer n.
QString TaggedCopy(const ScopedTempFolder& folder, Container container, const std::vector<TagItem>& items,
                   const std::vector<PictureData>& pictures = {});

// Turns the FLAC metadata blocks of `blockType` (4: Vorbis comment) into padding.
void PadFlacBlocks(const QString& path, int blockType);

QByteArray FileBytes(const QString& path);
bool AllTextsEmpty(const CMp3Song& song);
// `hasPictureBefore` shows whether the read sets, clears or leaves the picture flag.
CMp3Song ReadSong(const QString& path, int hasPictureBefore = 0);

} // namespace tunivox::test
