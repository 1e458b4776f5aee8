#pragma once
// Builds exact tag structures for the song reader tests: untagged fixture copies in a temporary
// folder, tagged with TagLib.

#include <QByteArray>
#include <QFile>
#include <QString>
#include <taglib/tbytevector.h>
#include <vector>

#include "song/CId3Tag.h"
#include "support/TestFolders.h"

namespace TagLib::ID3v2 { class Tag; }

namespace tunivox::test {

enum class Container { Mpeg, Wav, Flac, Mp4, Asf };
inline const char* const kContainerExtensions[] = { "mp3", "wav", "flac", "m4a", "wma" };

QString CopyFixture(const ScopedTempFolder& folder, const QString& fixture, const QString& name);
// An untagged copy of a short fixture of `container`, named "song.<extension>".
QString BareCopy(const ScopedTempFolder& folder, Container container);

// Removes the FLAC metadata blocks of `blockType` (4 = Vorbis comment) from the file.
void DropFlacBlocks(const QString& path, int blockType);

// Adds a text frame, or a COMM / USLT frame (with `description`) for those ids.
void AddId3v2Frame(TagLib::ID3v2::Tag* tag, const char* frameId, const QString& text, const char* description = "");

struct PictureSpec
{
    int nType;
    QByteArray bytes;
};
// Embeds the pictures so that TagLib reads them back in this order.
void AddPictures(const QString& path, Container container, const std::vector<PictureSpec>& pictures);

TagLib::ByteVector ToByteVector(const QByteArray& bytes);
QByteArray FileBytes(const QString& path);
bool AllTextsEmpty(const CMp3Song& song);
inline CMp3Song ReadSong(const QString& path) { return CId3Tag().ReadTag(path, QString()); }

} // namespace tunivox::test
