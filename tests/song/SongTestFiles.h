#pragma once
// Builds exact tag structures for the song reader tests: fixtures copied into a temporary folder,
// stripped of their tags, then tagged with TagLib.

#include <QByteArray>
#include <QFile>
#include <QString>
#include <taglib/tbytevector.h>
#include <vector>

#include "song/CId3Tag.h"
#include "support/TestFolders.h"

namespace tunivox::test {

enum class Container { Mpeg, Wav, Flac, Mp4, Asf };

// An untagged copy of a stereo fixture of `container` named `name` inside `folder`.
QString BareCopy(const ScopedTempFolder& folder, Container container, const QString& name);
QString CopyFixture(const ScopedTempFolder& folder, const QString& fixture, const QString& name);

// Removes every FLAC metadata block of `blockType` (4 = Vorbis comment) from the file's bytes.
void DropFlacBlocks(const QString& path, int blockType);

struct PictureSpec
{
    int nType;
    QByteArray bytes;
};
// Embeds the pictures in order (ID3v2 APIC frames, FLAC pictures, MP4 covers, ASF WM/Picture).
void AddPictures(const QString& path, Container container, const std::vector<PictureSpec>& pictures);

TagLib::ByteVector ToByteVector(const QByteArray& bytes);
QByteArray FileBytes(const QString& path);

inline CMp3Song ReadSong(const QString& path) { return CId3Tag().ReadTag(path, QString()); }

} // namespace tunivox::test
