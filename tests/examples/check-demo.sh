#!/usr/bin/env bash
# check-demo.sh DEMO_PROGRAM SCREENSHOT
set -euo pipefail
demo=$1
shot=$2
rm -f "$shot"
config=$(mktemp -d)
trap 'rm -rf "$config"' EXIT
# Keep the user's settings out of it.
XDG_CONFIG_HOME="$config" XDG_RUNTIME_DIR="$config" "$demo" --device null --quit-after 3 --screenshot "$shot"
test -s "$shot"
echo "screenshot: $shot"
