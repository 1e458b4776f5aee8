#!/usr/bin/env bash
# Sound delivery on a loaded machine: plays a song of numbered noise through ALSA into a private
# PulseAudio null sink while every core is busy (eight spinning processes per core), records the
# sink's monitor and lines the recording up with the song. aplay on the same server is the peer.
# Prints, per player, the underruns per hour of playback (goal 0), the worst gap of silence inside
# the song, and the frames missing or heard twice.
#
#   bench/audio/alsa-delivery.sh [SECONDS] [BUILD_DIR]      (defaults: 60, build/default)
set -euo pipefail
cd "$(dirname "$0")/../.."
seconds=${1:-60}
build=${2:-build/default}
play="$build/bin/tunivox-play"
[ -x "$play" ] || { echo "build $play first (cmake --build --preset default)" >&2; exit 2; }

source bench/audio/private-pulse.sh

python3 - "$work/song.wav" "$seconds" <<'EOF'
import struct, sys
frames = int(float(sys.argv[2]) * 44100)
state, out = 12345, bytearray()
for i in range(frames * 2):
    state = (state * 1103515245 + 12345) & 0xFFFFFFFF
    out += struct.pack('<h', (((state >> 16) % 20000) + 100) * (1 if i & 2 else -1))
head = b'RIFF' + struct.pack('<I', 36 + len(out)) + b'WAVEfmt ' + struct.pack('<IHHIIHH', 16, 1, 2, 44100, 176400, 4, 16)
open(sys.argv[1], 'wb').write(head + b'data' + struct.pack('<I', len(out)) + out)
EOF

start_private_pulse norewinds=1

for _ in $(seq $((8 * $(nproc)))); do
  timeout $((3 * seconds + 60)) sh -c 'while :; do :; done' &
  hogs+=($!)
done

# Plays with the given command, recording the monitor; prints the analysis line.
measure() {
  local label=$1; shift
  parec -d out.monitor --format=s16le --rate=44100 --channels=2 --file-format=wav --latency-msec=20 "$work/rec.wav" &
  local recorder=$!
  sleep 0.5
  "$@" > "$work/out.txt" 2>&1 || true
  sleep 0.5
  kill "$recorder"; wait "$recorder" 2>/dev/null || true
  local underruns
  underruns=$(sed -n 's/^device: \([0-9]*\) underruns.*/\1/p' "$work/out.txt" | tail -n 1)
  python3 - "$work/song.wav" "$work/rec.wav" "$label" "${underruns:-}" <<'EOF'
import sys
def pcm(path):
    data = open(path, 'rb').read()
    return data[data.index(b'data', 12) + 8:]
song, rec, label, underruns = pcm(sys.argv[1]), pcm(sys.argv[2]), sys.argv[3], sys.argv[4]
import array
frames = array.array('I', rec[:len(rec) - len(rec) % 4])
runs, gaps, start, silence = [], [], None, 0
for i in range(len(frames) + 1):
    if i < len(frames) and frames[i]:
        if start is None:
            start = i
            if runs:
                gaps.append(silence)
        silence = 0
    else:
        silence += 1
        if start is not None:
            runs.append(rec[start * 4:i * 4])
            start = None
covered, repeated, end = 0, 0, 0
for run in runs:
    at = song.find(run[:4096])
    if at < 0:
        continue
    first, last = at // 4, at // 4 + len(run) // 4
    repeated += max(0, end - first)
    covered += last - max(first, end)
    end = max(end, last)
total = len(song) // 4
missing = total - covered - (total % 512)
hours = total / 44100 / 3600
line = f"{label}: {total / 44100:.0f} s played, gaps {len(gaps)}, worst gap {max(gaps, default=0) / 44.1:.1f} ms, " \
       f"missing {max(missing, 0)} frames, heard twice {repeated} frames"
if underruns:
    line += f", underruns {underruns} ({int(underruns) / hours:.0f} per hour)"
print(line)
EOF
}

echo "loaded with $((8 * $(nproc))) spinning processes on $(nproc) cores, $seconds s of sound each"
measure aplay aplay -q -D pulse "$work/song.wav"
measure tunivox-play "$play" --device alsa --stats "$work/song.wav"
