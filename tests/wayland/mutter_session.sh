#!/usr/bin/env bash
# Runs a test program natively on Wayland inside a GNOME Mutter of its own, on a private session
# bus. Everything lives in a temporary folder, torn down at the end; nothing reaches the
# machine's own display. As root, it all runs as the user nobody.
#
# Headless (the default): two virtual monitors, 2560x1440 (the main one) and 1920x1080 beside
# it, each offering only its own mode. With --nested: Mutter nested in a private X server (Xvfb)
# with two of its test monitors side by side, each offering 2560x1440 (current) and 1920x1080,
# so that a mode change can really happen without a GPU.
# Usage: mutter_session.sh [--nested] TEST-PROGRAM [ARGS...]
#        (exit 77: mutter, dbus or, for --nested, Xvfb is missing)
set -euo pipefail
nested_tools=()
[ "${1:-}" != --nested ] || nested_tools=(Xvfb)
for tool in mutter dbus-run-session gdbus "${nested_tools[@]}"; do
    command -v "$tool" >/dev/null || { echo "$tool is not installed"; exit 77; }
done
# shellcheck source=session_user.sh
. "$(dirname "$(realpath "$0")")/session_user.sh"

if [ "${1:-}" != --on-bus ]; then
    exec dbus-run-session -- "$(realpath "$0")" --inside --on-bus "$@"
fi
shift
pids=()
trap 'for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; wait "$pid" 2>/dev/null || true; done' EXIT
compositor=mutter
if [ "$1" = --nested ]; then
    shift
    compositor=mutter-nested
    # The X server picks a free display number itself.
    Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp -noreset 3>"$KV_TMP/display" \
        >"$KV_TMP/xvfb.log" 2>&1 &
    pids=("$!")
    for _ in $(seq 100); do
        [ -s "$KV_TMP/display" ] && break
        sleep 0.1
    done
    [ -s "$KV_TMP/display" ] || { echo "Xvfb did not start:"; cat "$KV_TMP/xvfb.log"; exit 1; }
    # Mutter's test monitors: their modes come from the environment, the first one preferred.
    DISPLAY=":$(head -n1 "$KV_TMP/display")" MUTTER_DEBUG_NUM_DUMMY_MONITORS=2 \
        MUTTER_DEBUG_DUMMY_MODE_SPECS=2560x1440:1920x1080 \
        mutter --nested --wayland --no-x11 --wayland-display wayland-kv >"$KV_TMP/mutter.log" 2>&1 &
else
    mutter --headless --wayland --no-x11 --wayland-display wayland-kv \
        --virtual-monitor 2560x1440 --virtual-monitor 1920x1080 >"$KV_TMP/mutter.log" 2>&1 &
fi
mutter_pid=$!
pids=("$mutter_pid" "${pids[@]}")
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
    QT_QPA_PLATFORM=wayland KV_COMPOSITOR=$compositor "$@" || status=$?
[ "$status" = 0 ] || { echo "--- mutter's log:"; tail -n 20 "$KV_TMP/mutter.log"; }
exit "$status"
