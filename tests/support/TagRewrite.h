#pragma once
// Tag writes as a tagging application makes them, with TagLib, in place on a file that may be
// playing. Each throws std::runtime_error when TagLib cannot open or save the file.

#include <QByteArray>
#include <QString>

namespace tunivox::test {

// Bytes that look like a JPEG picture of `size` bytes (no run of them repeats).
QByteArray FakePicture(int size);

// Replaces the title and lyrics through TagLib's generic property interface (any container).
void SetTitleAndLyrics(const QString& path, const QString& title, const QString& lyrics);
// Sets one property (TagLib's generic key, e.g. "ARTIST").
void SetTag(const QString& path, const char* key, const QString& value);
// Adds a front cover of `size` bytes in the container's own picture form (MPEG, FLAC, MP4), then
// keeps the file open for `holdOpenMs` (a writer whose close comes late).
void AddPicture(const QString& path, int size, int holdOpenMs = 0);
// Removes every picture of an MPEG file.
void RemovePictures(const QString& path);
void StripId3v1(const QString& path);
// Sets an ID3v1 title on an MPEG file (adding the tag when there is none).
void SetId3v1Title(const QString& path, const QString& title);
// Adds an APE tag with a title to an MPEG file.
void AddApeTag(const QString& path, const QString& title);
// Writes `bytes` over the file in place (same inode), cutting what is left beyond them.
void OverwriteInPlace(const QString& path, const QByteArray& bytes);
// Writes the file anew beside it with `title` and renames it over the original.
void ReplaceByRename(const QString& path, const QString& title);

} // namespace tunivox::test
