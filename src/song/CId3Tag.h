#pragma once
// Reads one audio file's tags, audio properties and embedded pictures into a CMp3Song, through
// TagLib. The container is chosen by the name's extension: mp3, wav, flac, m4a, wma (in that order).
// Reading never throws and never reports: an unreadable file yields an empty record (not even the
// path); a file type it does not know yields a record holding only the path.
//
// Threading: a CId3Tag is a short-lived local object, used by one thread. Separate objects may read
// on separate threads at the same time; TagLib keeps no shared mutable state for these classes.

#include <QString>

#include "song/CMp3Song.h"
#include "tunivox_export.h"

// Picture types in the ID3v2 APIC numbering, which FLAC and ASF pictures share.
inline constexpr int kPictureTypeOther = 0;
inline constexpr int kPictureTypeFrontCover = 3;

class TUNIVOX_EXPORT CId3Tag
{
public:
    // Fills m_song from the file at `path` and returns a copy of it. `picturePath` is not used by
    // the reading; it mirrors ExtractPicture's arguments.
    CMp3Song ReadTag(const QString& path, const QString& picturePath);

    // Writes the first embedded picture of `pictureType` (MP4: the first cover, whatever the type)
    // of song.m_strFilePath to `outputPath`, bytes as stored. Returns 1 when a picture was written.
    int ExtractPicture(const CMp3Song& song, const QString& outputPath, int pictureType);

    // 1 when "." + ext occurs anywhere in the path, case-insensitively ("a.mp3.bak" counts as mp3).
    static int HasExtension(const QString& path, const QString& ext);

    // Creates or truncates `path` and writes `size` bytes. Errors are swallowed: the caller sees
    // only that the file is missing or short.
    static void WriteBufferToFile(const QString& path, const void* data, unsigned int size);

    CMp3Song m_song;
};
