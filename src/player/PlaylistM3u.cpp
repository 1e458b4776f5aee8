// M3U and M3U8: one location per line, "#EXTINF:seconds,title" before it, other "#" lines ignored.
#include "player/PlaylistParsers.h"

namespace playlist_text {

QList<QString> SplitLines(const QString& text)
{
    QString unified = text;
    unified.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    unified.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    return unified.split(QLatin1Char('\n'));
}

Parsed ParseM3u(const QString& text)
{
    Parsed parsed;
    const QList<QString> lines = SplitLines(text);
    QString title;
    int seconds = -1;
    for (int i = 0; i < lines.size(); ++i) {
        const QString& line = lines[i];
        if (line.trimmed().isEmpty())
            continue;
        if (line.startsWith(QLatin1String("#EXTINF:"), Qt::CaseInsensitive)) {
            // "#EXTINF:<seconds>[ attributes],<title>"; the title may hold commas.
            const int comma = line.indexOf(QLatin1Char(','));
            const QString head = line.mid(8, comma < 0 ? -1 : comma - 8).trimmed();
            const QString number = head.section(QLatin1Char(' '), 0, 0);
            bool ok = false;
            const double length = number.toDouble(&ok);
            if (comma < 0 || !ok) {
                parsed.strError = QStringLiteral("line %1: expected \"#EXTINF:seconds,title\", found \"%2\"")
                                      .arg(i + 1)
                                      .arg(line.left(80));
                parsed.entries.clear();
                return parsed;
            }
            seconds = length < 0 ? -1 : static_cast<int>(length + 0.5);
            title = line.mid(comma + 1).trimmed();
            continue;
        }
        if (line.startsWith(QLatin1Char('#')))
            continue;
        parsed.entries.append({line.trimmed(), title, seconds});
        title.clear();
        seconds = -1;
    }
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
