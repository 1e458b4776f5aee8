# Sourced by the audio benchmarks (from the project folder): a scratch folder $work removed on exit,
# the processes listed in $hogs killed on exit, and start_private_pulse [SINK OPTIONS], which starts a
# PulseAudio server of its own in $work with a null sink "out" and points the programs run here at it.
work=$(mktemp -d)
hogs=()
cleanup() {
  for pid in "${hogs[@]}"; do kill "$pid" 2>/dev/null || true; done
  XDG_RUNTIME_DIR=$work HOME=$work pulseaudio --kill 2>/dev/null || true
  sleep 0.3
  rm -rf "$work"
}
trap cleanup EXIT
chmod 700 "$work"
export XDG_RUNTIME_DIR=$work HOME=$work PULSE_SERVER=unix:$work/sock

start_private_pulse() {
  pulseaudio -D -n --exit-idle-time=-1 \
    --load="module-null-sink sink_name=out rate=44100 channels=2 $*" \
    --load="module-native-protocol-unix auth-anonymous=1 socket=$work/sock"
  for _ in $(seq 100); do pactl info >/dev/null 2>&1 && break; sleep 0.1; done
}
