#!/usr/bin/env bash
# The real application in a real X session: the window's size limits, raising, closing, and
# starting in hostile environments.
# Usage: app_window.sh PATH-TO-kestrelvanta INSTALLED-HELPER-PATH INSTALLED-POLICY-PATH
set -euo pipefail
KV_APP=$1
helper_path=$2
policy_path=$3
here=$(dirname "$0")
# shellcheck source=xsession.sh
. "$here/xsession.sh"

failures=0
pass() { echo "ok - $1"; }
fail() { echo "not ok - $1: $2"; failures=$((failures + 1)); }

# Without any display the program says why in one line and exits with status 1.
no_display() {
    local home status=0
    home=$(kv_new_home)
    env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM HOME="$home" "$KV_APP" \
        >"$home/stdout" 2>"$home/stderr" || status=$?
    [ "$status" = 1 ] || { fail "no display" "exit status $status"; return; }
    [ "$(wc -l <"$home/stderr")" = 1 ] || { fail "no display" "$(cat "$home/stderr")"; return; }
    grep -q 'DISPLAY' "$home/stderr" || { fail "no display" "$(cat "$home/stderr")"; return; }
    [ ! -s "$home/stdout" ] || { fail "no display" "wrote to stdout"; return; }
    pass "no display: one line, status 1"
}

unreachable_display() {
    local home status=0
    home=$(kv_new_home)
    env -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM DISPLAY=:4242 HOME="$home" "$KV_APP" \
        >"$home/stdout" 2>"$home/stderr" || status=$?
    if [ "$status" = 1 ] && [ "$(wc -l <"$home/stderr")" = 1 ] && grep -q ':4242' "$home/stderr"; then
        pass "unreachable display: one line, status 1"
    else
        fail "unreachable display" "status $status: $(cat "$home/stderr")"
    fi
}

# What the program prints on standard output at start: nothing once its root helper and polkit
# actions are installed, else one line that says which is missing.
startup_output_ok() {
    local stdout=$1
    if [ -x "$helper_path" ] && { [ "$(id -u)" = 0 ] || [ -f "$policy_path" ]; }; then
        [ ! -s "$stdout" ]
    else
        [ "$(wc -l <"$stdout")" = 1 ] &&
            grep -q "^kestrelvanta: the root helper.* not installed (no $helper_path\|^kestrelvanta: the root helper.* not installed (no $policy_path" "$stdout"
    fi
}

# starts_quietly NAME [VAR=value ...]: the window appears, and the program prints nothing but the
# line about a missing installation.
starts_quietly() {
    local name=$1 home window
    shift
    home=$(kv_new_home)
    kv_launch "$home" "$@"
    if ! window=$(kv_window); then
        fail "$name" "no window: $(cat "$home/stderr")"
        return
    fi
    sleep 0.5
    if [ -s "$home/stderr" ] || ! startup_output_ok "$home/stdout"; then
        fail "$name" "printed: $(cat "$home/stdout" "$home/stderr")"
    else
        pass "$name"
    fi
    kill "$kv_app_pid"
    wait "$kv_app_pid" 2>/dev/null || true
}

