// Reading and writing playlist files: decoding, the choice of format, and locations resolved against
// the playlist's folder. The formats' own text is in PlaylistM3u.cpp, PlaylistPls.cpp, PlaylistXspf.cpp.
#include "player/PlaylistFormats.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSaveFile>
#include <QStringDecoder>
#include <QUrl>

#include "player/PlaylistParsers.h"

namespace {

// Larger than any playlist of music files a listener keeps; refusing it keeps a wrong pick harmless.
constexpr qint64 kMaxPlaylistBytes = 32 * 1024 * 1024;

bool IsM3u8(const QString& path)
{
    return path.endsWith(QLatin1String(".m3u8"), Qt::CaseInsensitive);
}

// Text of an M3U or PLS file, or an error. UTF-8 first; Latin-1 for the older formats when that fails.
QString DecodeText(QByteArray bytes, bool bUtf8Only, QString* error)
{
    if (bytes.contains('\0')) {
        *error = QStringLiteral("not a text file");
        return QString();
    }
    if (bytes.startsWith("\xEF\xBB\xBF"))
        bytes.remove(0, 3);
    QStringDecoder utf8(QStringDecoder::Utf8);
    QString text = utf8(bytes);
    if (!utf8.hasError())
        return text;
    if (bUtf8Only) {
        *error = QStringLiteral("not UTF-8 text");
        return QString();
    }
    return QString::fromLatin1(bytes);
}

// The local file an M3U or PLS location names, or empty for a stream or another non-file URL.
QString LocalPathOf(const QString& location, const QDir& base)
{
    static const QRegularExpression scheme(QStringLiteral("^[A-Za-z][A-Za-z0-9+.-]+:"));
    if (location.startsWith(QLatin1String("file:"), Qt::CaseInsensitive))
        return QUrl(location).toLocalFile();
    if (scheme.match(location).hasMatch())
        return QString();
    QString path = location;
    // Playlists written on other systems separate folders with "\".
    if (path.contains(QLatin1Char('\\')) && !QFileInfo::exists(base.absoluteFilePath(path)))
        path.replace(QLatin1Char('\\'), QLatin1Char('/'));
    return QDir::cleanPath(base.absoluteFilePath(path));
}

// The local file an XSPF location (a URI reference, relative to the playlist's own URL) names.
QString LocalPathOfUri(const QString& location, const QString& playlistPath)
{
    const QUrl url = QUrl::fromLocalFile(QFileInfo(playlistPath).absoluteFilePath()).resolved(QUrl(location));
    return url.isLocalFile() ? QDir::cleanPath(url.toLocalFile()) : QString();
}

QString UriOf(const QString& location, PlaylistPaths paths)
{
    if (paths == PlaylistPaths::Absolute)
        return QString::fromUtf8(QUrl::fromLocalFile(location).toEncoded());
    QUrl url;
    // A first segment holding ":" would read back as a scheme.
    url.setPath(location.section(QLatin1Char('/'), 0, 0).contains(QLatin1Char(':')) ? QStringLiteral("./") + location
                                                                                      : location);
    return QString::fromUtf8(url.toEncoded());
}

// Whether a location written on a line of its own (M3U, PLS) reads back as itself: a line break
// would split it, and the readers trim blanks at either end. Others are written as file URLs.
bool ReadsBackAsLine(const QString& location)
{
    return !location.contains(QLatin1Char('\n')) && !location.contains(QLatin1Char('\r')) &&
           location == location.trimmed() && !location.startsWith(QLatin1String("file:"), Qt::CaseInsensitive);
}

} // namespace

PlaylistFormat PlaylistFormatFromPath(const QString& path)
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix == QLatin1String("m3u") || suffix == QLatin1String("m3u8"))
        return PlaylistFormat::M3u;
    if (suffix == QLatin1String("pls"))
        return PlaylistFormat::Pls;
    if (suffix == QLatin1String("xspf"))
        return PlaylistFormat::Xspf;
    return PlaylistFormat::Unknown;
}

