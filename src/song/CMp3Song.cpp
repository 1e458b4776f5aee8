#include "song/CMp3Song.h"

#include <iterator>

#define TUNIVOX_SONG_FIELD(name) { #name, &CMp3Song::name }

namespace {

const Mp3SongTextField g_textFields[] = {
    TUNIVOX_SONG_FIELD(m_strArtist),     TUNIVOX_SONG_FIELD(m_strTitle),
    TUNIVOX_SONG_FIELD(m_strAlbum),      TUNIVOX_SONG_FIELD(m_strYear),
    TUNIVOX_SONG_FIELD(m_strGenre),      TUNIVOX_SONG_FIELD(m_strComment),
    TUNIVOX_SONG_FIELD(m_strTrack),      TUNIVOX_SONG_FIELD(m_strV1Artist),
    TUNIVOX_SONG_FIELD(m_strV1Title),    TUNIVOX_SONG_FIELD(m_strV1Album),
    TUNIVOX_SONG_FIELD(m_strV1Year),     TUNIVOX_SONG_FIELD(m_strV1Genre),
    TUNIVOX_SONG_FIELD(m_strV1Comment),  TUNIVOX_SONG_FIELD(m_strV1Track),
    TUNIVOX_SONG_FIELD(m_strTagArtist),  TUNIVOX_SONG_FIELD(m_strTagTitle),
    TUNIVOX_SONG_FIELD(m_strTagAlbum),   TUNIVOX_SONG_FIELD(m_strTagYear),
    TUNIVOX_SONG_FIELD(m_strTagGenre),   TUNIVOX_SONG_FIELD(m_strTagComment),
    TUNIVOX_SONG_FIELD(m_strTagTrack),   TUNIVOX_SONG_FIELD(m_strComposer),
    TUNIVOX_SONG_FIELD(m_strOrigArtist), TUNIVOX_SONG_FIELD(m_strCopyright),
    TUNIVOX_SONG_FIELD(m_strEncodedBy),  TUNIVOX_SONG_FIELD(m_strDiscNumber),
    TUNIVOX_SONG_FIELD(m_strAlbumArtist), TUNIVOX_SONG_FIELD(m_strPublisher),
    TUNIVOX_SONG_FIELD(m_strConductor),  TUNIVOX_SONG_FIELD(m_strLyrics),
    TUNIVOX_SONG_FIELD(m_strLyricist),   TUNIVOX_SONG_FIELD(m_strFilePath),
    TUNIVOX_SONG_FIELD(m_strAux1),       TUNIVOX_SONG_FIELD(m_strAux2),
    TUNIVOX_SONG_FIELD(m_strAux3),       TUNIVOX_SONG_FIELD(m_strAux4),
    TUNIVOX_SONG_FIELD(m_strCodecInfo),  TUNIVOX_SONG_FIELD(m_strLength),
    TUNIVOX_SONG_FIELD(m_strBitrate),    TUNIVOX_SONG_FIELD(m_strSampleRate),
    TUNIVOX_SONG_FIELD(m_strChannels),   TUNIVOX_SONG_FIELD(m_strAux5),
    TUNIVOX_SONG_FIELD(m_strAux6),       TUNIVOX_SONG_FIELD(m_strAux7),
    TUNIVOX_SONG_FIELD(m_strAux8),       TUNIVOX_SONG_FIELD(m_strAux9),
    TUNIVOX_SONG_FIELD(m_strAux10),      TUNIVOX_SONG_FIELD(m_strAux11),
    TUNIVOX_SONG_FIELD(m_strAux12),      TUNIVOX_SONG_FIELD(m_strAux13),
    TUNIVOX_SONG_FIELD(m_strAux14),      TUNIVOX_SONG_FIELD(m_strBpm),
    TUNIVOX_SONG_FIELD(m_strAux15),      TUNIVOX_SONG_FIELD(m_strAux16),
};
static_assert(std::size(g_textFields) == kMp3SongTextFieldCount);

} // namespace

const Mp3SongTextField* Mp3SongTextFields() { return g_textFields; }
