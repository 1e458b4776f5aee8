#!/usr/bin/env bash
# What playing costs when nobody watches: CPU and wake-ups of the whole process while a 3-minute
# song plays in real time, against mpv on the same file and the same output, and the CPU of an
# untimed decode through the engine against the ffmpeg command line decoding to raw PCM.
# Wake-ups are the kernel's voluntary context switches of every thread of the process (wait4's
# rusage). Needs mpv for the real-time peer (scripts/setup --bench installs it).
#
#   bench/audio/playback-power.sh [SECONDS] [BUILD_DIR] [both|realtime|untimed]
#                                                           (defaults: 180, build/default, both)
set -euo pipefail
cd "$(dirname "$0")/../.."
seconds=${1:-180}
build=${2:-build/default}
parts=${3:-both}
play="$build/bin/tunivox-play"
[ -x "$play" ] || { echo "build $play first (cmake --build --preset default)" >&2; exit 2; }

source bench/audio/private-pulse.sh

# Music-like test songs: two detuned tones under pink-ish noise, so every codec works for its bits.
tone="sine=frequency=440:sample_rate=44100:duration=$seconds"
noise="anoisesrc=color=pink:amplitude=0.2:sample_rate=44100:duration=$seconds"
ffmpeg -v error -f lavfi -i "$tone" -f lavfi -i "sine=frequency=554:sample_rate=44100:duration=$seconds" \
  -f lavfi -i "$noise" -filter_complex "[0][1]amerge=inputs=2[s];[s][2]amix=inputs=2:normalize=0[a]" -map "[a]" \
  -ac 2 -c:a pcm_s16le "$work/song.wav"
ffmpeg -v error -i "$work/song.wav" -c:a libmp3lame -b:a 320k "$work/song.mp3"
ffmpeg -v error -i "$work/song.wav" -c:a flac "$work/song.flac"
ffmpeg -v error -i "$work/song.wav" -c:a aac -b:a 256k "$work/song.m4a"
ffmpeg -v error -i "$work/song.wav" -c:a libvorbis -q:a 6 "$work/song.ogg"
ffmpeg -v error -i "$work/song.wav" -c:a wmav2 -b:a 192k "$work/song.wma"

start_private_pulse

# Runs a command; prints "label cpu-seconds wakeups-per-second percent-of-a-core".
cat > "$work/measure.py" <<'PY'
import os, sys, time
label, argv = sys.argv[1], sys.argv[2:]
start = time.monotonic()
pid = os.posix_spawnp(argv[0], argv, os.environ,
                      file_actions=[(os.POSIX_SPAWN_OPEN, 1, '/dev/null', os.O_WRONLY, 0),
                                    (os.POSIX_SPAWN_OPEN, 2, '/dev/null', os.O_WRONLY, 0)])
_, status, usage = os.wait4(pid, 0)
wall = time.monotonic() - start
cpu = usage.ru_utime + usage.ru_stime
print(f"{label} {cpu:.3f} {usage.ru_nvcsw / wall:.1f} {100 * cpu / wall:.3f} {os.waitstatus_to_exitcode(status)}")
PY
measure() { python3 "$work/measure.py" "$@"; }
ratio() { python3 -c "import sys; a, b = float(sys.argv[1]), float(sys.argv[2]); print(f'{a / b:.2f}' if b else 'n/a')" "$1" "$2"; }

if [ "$parts" != untimed ]; then
echo "Real time, ${seconds} s: CPU-s, wake-ups/s and % of a core of the whole process (goal: <= 0.5 %, <= 40/s, <= 0.5x mpv)"
have_mpv=0; command -v mpv >/dev/null && have_mpv=1
for file in song.mp3 song.flac; do
  for output in null alsa; do
    read -r _ ours_cpu ours_wake ours_pct ours_rc < <(measure ours "$play" --device "$output" "$work/$file")
    line=$(printf '%-10s %-5s tunivox-play %6.3f s %6.1f/s %6.3f %%' "$file" "$output" "$ours_cpu" "$ours_wake" "$ours_pct")
    if [ "$have_mpv" = 1 ]; then
      read -r _ mpv_cpu mpv_wake mpv_pct _ < <(measure mpv mpv --no-config --no-video --really-quiet --ao="$output" "$work/$file")
      line+=$(printf '   mpv %6.3f s %6.1f/s %6.3f %%   CPU ratio %s' "$mpv_cpu" "$mpv_wake" "$mpv_pct" "$(ratio "$ours_cpu" "$mpv_cpu")")
    fi
    [ "$ours_rc" = 0 ] || line+="   (tunivox-play exited $ours_rc)"
    echo "$line"
  done
done

fi

[ "$parts" = realtime ] && exit 0
echo "Untimed decode through the engine against ffmpeg decoding to raw PCM (goal: ffmpeg CPU / ours >= 1.0)"
# The least CPU of three runs each: a busy machine only ever adds to it.
best() { sort -k2 -n | head -n 1; }
for file in song.mp3 song.flac song.m4a song.ogg song.wma; do
  read -r _ ours_cpu _ _ ours_rc < <(for _ in 1 2 3; do measure ours "$play" --untimed --capture "$work/out.pcm" "$work/$file"; done | best)
  read -r _ peer_cpu _ _ _ < <(for _ in 1 2 3; do measure ffmpeg ffmpeg -v error -nostdin -threads 1 -i "$work/$file" -f s16le -ac 2 -ar 44100 -y "$work/peer.pcm"; done | best)
  line=$(printf '%-10s tunivox-play %6.3f s   ffmpeg %6.3f s   ratio %s' "$file" "$ours_cpu" "$peer_cpu" "$(ratio "$peer_cpu" "$ours_cpu")")
  [ "$ours_rc" = 0 ] || line+="   (tunivox-play exited $ours_rc)"
  echo "$line"
done
