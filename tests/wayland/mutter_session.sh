#!/usr/bin/env bash
# Runs a test program natively on Wayland inside a headless GNOME Mutter of its own, on a
# private session bus: two virtual monitors, 2560x1440 (the main one) and 1920x1080 beside it,
# each offering only its own mode. Everything lives in a temporary folder, torn down at the
# end; nothing reaches the machine's own display. As root, it all runs as the user nobody.
# Usage: mutter_session.sh TEST-PROGRAM [ARGS...]   (exit 77: mutter or dbus is missing)
set -euo pipefail
for tool in mutter dbus-run-session gdbus; do
    command -v "$tool" >/dev/null || { echo "$tool is not installed"; exit 77; }
done
# shellcheck source=session_user.sh
. "$(dirname "$(realpath "$0")")/session_user.sh"

if [ "${1:-}" != --on-bus ]; then
    exec dbus-run-session -- "$(realpath "$0")" --inside --on-bus "$@"
fi
shift
mutter --headless --wayland --no-x11 --wayland-display wayland-kv \
    --virtual-monitor 2560x1440 --virtual-monitor 1920x1080 >"$KV_TMP/mutter.log" 2>&1 &
mutter_pid=$!
trap 'kill "$mutter_pid" 2>/dev/null || true; wait "$mutter_pid" 2>/dev/null || true' EXIT
for _ in $(seq 200); do
    gdbus call --session --dest org.gnome.Mutter.DisplayConfig \
        --object-path /org/gnome/Mutter/DisplayConfig \
        --method org.gnome.Mutter.DisplayConfig.GetCurrentState >/dev/null 2>&1 &&
        [ -S "$XDG_RUNTIME_DIR/wayland-kv" ] && break
    kill -0 "$mutter_pid" 2>/dev/null || { echo "mutter ended:"; cat "$KV_TMP/mutter.log"; exit 1; }
    sleep 0.1
done

status=0
env -u DISPLAY WAYLAND_DISPLAY=wayland-kv XDG_SESSION_TYPE=wayland XDG_CURRENT_DESKTOP=GNOME \
    QT_QPA_PLATFORM=wayland KV_COMPOSITOR=mutter "$@" || status=$?
[ "$status" = 0 ] || { echo "--- mutter's log:"; tail -n 20 "$KV_TMP/mutter.log"; }
exit "$status"
