#!/usr/bin/env bash
# Runs a test program inside a private X server of 2560x1440 that also offers 1920x1080, so
# that the display mode can be changed and reverted without touching any real display.
# Usage: xrandr_session.sh TEST-PROGRAM [ARGS...]
set -euo pipefail
tmp=$(mktemp -d "${TMPDIR:-/tmp}/kv-xrandr.XXXXXX")
Xvfb -displayfd 3 -screen 0 2560x1440x24 -nolisten tcp -noreset 3>"$tmp/display" \
    >"$tmp/xvfb.log" 2>&1 &
xvfb=$!
trap 'kill "$xvfb" 2>/dev/null || true; wait "$xvfb" 2>/dev/null || true; rm -rf "$tmp"' EXIT
for _ in $(seq 100); do [ -s "$tmp/display" ] && break; sleep 0.1; done
[ -s "$tmp/display" ] || { echo "Xvfb did not start"; cat "$tmp/xvfb.log"; exit 1; }
export DISPLAY=":$(head -n1 "$tmp/display")"
xrandr --newmode 1920x1080 173.00 1920 2048 2248 2576 1080 1083 1088 1120 -hsync +vsync
xrandr --addmode screen 1920x1080
KV_PRIVATE_X=1 "$@"
