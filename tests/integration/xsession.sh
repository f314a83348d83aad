# Sourced by the tests and tools that need a real window: a private X server (Xvfb) with a window
# manager (openbox), and helpers to run the application in it with a temporary HOME. Everything
# started here is stopped on exit, and nothing outside the temporary folder is touched.

kv_tmp=$(mktemp -d "${TMPDIR:-/tmp}/kv-xsession.XXXXXX")
kv_pids=()

kv_cleanup() {
    local pid
    for pid in "${kv_pids[@]}"; do
        kill "$pid" 2>/dev/null || true
    done
    for pid in "${kv_pids[@]}"; do
        wait "$pid" 2>/dev/null || true
    done
    rm -rf "$kv_tmp"
}
trap kv_cleanup EXIT

# Starts Xvfb on a free display (it picks the number itself) and openbox on it.
kv_start_x() {
    : >"$kv_tmp/display"
    Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp -noreset 3>"$kv_tmp/display" \
        >"$kv_tmp/xvfb.log" 2>&1 &
    kv_pids+=($!)
    local tries=0
    until [ -s "$kv_tmp/display" ]; do
        tries=$((tries + 1))
        [ "$tries" -lt 100 ] || { echo "Xvfb did not start" >&2; cat "$kv_tmp/xvfb.log" >&2; return 1; }
        sleep 0.1
    done
    export DISPLAY=":$(head -n1 "$kv_tmp/display")"
    openbox --sm-disable >"$kv_tmp/openbox.log" 2>&1 &
    kv_pids+=($!)
    tries=0
    until xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q 'window id'; do
        tries=$((tries + 1))
        [ "$tries" -lt 100 ] || { echo "openbox did not start" >&2; return 1; }
        sleep 0.1
    done
}

# A fresh home for one run of the application; prints its path.
kv_new_home() {
    local home
    home=$(mktemp -d "$kv_tmp/home.XXXXXX")
    mkdir -p "$home/runtime"
    chmod 700 "$home/runtime"
    echo "$home"
}

# kv_launch HOME [VAR=value ...]: starts the application in the background with that home and
# extra environment; sets kv_app_pid and writes its output to HOME/stdout and HOME/stderr.
kv_launch() {
    local home=$1
    shift
    # Cut off from the desktop the tests run on: no session bus (nothing is inhibited there), no
    # sound server and no ALSA configuration (nothing is muted there), a private runtime folder.
    env -u XDG_CONFIG_HOME -u XDG_DATA_HOME -u XDG_CACHE_HOME -u XDG_STATE_HOME \
        -u QT_QPA_PLATFORM -u QT_QUICK_BACKEND -u WAYLAND_DISPLAY \
        -u DBUS_SESSION_BUS_ADDRESS -u PULSE_SERVER ALSA_CONFIG_PATH=/dev/null \
        HOME="$home" XDG_RUNTIME_DIR="$home/runtime" LC_ALL=C.UTF-8 "$@" \
        "$KV_APP" >"$home/stdout" 2>"$home/stderr" &
    kv_app_pid=$!
    kv_pids+=("$kv_app_pid")
}

# Prints the id of the application's visible window, waiting up to 20 s for it.
kv_window() {
    local tries=0 id
    while [ "$tries" -lt 200 ]; do
        id=$(xdotool search --onlyvisible --pid "$kv_app_pid" 2>/dev/null | head -n1 || true)
        if [ -n "$id" ]; then
            echo "$id"
            return 0
        fi
        kill -0 "$kv_app_pid" 2>/dev/null || { echo "the application exited" >&2; return 1; }
        tries=$((tries + 1))
        sleep 0.1
    done
    echo "no window appeared" >&2
    return 1
}

# kv_wait_exit SECONDS: waits for the application to end and sets kv_exit_status; fails if it
# is still running after that long.
kv_wait_exit() {
    local limit=$(($1 * 10)) tries=0
    while kill -0 "$kv_app_pid" 2>/dev/null && [ -d "/proc/$kv_app_pid" ] &&
        ! grep -q '^State:.*zombie' "/proc/$kv_app_pid/status" 2>/dev/null; do
        tries=$((tries + 1))
        [ "$tries" -lt "$limit" ] || return 1
        sleep 0.1
    done
    kv_exit_status=0
    wait "$kv_app_pid" || kv_exit_status=$?
}