PlaylistReadResult ReadPlaylist(const QString& playlistPath)
{
    PlaylistReadResult result;
    const QString name = QFileInfo(playlistPath).fileName();
    auto fail = [&](const QString& why) {
        result.strError = QStringLiteral("%1: %2").arg(name, why);
        return result;
    };
    const PlaylistFormat format = PlaylistFormatFromPath(playlistPath);
    if (format == PlaylistFormat::Unknown)
        return fail(QStringLiteral("not a playlist file (M3U, M3U8, PLS or XSPF)"));
    QFile file(playlistPath);
    const QFileInfo info(playlistPath);
    if (info.isDir())
        return fail(QStringLiteral("a folder, not a playlist file"));
    // A FIFO would block the open for ever, a device never end.
    if (info.exists() && !info.isFile())
        return fail(QStringLiteral("not a regular file"));
    if (!file.open(QIODevice::ReadOnly))
        return fail(file.errorString());
    if (file.size() > kMaxPlaylistBytes)
        return fail(QStringLiteral("too large for a playlist (%1 bytes)").arg(file.size()));
    const QByteArray bytes = file.read(kMaxPlaylistBytes + 1);

    playlist_text::Parsed parsed;
    if (format == PlaylistFormat::Xspf) {
        parsed = playlist_text::ParseXspf(bytes);
    } else {
        QString error;
        const QString text = DecodeText(bytes, IsM3u8(playlistPath), &error);
        if (!error.isEmpty())
            return fail(error);
        parsed = format == PlaylistFormat::M3u ? playlist_text::ParseM3u(text) : playlist_text::ParsePls(text);
    }
    if (!parsed.strError.isEmpty())
        return fail(parsed.strError);

    const QDir base = QFileInfo(playlistPath).absoluteDir();
    for (int i = 0; i < parsed.entries.size(); ++i) {
        const playlist_text::Entry& entry = parsed.entries[i];
        if (entry.strLocation.isEmpty()) {
            result.missing.append(QStringLiteral("(entry %1 has no location)").arg(i + 1));
            continue;
        }
        const QString path = format == PlaylistFormat::Xspf ? LocalPathOfUri(entry.strLocation, playlistPath)
                                                           : LocalPathOf(entry.strLocation, base);
        if (path.isEmpty() || !QFileInfo(path).isFile()) {
            result.missing.append(path.isEmpty() ? entry.strLocation : path);
            continue;
        }
        result.entries.append({path, entry.strTitle, entry.nSeconds});
    }
    return result;
}

bool WritePlaylist(const QString& playlistPath, const QList<PlaylistFileEntry>& entries, PlaylistPaths paths,
                   QString* error)
{
    auto fail = [&](const QString& why) {
        if (error)
            *error = QStringLiteral("%1: %2").arg(QFileInfo(playlistPath).fileName(), why);
        return false;
    };
    const PlaylistFormat format = PlaylistFormatFromPath(playlistPath);
    if (format == PlaylistFormat::Unknown)
        return fail(QStringLiteral("unknown playlist type; use .m3u, .m3u8, .pls or .xspf"));

    const QDir base = QFileInfo(playlistPath).absoluteDir();
    QList<playlist_text::Entry> written;
    written.reserve(entries.size());
    for (const PlaylistFileEntry& entry : entries) {
        const QString absolute = QFileInfo(entry.strPath).absoluteFilePath();
        QString location = paths == PlaylistPaths::Relative ? base.relativeFilePath(absolute) : absolute;
        if (format == PlaylistFormat::Xspf)
            location = UriOf(location, paths);
        else if (!ReadsBackAsLine(location))
            location = QString::fromUtf8(QUrl::fromLocalFile(absolute).toEncoded());
        written.append({location, entry.strTitle, entry.nSeconds});
    }
    const QByteArray bytes = format == PlaylistFormat::M3u  ? playlist_text::FormatM3u(written)
                             : format == PlaylistFormat::Pls ? playlist_text::FormatPls(written)
                                                             : playlist_text::FormatXspf(written);
    QSaveFile file(playlistPath);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        return fail(file.errorString());
    return true;
}
