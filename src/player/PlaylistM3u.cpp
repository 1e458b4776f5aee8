// M3U and M3U8: one location per line, "#EXTINF:seconds,title" before it, other "#" lines ignored.
#include "player/PlaylistParsers.h"

#include <limits>

namespace playlist_text {

int SecondsOrUnknown(double seconds)
{
    if (!(seconds >= 0) || seconds >= std::numeric_limits<int>::max())
        return -1;
    return static_cast<int>(seconds + 0.5);
}

Parsed ParseM3u(const QString& text)
{
    Parsed parsed;
    QString title;
    int seconds = -1;
    ForEachLine(text, [&](int number, QStringView line) {
        if (line.trimmed().isEmpty())
            return true;
        if (line.startsWith(QLatin1String("#EXTINF:"), Qt::CaseInsensitive)) {
            // "#EXTINF:<seconds>[ attributes],<title>"; the title may hold commas.
            const qsizetype comma = line.indexOf(QLatin1Char(','));
            const QStringView head = line.mid(8, comma < 0 ? -1 : comma - 8).trimmed();
            const qsizetype space = head.indexOf(QLatin1Char(' '));
            bool ok = false;
            const double length = head.left(space < 0 ? head.size() : space).toDouble(&ok);
            if (comma < 0 || !ok) {
                parsed.strError = QStringLiteral("line %1: expected \"#EXTINF:seconds,title\", found \"%2\"")
                                      .arg(number)
                                      .arg(line.left(80));
                parsed.entries.clear();
                return false;
            }
            seconds = SecondsOrUnknown(length);
            title = line.mid(comma + 1).trimmed().toString();
            return true;
        }
        if (line.startsWith(QLatin1Char('#')))
            return true;
        parsed.entries.append({line.trimmed().toString(), title, seconds});
        title.clear();
        seconds = -1;
        return true;
    });
    return parsed;
}

QByteArray FormatM3u(const QList<Entry>& entries)
{
    QString out = QStringLiteral("#EXTM3U\n");
    for (const Entry& entry : entries) {
        QString title = entry.strTitle;
        title.replace(QLatin1Char('\n'), QLatin1Char(' ')).replace(QLatin1Char('\r'), QLatin1Char(' '));
        out += QStringLiteral("#EXTINF:%1,%2\n").arg(entry.nSeconds < 0 ? -1 : entry.nSeconds).arg(title);
        // A location starting with "#" would read back as a comment.
        if (entry.strLocation.startsWith(QLatin1Char('#')))
            out += QStringLiteral("./");
        out += entry.strLocation + QLatin1Char('\n');
    }
    return out.toUtf8();
}

} // namespace playlist_text
