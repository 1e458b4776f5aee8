#pragma once
// Internal to the song reader.

#include <taglib/tfile.h>

// TagLib's MPEG and WAV readers accept files that hold no audio at all (a FLAC file under a ".mp3"
// name, text, zero bytes, a cut-off RIFF header) and merely report zero properties. Such a file
// counts as invalid here: only a real first frame or format chunk gives the stream a sample rate.
inline bool HoldsAudioStream(const TagLib::File& file)
{
    return file.isValid() && file.audioProperties() && file.audioProperties()->sampleRate() > 0;
}
