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

cmake -S "$consumer" -B "$work/cmake-build" -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/cmake-build" >/dev/null
"$work/cmake-build/consumer"

export PKG_CONFIG_PATH="$work/prefix/lib/pkgconfig"
g++ -std=c++20 -fPIC "$consumer/main.cpp" -o "$work/pc-consumer" \
    $(pkg-config --cflags --libs tunivoxplayer) -Wl,-rpath,"$work/prefix/lib"
"$work/pc-consumer"
echo "install ok"
