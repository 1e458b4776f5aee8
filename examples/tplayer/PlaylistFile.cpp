#include "PlaylistFile.h"

#include <QFile>
#include <QFileInfo>

QList<PlaylistEntry> ReadPlaylistFile(const QString& listFile)
{
    QList<PlaylistEntry> entries;
    QFile file(listFile);
    if (!file.open(QIODevice::ReadOnly))
        return entries;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (QByteArray line : lines) {
        if (line.endsWith('\r'))
            line.chop(1);
        if (line.isEmpty())
            continue;
        const QString text = QString::fromUtf8(line);
        int split = -1;
        for (int comma = text.indexOf(QLatin1Char(',')); comma >= 0; comma = text.indexOf(QLatin1Char(','), comma + 1)) {
            if (QFileInfo::exists(text.left(comma))) {
                split = comma;
                break;
            }
        }
        if (split < 0)
            split = text.lastIndexOf(QLatin1Char(','));
        if (split < 0)
            entries.append({text, QString()});
        else
            entries.append({text.left(split), text.mid(split + 1)});
    }
    return entries;
}
