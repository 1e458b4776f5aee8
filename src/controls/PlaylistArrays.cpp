#include "controls/PlaylistArrays.h"

// Out of line so each interface has one home for its vtable (dynamic_cast across the library).
IPlaylistArrays::~IPlaylistArrays() = default;
IPlaylistArraysHost::~IPlaylistArraysHost() = default;
