#pragma once
// Why a file could not be played, in words a listener can act on.

#include <QString>

#include "tunivox_export.h"

// The file system's answer first (no such file, a folder, not readable), else the engine's own
// error text when it has one, else that the file holds no sound the player can decode.
TUNIVOX_EXPORT QString UnplayableReason(const QString& path, const char* engineError);
