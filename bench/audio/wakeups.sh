#!/usr/bin/env bash
# Wake-ups of a player while one song plays to the null device with a hand-back interval of 200 ms:
# the demo host (its window under Xvfb, MPRIS on a private session bus) against tunivox-play, the
# control-free engine. Counts the voluntary context switches of every thread of the process
# (/proc/PID/task/*/status) over SECONDS, after a few seconds of settling.
#
#   bench/audio/wakeups.sh [SECONDS] [BUILD_DIR]          (defaults: 20, build/default)
set -euo pipefail
cd "$(dirname "$0")/../.."
seconds=${1:-20}
build=$(realpath "${2:-build/default}")
settle=4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/home"
ffmpeg -v error -f lavfi -i "sine=frequency=440:sample_rate=44100:duration=$((seconds + 30))" -ac 2 \
  -c:a libmp3lame -b:a 192k "$work/song.mp3"

# Sum of voluntary context switches of all threads of PID.
switches() { cat /proc/"$1"/task/*/status 2>/dev/null | awk '/^voluntary_ctxt_switches/ { n += $2 } END { print n + 0 }'; }
# Waits for the pid file, settles, counts; prints wake-ups per second.
count() {
  local pidfile=$1 pid a b
  for _ in $(seq 100); do [ -s "$pidfile" ] && break; sleep 0.1; done
  pid=$(cat "$pidfile")
  sleep "$settle"
  a=$(switches "$pid"); sleep "$seconds"; b=$(switches "$pid")
  python3 -c "import sys; print(f'{(int(sys.argv[2]) - int(sys.argv[1])) / int(sys.argv[3]):.1f}')" "$a" "$b" "$seconds"
}

export HOME="$work/home" XDG_CONFIG_HOME="$work/home/.config"
quit=$((settle + seconds + 3))
dbus-run-session -- xvfb-run -a sh -c 'echo $$ > "$0"; exec "$@"' "$work/demo.pid" \
  "$build/bin/tunivox-demo" --device null --quit-after "$quit" "$work/song.mp3" >"$work/demo.log" 2>&1 &
demo=$(count "$work/demo.pid")
wait
sh -c 'echo $$ > "$0"; exec "$@"' "$work/play.pid" "$build/bin/tunivox-play" --device null --hand-back 200 \
  "$work/song.mp3" >/dev/null 2>&1 &
play=$(count "$work/play.pid")
kill "$!" 2>/dev/null || true
wait || true
echo "wake-ups/s over ${seconds} s: tunivox-demo (MPRIS attached) $demo, tunivox-play $play"
