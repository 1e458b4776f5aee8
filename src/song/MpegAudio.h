#pragma once
// Internal to the song reader.

#include <taglib/mpegfile.h>

// TagLib accepts any file as MPEG and merely finds no frames in one that is not (a FLAC file under
// a ".mp3" name, text, zero bytes). Such a file counts as invalid here: a valid first frame is
// what gives the stream a sample rate.
inline bool HoldsMpegAudio(TagLib::MPEG::File& file)
{
    return file.isValid() && file.audioProperties() && file.audioProperties()->sampleRate() > 0;
}
