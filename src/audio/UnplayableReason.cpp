#include "audio/UnplayableReason.h"

#include <QFileInfo>

#include "platform/FileKinds.h"

QString UnplayableReason(const QString& path, const char* engineError)
{
    const QFileInfo info(path);
    if (!info.exists())
        return QStringLiteral("no such file");
    if (info.isDir())
        return QStringLiteral("is a folder, not a file");
    if (!IsRegularFile(path))
        return QStringLiteral("not a regular file (a device, FIFO or socket)");
    if (!info.isReadable())
        return QStringLiteral("cannot be read (permission denied)");
    if (engineError && *engineError)
        return QString::fromUtf8(engineError);
    return QStringLiteral("not an audio file the player can decode");
}
