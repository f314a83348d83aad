#!/usr/bin/env bash
# Window benchmark, in one run under a private X server: time from process start to the first
# frame, processor use over 30 s and peak resident memory, for the application on its welcome
# screen (nothing sampled), on its dashboard (sampling every second), the same application
# minimized and then wholly covered by another window, and an empty Qt Quick window of the same
# size.
# Usage: bench/window.sh [BUILD-FOLDER]   (default: the release build, installed and built first)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
if [ $# -eq 0 ]; then
    cd "$root"
    . tools/packages.sh
    kv_install "${build_packages[@]}" "${run_packages[@]}" "${test_packages[@]}"
    kv_build release
fi
build=${1:-$root/build/release}
seconds=${KV_BENCH_SECONDS:-30}
KV_APP=$build/src/app/kestrelvanta
empty=$build/bench/kv_empty_window
# shellcheck source=../tests/integration/xsession.sh
. "$root/tests/integration/xsession.sh"

ticks_per_second=$(getconf CLK_TCK)

cpu_ticks() { awk '{print $14 + $15}' "/proc/$1/stat"; }
peak_rss_mb() { awk '/VmHWM/ {printf "%.1f", $2 / 1024}' "/proc/$1/status"; }

# measure NAME: samples the running kv_app_pid for $seconds and prints one table row.
measure() {
    local name=$1 first=$2 before after
    before=$(cpu_ticks "$kv_app_pid")
    sleep "$seconds"
    after=$(cpu_ticks "$kv_app_pid")
    local cpu
    cpu=$(awk -v d=$((after - before)) -v hz="$ticks_per_second" -v s="$seconds" \
        'BEGIN {printf "%.1f", 100 * d / hz / s}')
    printf '| %-34s | %14s | %10s | %13s |\n' "$name" "$first" "$cpu" "$(peak_rss_mb "$kv_app_pid")"
}

# first_frame HOME START_MS: milliseconds from the launch to the first frame, and from main().
first_frame() {
    local line tries=0
    while ! line=$(grep -m1 'first frame' "$1/stderr" 2>/dev/null); do
        tries=$((tries + 1))
        [ "$tries" -lt 100 ] || { echo "n/a"; return; }
        sleep 0.1
    done
    local at since_main
    at=$(echo "$line" | sed -n 's/.*at \([0-9]*\) ms since the epoch.*/\1/p')
    since_main=$(echo "$line" | sed -n 's/.*frame \([0-9]*\) ms after main.*/\1/p')
    echo "$((at - $2)) ($since_main)"
}

now_ms() { date +%s%3N; }

kv_start_x
echo "Renderer: $( [ -e /dev/dri ] && ls /dev/dri | tr '\n' ' ' || echo 'no GPU (software)')"
printf '| %-34s | %14s | %10s | %13s |\n' "case" "first frame ms" "CPU % core" "peak RSS MB"
printf '|%s|%s|%s|%s|\n' "------------------------------------" "----------------" "------------" "---------------"

home=$(kv_new_home)
start=$(now_ms)
kv_launch "$home" QT_LOGGING_RULES="kestrelvanta.startup.info=true"
kv_window >/dev/null
first=$(first_frame "$home" "$start")
sleep 3
measure "app on the welcome screen, idle" "$first"
kill "$kv_app_pid"
wait "$kv_app_pid" 2>/dev/null || true

home=$(kv_new_home)
mkdir -p "$home/.config/Kestrelvanta"
printf '{"firstRunComplete":true,"installDate":1}' >"$home/.config/Kestrelvanta/config.json"
start=$(now_ms)
kv_launch "$home" QT_LOGGING_RULES="kestrelvanta.startup.info=true"
window=$(kv_window)
first=$(first_frame "$home" "$start")
sleep 3
measure "app on the dashboard, sampling" "$first"
xdotool windowminimize --sync "$window" 2>/dev/null || xdotool windowminimize "$window"
sleep 2
measure "same app, minimized" "-"
# Restored, then wholly covered by another window (the empty one, stretched over the screen).
xdotool windowactivate --sync "$window" >/dev/null 2>&1 || xdotool windowmap "$window"
sleep 2
app_pid=$kv_app_pid
KV_APP=$empty kv_launch "$(kv_new_home)"
cover_pid=$kv_app_pid
kv_app_pid=$app_pid
cover=$(xdotool search --sync --onlyvisible --pid "$cover_pid" | head -n1)
xdotool windowsize "$cover" 1280 800 windowmove "$cover" 0 0 windowraise "$cover"
sleep 2
measure "same app, covered by another window" "-"
kill "$cover_pid"
wait "$cover_pid" 2>/dev/null || true
kill "$kv_app_pid"
wait "$kv_app_pid" 2>/dev/null || true

home=$(kv_new_home)
start=$(now_ms)
KV_APP=$empty kv_launch "$home"
kv_window >/dev/null
first=$(first_frame "$home" "$start")
sleep 3
measure "empty Qt Quick window, same size" "$first"
echo
echo "first frame: from launching the process (in brackets: from main())"
