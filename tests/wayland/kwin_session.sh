#!/usr/bin/env bash
# Runs a test program natively on Wayland inside KWin's virtual backend, on a private session
# bus: one virtual output of 2560x1440, which offers only that mode. Everything lives in a
# temporary folder, torn down at the end; nothing reaches the machine's own display. As root,
# it all runs as the user nobody (KWin refuses root).
# Usage: kwin_session.sh TEST-PROGRAM [ARGS...]   (exit 77: kwin, kscreen-doctor or dbus missing)
set -euo pipefail
for tool in kwin_wayland kscreen-doctor dbus-run-session; do
    command -v "$tool" >/dev/null || { echo "$tool is not installed"; exit 77; }
done
# shellcheck source=session_user.sh
. "$(dirname "$(realpath "$0")")/session_user.sh"

if [ "${1:-}" != --on-bus ]; then
    exec dbus-run-session -- "$(realpath "$0")" --inside --on-bus "$@"
fi
shift
# A copy without the file capability Debian gives the binary: a process that may not gain it
# (an unprivileged user in a container) could not start the original.
cp "$(command -v kwin_wayland)" "$KV_TMP/kwin_wayland"
"$KV_TMP/kwin_wayland" --virtual --width 2560 --height 1440 --socket wayland-kv \
    --no-lockscreen --no-global-shortcuts >"$KV_TMP/kwin.log" 2>&1 &
kwin_pid=$!
trap 'kill "$kwin_pid" 2>/dev/null || true; wait "$kwin_pid" 2>/dev/null || true' EXIT
export WAYLAND_DISPLAY=wayland-kv
for _ in $(seq 300); do
    [ -S "$XDG_RUNTIME_DIR/wayland-kv" ] &&
        QT_QPA_PLATFORM=wayland timeout 10 kscreen-doctor -o 2>/dev/null | grep -q Virtual && break
    kill -0 "$kwin_pid" 2>/dev/null || { echo "kwin ended:"; cat "$KV_TMP/kwin.log"; exit 1; }
    sleep 0.1
done

status=0
env -u DISPLAY XDG_SESSION_TYPE=wayland XDG_CURRENT_DESKTOP=KDE QT_QPA_PLATFORM=wayland \
    KV_COMPOSITOR=kwin "$@" || status=$?
[ "$status" = 0 ] || { echo "--- kwin's log:"; tail -n 20 "$KV_TMP/kwin.log"; }
exit "$status"
