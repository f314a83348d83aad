#!/usr/bin/env bash
# Runs a test program natively on Wayland inside a headless sway of its own: two virtual
# outputs, the first at 2560x1440, in a temporary runtime folder, torn down at the end. Nothing
# reaches the machine's own display. As root, sway and the program run as the user nobody.
# Usage: sway_session.sh TEST-PROGRAM [ARGS...]   (exit 77: sway or swaymsg is missing)
set -euo pipefail
command -v sway >/dev/null && command -v swaymsg >/dev/null || { echo "sway is not installed"; exit 77; }

# shellcheck source=session_user.sh
. "$(dirname "$(realpath "$0")")/session_user.sh"

printf 'output HEADLESS-1 mode 2560x1440 position 0 0\n' >"$KV_TMP/sway.conf"
WLR_BACKENDS=headless WLR_LIBINPUT_NO_DEVICES=1 WLR_RENDERER=pixman \
    sway -c "$KV_TMP/sway.conf" >"$KV_TMP/sway.log" 2>&1 &
sway_pid=$!
trap 'kill "$sway_pid" 2>/dev/null || true; wait "$sway_pid" 2>/dev/null || true' EXIT
for _ in $(seq 100); do
    compgen -G "$XDG_RUNTIME_DIR/sway-ipc.*.sock" >/dev/null && compgen -G "$XDG_RUNTIME_DIR/wayland-*.lock" >/dev/null && break
    kill -0 "$sway_pid" 2>/dev/null || { echo "sway ended:"; cat "$KV_TMP/sway.log"; exit 1; }
    sleep 0.1
done
SWAYSOCK=$(compgen -G "$XDG_RUNTIME_DIR/sway-ipc.*.sock" | head -n1)
lock=$(compgen -G "$XDG_RUNTIME_DIR/wayland-*.lock" | head -n1)
WAYLAND_DISPLAY=$(basename "$lock" .lock)
export SWAYSOCK WAYLAND_DISPLAY
[ -S "$SWAYSOCK" ] || { echo "sway did not start:"; cat "$KV_TMP/sway.log"; exit 1; }
swaymsg create_output >/dev/null

# A Wayland session of its own: no X display, no session bus, no sound server.
status=0
env -u DISPLAY XDG_SESSION_TYPE=wayland XDG_CURRENT_DESKTOP=sway QT_QPA_PLATFORM=wayland \
    DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent/bus KV_COMPOSITOR=sway "$@" || status=$?
[ "$status" = 0 ] || { echo "--- sway's log:"; tail -n 20 "$KV_TMP/sway.log"; }
exit "$status"
