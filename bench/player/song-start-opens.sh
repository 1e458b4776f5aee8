#!/usr/bin/env bash
# Opens of a song's file when the demo host starts it with the visualization open and MPRIS attached
# (Xvfb, a private session bus): a 2 s first song, then the measured second one, each tagged with a
# title, lyrics and a front cover. Counts the open/openat calls of every thread that name the second
# song, and how many of them ask for write access. Adding the song to the list is counted apart.
#
#   bench/player/song-start-opens.sh [BUILD_DIR]          (default: build/default)
set -euo pipefail
cd "$(dirname "$0")/../.."
build=$(realpath "${1:-build/default}")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/home"
ffmpeg -v error -f lavfi -i "color=c=orange:s=300x300" -frames:v 1 "$work/cover.jpg"
for n in 1 2; do
  seconds=$([ $n = 1 ] && echo 2 || echo 6)
  ffmpeg -v error -f lavfi -i "sine=frequency=$((330 * n)):sample_rate=44100:duration=$seconds" -i "$work/cover.jpg" \
    -map 0:a -map 1:v -ac 2 -c:a libmp3lame -b:a 192k -c:v copy -id3v2_version 3 \
    -metadata title="Song $n" -metadata artist="Bench" -metadata lyrics="First line\nSecond line" \
    -metadata:s:v comment="Cover (front)" "$work/song $n.mp3"
done

export HOME="$work/home" XDG_CONFIG_HOME="$work/home/.config"
dbus-run-session -- xvfb-run -a strace -f -qq -e trace=open,openat -o "$work/trace" \
  "$build/bin/tunivox-demo" --device null --visualization --quit-after 5 "$work/song 1.mp3" "$work/song 2.mp3" \
  >"$work/demo.log" 2>&1 || true

opens=$(grep -F "song 2.mp3" "$work/trace" | grep -v ENOENT || true)
[ -n "${VERBOSE:-}" ] && printf "%s\n" "$opens" >&2
total=$(grep -c . <<<"$opens" || true)
writable=$(grep -cE 'O_RDWR|O_WRONLY' <<<"$opens" || true)
echo "opens of the second song's file over the run: $total (read-write: $writable)"
echo "(one of them is the scan that added it to the list)"
