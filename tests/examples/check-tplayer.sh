#!/usr/bin/env bash
# check-tplayer.sh TPLAYER_PROGRAM
set -uo pipefail
tplayer=$1
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
export XDG_CONFIG_HOME="$folder" XDG_RUNTIME_DIR="$folder"
fail() { echo "FAIL: $*"; exit 1; }

out=$(timeout 20 "$tplayer" --help) || fail "--help exits $?"
grep -q '^usage: tplayer' <<<"$out" || fail "--help prints no usage: $out"

for list in "$folder/missing list.m3u" "$folder"; do
  err=$(timeout 20 "$tplayer" --device null "$list" 2>&1 >/dev/null)
  status=$?
  [ "$status" -eq 1 ] || fail "'$list' exits $status (124: it opened a window and waited)"
  grep -qF "tplayer: $list: " <<<"$err" || fail "no error naming '$list': $err"
done
echo "tplayer command line ok"
