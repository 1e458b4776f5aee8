#pragma once
// Where the library finds its own files and keeps the user's. Every folder returned ends with "/".
//
// Threading: the getters may be called from any thread; the overrides are meant to be set once at
// start-up (by a host or a test) before other threads use the folders, and are guarded by a mutex.

#include <QString>

#include "tunivox_export.h"

// Folder of the running executable (from /proc/self/exe), e.g. "/opt/tunivox/bin/".
TUNIVOX_EXPORT QString ApplicationFolder();

// A private per-user folder for temporary files (mode 0700, owned by the user): the runtime folder
// ($XDG_RUNTIME_DIR) + "tunivox/", created on first use. Never a shared, predictable name in /tmp.
// Returns an empty string when no such folder can be made safely.
TUNIVOX_EXPORT QString PrivateTempFolder();

// Folder holding the user's settings files (normally ~/.config/).
TUNIVOX_EXPORT QString UserConfigFolder();

// Replace the folders above for this process (an empty string restores the default). Hosts use this
// to relocate the library's files; tests use it to keep away from the real user's files.
TUNIVOX_EXPORT void SetPrivateTempFolderOverride(const QString& folder);
TUNIVOX_EXPORT void SetUserConfigFolderOverride(const QString& folder);

// Creates `folder` (and parents) with mode 0700 when missing and checks that it is a directory owned
// by the current user, not a symbolic link, and not accessible to others.
TUNIVOX_EXPORT bool EnsurePrivateFolder(const QString& folder);
