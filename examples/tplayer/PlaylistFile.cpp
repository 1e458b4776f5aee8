#include "PlaylistFile.h"

#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>

namespace {

// Whether the raw bytes of the line, whole or up to one of its commas, name an existing file.
bool NamesAFile(const QByteArray& line)
{
    if (QFileInfo::exists(QFile::decodeName(line)))
        return true;
    for (qsizetype comma = line.indexOf(','); comma >= 0; comma = line.indexOf(',', comma + 1)) {
        if (QFileInfo::exists(QFile::decodeName(line.left(comma))))
            return true;
    }
    return false;
}

} // namespace

PlaylistFileRead ReadPlaylistFile(const QString& listFile)
{
    PlaylistFileRead read;
    QFile file(listFile);
    if (!file.open(QIODevice::ReadOnly)) {
        read.strError = file.errorString();
        return read;
    }
    const QByteArray bytes = file.readAll();
    if (bytes.contains('\0')) {
        read.strError = QStringLiteral("not a list file (it holds NUL bytes)");
        return read;
    }
    const QList<QByteArray> lines = bytes.split('\n');
    for (qsizetype number = 0; number < lines.size(); ++number) {
        QByteArray line = lines[number];
        if (line.endsWith('\r'))
            line.chop(1);
        if (line.isEmpty())
            continue;
        QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        const QString text = utf8.decode(line);
        if (utf8.hasError() && !NamesAFile(line)) {
            read.strError = QStringLiteral("not a list file (line %1 is no UTF-8 text)").arg(number + 1);
            read.entries.clear();
            return read;
        }
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
            read.entries.append({text, QString()});
        else
            read.entries.append({text.left(split), text.mid(split + 1)});
    }
    return read;
}
