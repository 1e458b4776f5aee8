#include "platform/FileKinds.h"

#include <QFile>
#include <sys/stat.h>

bool IsRegularFile(const QString& path)
{
    struct stat st {};
    return !path.isEmpty() && ::stat(QFile::encodeName(path).constData(), &st) == 0 && S_ISREG(st.st_mode);
}
