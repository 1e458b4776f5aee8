#!/usr/bin/env bash
# check-demo-session.sh DEMO_PROGRAM SONG_A SONG_B
# The demo host comes back to a saved session (playlist, song paused at its position, repeat, shuffle,
# volume) and saves the same session again when it closes, where only its user can read it. Songs named
# on the command line leave it alone. A session it cannot save is reported, and the one saved before
# stays.
set -euo pipefail
demo=$1
a=$2
b=$3
config=$(mktemp -d)
trap 'rm -rf "$config"' EXIT
mkdir -p "$config/tunivox"
chmod 755 "$config/tunivox"
printf '#EXTM3U\n%s\n%s\n' "$a" "$b" >"$config/tunivox/demo-session.m3u8"
ini="$config/tunivox/demo-session.ini"
printf '[General]\nrepeat=true\nshuffle=true\nvolume=20000\nsong=%s\nposition=15000000\n' "$b" >"$ini"

XDG_CONFIG_HOME="$config" XDG_RUNTIME_DIR="$config" "$demo" --device null --quit-after 3

fail() { echo "check-demo-session: $*" >&2; cat "$ini" >&2; exit 1; }
grep -qx "song=$b" "$ini" || fail "the song that was playing is not the one restored"
grep -qx "repeat=true" "$ini" || fail "repeat lost"
grep -qx "shuffle=true" "$ini" || fail "shuffle lost"
grep -qx "volume=20000" "$ini" || fail "volume lost"
grep -q "^geometry=" "$ini" || fail "no window geometry"
position=$(sed -n 's/^position=//p' "$ini")
# Paused at 1.5 s: it has not moved on (playing on, the 3 s song would have ended in the 3 s run).
[ "$position" -ge 14000000 ] && [ "$position" -le 25000000 ] || fail "position $position is not the paused 1.5 s"
[ "$(grep -cv '^#' "$config/tunivox/demo-session.m3u8")" -eq 2 ] || fail "playlist not kept"
grep -qx "$a" "$config/tunivox/demo-session.m3u8" || fail "playlist lost $a"
[ "$(stat -c %a "$config/tunivox")" = 700 ] || fail "the session folder is readable by others"
for f in "$ini" "$config/tunivox/demo-session.m3u8"; do
  [ "$(stat -c %a "$f")" = 600 ] || fail "$f is readable by others"
done

# Songs named on the command line (one that is missing, one that plays) are for that run only: the
# remembered playlist and song stay for the next start without arguments.
cp "$config/tunivox/demo-session.m3u8" "$config/before.m3u8"
for named in "$config/missing.mp3" "$a"; do
  XDG_CONFIG_HOME="$config" XDG_RUNTIME_DIR="$config" "$demo" --device null --quit-after 2 "$named" 2>/dev/null
  cmp -s "$config/tunivox/demo-session.m3u8" "$config/before.m3u8" || fail "$named replaced the remembered playlist"
  grep -qx "song=$b" "$ini" || fail "$named replaced the remembered song"
done

# The playlist cannot be written (a folder stands where it goes): said on stderr, the old ini kept.
cp "$ini" "$config/before.ini"
rm "$config/tunivox/demo-session.m3u8"
mkdir "$config/tunivox/demo-session.m3u8"
err=$(XDG_CONFIG_HOME="$config" XDG_RUNTIME_DIR="$config" "$demo" --device null --quit-after 2 2>&1 >/dev/null)
grep -q "The session could not be saved: demo-session.m3u8: " <<<"$err" || fail "no word of the failed save: $err"
cmp -s "$ini" "$config/before.ini" || fail "a half-saved session replaced the one before"
echo "session restored, saved again privately, kept through named songs, and a failed save reported"
