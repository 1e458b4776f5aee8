#!/usr/bin/env bash
# check-demo-desktop.sh DEMO_PROGRAM
# The demo host on a private session bus: playerctl sees it play the demo playlist and pauses it, and
# the demo has switched the visualization's synchronised lyrics on in its (private) settings.
set -euo pipefail
demo=$1
config=$(mktemp -d)
trap 'rm -rf "$config"' EXIT
export XDG_CONFIG_HOME="$config" XDG_RUNTIME_DIR="$config"
# shellcheck disable=SC2016
dbus-run-session -- bash -c '
  set -euo pipefail
  "$1" --device null --quit-after 8 &
  demo_pid=$!
  status=""
  for _ in $(seq 100); do
    status=$(playerctl --player=tunivox status 2>/dev/null || true)
    [ "$status" = Playing ] && break
    sleep 0.1
  done
  title=$(playerctl --player=tunivox metadata xesam:title)
  playerctl --player=tunivox pause
  sleep 0.5
  paused=$(playerctl --player=tunivox status)
  wait "$demo_pid"
  echo "status: $status, title: $title, after pause: $paused"
  [ "$status" = Playing ] && [ "$title" = "Morning Light" ] && [ "$paused" = Paused ]
' check "$demo"
grep -q '"SyncLyrics"=dword:00000001' "$config/tunivox/registry.conf"
echo "synchronised lyrics on"
