#pragma once
// Every read of a song's tags, lyrics, pictures and gain opens the file through this: read-only,
// whatever the file's permissions. TagLib's constructors that take a file name open for writing
// whenever they may; a reader's writable handle on a song the host may be saving at that moment is
// not ours to hold, and its close tells file watchers the song was written. Only the host's own tag
// writers open songs for writing.
//
// Internal to the song reader (pulls in TagLib). Threading: one object per use on one thread.

#include <QString>
#include <memory>
#include <taglib/audioproperties.h>
#include <taglib/id3v2framefactory.h>
#include <taglib/tbytevectorstream.h>
#include <taglib/tfilestream.h>
#include <type_traits>

#include "platform/FileKinds.h"
#include "song/TagLibText.h"

// The open handle of this thread's CSongReadScope for `path`, rewound; null without one.
TagLib::IOStream* ScopedSongStream(const QString& path);

// TagFile: a TagLib format class (MPEG::File, FLAC::File, ...) or TagLib::FileRef.
template <class TagFile>
class CReadOnlyTagFile
{
public:
    // A path that is not a regular file reads as an empty one: TagLib would read a device for ever.
    explicit CReadOnlyTagFile(const QString& path, bool readProperties = true,
                              TagLib::AudioProperties::ReadStyle style = TagLib::AudioProperties::Average)
    {
        using TagLib::IOStream;
        IOStream* stream = ScopedSongStream(path);
        if (!stream) {
            if (IsRegularFile(path))
                m_stream = std::make_unique<TagLib::FileStream>(TagLibFileName(path).constData(), /*openReadOnly=*/true);
            else
                m_stream = std::make_unique<TagLib::ByteVectorStream>(TagLib::ByteVector());
            stream = m_stream.get();
        }
        // MPEG and FLAC take the ID3v2 frame factory before the flags; the others do not.
        if constexpr (std::is_constructible_v<TagFile, IOStream*, TagLib::ID3v2::FrameFactory*, bool,
                                              TagLib::AudioProperties::ReadStyle>)
            m_file = std::make_unique<TagFile>(stream, TagLib::ID3v2::FrameFactory::instance(), readProperties, style);
        else
            m_file = std::make_unique<TagFile>(stream, readProperties, style);
    }
    CReadOnlyTagFile(const CReadOnlyTagFile&) = delete;
    CReadOnlyTagFile& operator=(const CReadOnlyTagFile&) = delete;

    TagFile& operator*() const { return *m_file; }
    TagFile* operator->() const { return m_file.get(); }

private:
    std::unique_ptr<TagLib::IOStream> m_stream; // our own open, when no scope lends one; outlives the file
    std::unique_ptr<TagFile> m_file;
};
