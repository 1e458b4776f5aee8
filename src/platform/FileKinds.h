#pragma once
// What kind of thing a path names. A song, a playlist and a list file are regular files; a device,
// a FIFO or a socket under such a name (or a symbolic link to one) never is: reading /dev/zero never
// ends, opening a FIFO blocks until someone writes to it.
//
// Threading: any thread.

#include <QString>

#include "tunivox_export.h"

// Whether `path` names a regular file, following symbolic links.
TUNIVOX_EXPORT bool IsRegularFile(const QString& path);
