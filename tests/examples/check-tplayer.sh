#!/usr/bin/env bash
# check-tplayer.sh TPLAYER_PROGRAM SONG
# Each row: the exit status wanted, what its output must hold, then the arguments. Every row but the
# last runs with no display at all: help and refusals must not need one.
set -uo pipefail
song=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
# A copy under a name of its own: a player test elsewhere on the machine ends every process named
# tplayer when it tests closing the external player.
tplayer="$folder/tplayer under test"
cp "$1" "$tplayer" || exit 1
export XDG_CONFIG_HOME="$folder" XDG_RUNTIME_DIR="$folder"
fail() { echo "FAIL: $*"; exit 1; }

odd="$folder/list 'ü' \"q\" \$(x);"
mkdir "$folder/a folder"
printf 'ID3\0\0\0binary\xff\n' >"$odd binary.txt"
printf '/no/such/\xff\xfe.mp3,Title\n' >"$odd latin1.txt"
cp "$song" "$odd song.wav"
printf '%s,Artist - Title\r\n' "$odd song.wav" >"$odd good.txt"

check() {
  local status=$1 said=$2; shift 2
  local out
  out=$(env -u DISPLAY -u WAYLAND_DISPLAY QT_QPA_PLATFORM=xcb timeout 20 "$tplayer" "$@" 2>&1)
  local got=$?
  [ "$got" -eq "$status" ] || fail "'$*' exits $got, not $status: $out"
  grep -qF -- "$said" <<<"$out" || fail "'$*' does not say '$said': $out"
}
check 0 'usage: tplayer' --help
check 0 '  --device alsa|null' -h
check 2 'unknown option --bogus' --bogus
check 2 'unknown option -x' --device null -x "$odd good.txt"
check 2 'no list file given' --device null
check 2 'one list file only' "$odd good.txt" "$odd good.txt"
check 2 '--device takes alsa or null' --device oss "$odd good.txt"
check 1 "$odd missing.txt: no such list file" --device null "$odd missing.txt"
check 1 "$folder/a folder: is a folder" --device null "$folder/a folder"
check 1 "$odd binary.txt: not a list file" --device null "$odd binary.txt"
check 1 "$odd latin1.txt: not a list file" --device null -- "$odd latin1.txt"

# A list it can read opens the window and plays until closed: still running when the time is up.
QT_QPA_PLATFORM=offscreen timeout 3 "$tplayer" --device null "$odd good.txt" >/dev/null 2>&1
status=$?
[ "$status" -eq 124 ] || fail "a good list file exits $status instead of playing"
echo "tplayer command line ok"