window_behaviour() {
    local home window geometry active
    home=$(kv_new_home)
    kv_launch "$home"
    window=$(kv_window) || { fail "window" "no window"; return; }
    sleep 0.5

    active=$(xdotool getactivewindow 2>/dev/null || true)
    [ "$active" = "$window" ] && pass "raised and active at launch" \
        || fail "raised and active at launch" "active window $active, ours $window"

    grep -q '"Kestrelvanta"' <<<"$(xprop -id "$window" WM_CLASS)" && pass "window class matches the desktop entry" \
        || fail "window class" "$(xprop -id "$window" WM_CLASS)"

    # Captured first: grep -q closing the pipe early would fail the pipeline under pipefail.
    local icon
    icon=$(xprop -id "$window" _NET_WM_ICON)
    grep -q 'Icon (' <<<"$icon" && pass "window has the program's icon" \
        || fail "window icon" "no _NET_WM_ICON"

    xdotool windowsize "$window" 640 400
    sleep 0.5
    geometry=$(xdotool getwindowgeometry "$window" | sed -n 's/.*Geometry: //p')
    local width=${geometry%x*} height=${geometry#*x}
    if [ "$width" -ge 1000 ] && [ "$height" -ge 650 ]; then
        pass "cannot be made smaller than 1000 x 650 (asked 640 x 400, got $geometry)"
    else
        fail "minimum size" "got $geometry"
    fi

    xdotool windowsize "$window" 1200 760
    sleep 0.5
    geometry=$(xdotool getwindowgeometry "$window" | sed -n 's/.*Geometry: //p')
    [ "$geometry" = "1200x760" ] && pass "can be enlarged" || fail "enlarge" "got $geometry"

    wmctrl -i -c "$window"
    kv_wait_exit 10 || { fail "closing the window quits" "still running"; return; }
    [ "$kv_exit_status" = 0 ] && pass "closing the window quits (status 0)" \
        || fail "closing the window quits" "status $kv_exit_status"
}
# Closing the window while a scan measures a folder ends the program at once, and the du it
# started goes with it. The du here is one that would take ten minutes.
closing_mid_scan() {
    local home window pid started elapsed alive=""
    home=$(kv_new_home)
    mkdir -p "$home/bin" "$home/Folder"
    printf '#!/bin/sh\necho $$ >>"%s/du.pids"\nexec sleep 600\n' "$home" >"$home/bin/du"
    chmod +x "$home/bin/du"
    kv_launch "$home" PATH="$home/bin:$PATH"
    window=$(kv_window) || { fail "closing mid-scan" "no window"; return; }
    xdotool windowactivate --sync "$window" >/dev/null 2>&1 || true
    sleep 0.5
    # The keyboard path of tools/screenshots.sh: Get Started, Settings, Cleaner, its scan button.
    xdotool key --window "$window" Tab space
    sleep 0.5
    xdotool key --window "$window" Tab Tab Tab Tab space
    sleep 0.5
    xdotool key --window "$window" shift+Tab space
    sleep 0.3
    xdotool key --window "$window" Tab Tab space
    local tries=0
    until [ -s "$home/du.pids" ]; do
        tries=$((tries + 1))
        [ "$tries" -lt 100 ] || { fail "closing mid-scan" "no scan started"; return; }
        sleep 0.1
    done
    started=$(date +%s%N)
    wmctrl -i -c "$window"
    kv_wait_exit 10 || { fail "closing mid-scan" "still running 10 s later"; return; }
    elapsed=$((($(date +%s%N) - started) / 1000000))
    sleep 0.2
    for pid in $(cat "$home/du.pids"); do
        if kill -0 "$pid" 2>/dev/null; then
            alive="$alive $pid"
            kill "$pid" 2>/dev/null || true
        fi
    done
    if [ -n "$alive" ]; then
        fail "closing mid-scan" "du still running:$alive"
    elif [ "$kv_exit_status" != 0 ] || [ "$elapsed" -gt 3000 ]; then
        fail "closing mid-scan" "status $kv_exit_status after $elapsed ms"
    else
        pass "closing the window mid-scan quits at once ($elapsed ms) and stops du"
    fi
}

no_display
unreachable_display
kv_start_x
starts_quietly "starts and prints nothing"
starts_quietly "starts without a session bus" DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent/bus
starts_quietly "starts in an unknown locale" LANG=xx_YY.UTF-8 LC_ALL=xx_YY.ISO-8859-15
starts_quietly "starts with an unwritable configuration folder" XDG_CONFIG_HOME=/proc/kestrelvanta
window_behaviour
closing_mid_scan

[ "$failures" = 0 ] || { echo "$failures failed"; exit 1; }
