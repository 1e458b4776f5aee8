#pragma once
// The transport icons (previous, play, pause, stop, next, visualization), drawn as vectors so they
// stay sharp at any size and on high-density screens.

#include <QIcon>

enum class PlayerIcon { Previous, Play, Pause, Stop, Next, Visualization };

QIcon MakePlayerIcon(PlayerIcon icon);
