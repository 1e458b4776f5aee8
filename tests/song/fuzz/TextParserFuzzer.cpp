// libFuzzer target for the text the player parses: the first input byte picks M3U, PLS, XSPF or
// time-stamped lyrics (LRC), the rest is the text. No parser may crash, hang, leak or overflow.

#include <QByteArray>
#include <QString>
#include <cstdint>

#include "player/PlaylistParsers.h"
#include "song/SyncedLyrics.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return 0;
    const QByteArray bytes(reinterpret_cast<const char*>(data + 1), static_cast<qsizetype>(size - 1));
    const QString text = QString::fromUtf8(bytes);
    switch (data[0] % 4) {
    case 0:
        playlist_text::ParseM3u(text);
        break;
    case 1:
        playlist_text::ParsePls(text);
        break;
    case 2:
        playlist_text::ParseXspf(bytes);
        break;
    default:
        ParseLrcLyrics(text);
        break;
    }
    return 0;
}
