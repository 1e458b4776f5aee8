#!/usr/bin/env bash
# check-install.sh BUILD_DIR CONSUMER_SOURCE
set -euo pipefail
build=$1
consumer=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/prefix" >/dev/null
test -f "$work/prefix/include/tunivox/tunivox_export.h"
test -f "$work/prefix/lib/cmake/TunivoxPlayer/TunivoxPlayerConfig.cmake"

# The programs run from the prefix with what they look for beside them: the installed demo finds its
# playlist, the visualization its pictures and plug-ins, and the player a song of the playlist.
bin="$work/prefix/bin"
ls "$bin"/Images/*.* "$bin"/plugins/*.so >/dev/null
first_song=$(find "$bin/demo" -type f | sort | head -n 1)
test -n "$first_song"
"$bin/tunivox-play" --device null --untimed "$first_song" >/dev/null
QT_QPA_PLATFORM=offscreen XDG_CONFIG_HOME="$work/config" XDG_RUNTIME_DIR="$work" \
  "$bin/tunivox-demo" --device null --quit-after 1.5 --screenshot "$work/demo.png" >/dev/null 2>&1
test -s "$work/demo.png"

cmake -S "$consumer" -B "$work/cmake-build" -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/cmake-build" >/dev/null
"$work/cmake-build/consumer"

export PKG_CONFIG_PATH="$work/prefix/lib/pkgconfig"
g++ -std=c++20 -fPIC "$consumer/main.cpp" -o "$work/pc-consumer" \
    $(pkg-config --cflags --libs tunivoxplayer) -Wl,-rpath,"$work/prefix/lib"
"$work/pc-consumer"
echo "install ok"
