#!/usr/bin/env bash
# The root helper for real, run directly (as root): it renices a child this script started on
# every one of its threads, restores it, and refuses bad arguments with one line and no effect.
# Nothing else of the machine is touched. Skips (77) when not root.
# Usage: helper_root.sh PATH-TO-kestrelvanta-helper
set -euo pipefail
helper=$1
[ "$(id -u)" = 0 ] || { echo "skipped: needs root"; exit 77; }

# A child with several threads when Python is at hand (a game renders and plays sound on threads
# of its own), else a plain sleep with one.
if command -v python3 >/dev/null; then
    python3 -c 'import threading, time
for _ in range(3):
    threading.Thread(target=time.sleep, args=(60,), daemon=True).start()
time.sleep(60)' &
else
    sleep 60 &
fi
child=$!
for _ in $(seq 50); do [ "$(ls /proc/"$child"/task | wc -l)" -ge 2 ] || ! command -v python3 >/dev/null && break; sleep 0.1; done
trap 'kill "$child" 2>/dev/null || true' EXIT

nice_of() { ps -o ni= -p "$1" | tr -d ' '; }
thread_nices() { for task in /proc/"$1"/task/*; do awk '{print $19}' "$task/stat"; done | sort -u; }

"$helper" renice "$child" -10
[ "$(nice_of "$child")" = -10 ] || { echo "renice -10 gave $(nice_of "$child")"; exit 1; }
[ "$(thread_nices "$child")" = -10 ] || { echo "a thread kept its priority"; exit 1; }
"$helper" renice "$child" 10
[ "$(nice_of "$child")" = 10 ] || { echo "renice 10 gave $(nice_of "$child")"; exit 1; }
"$helper" renice "$child" 0
[ "$(nice_of "$child")" = 0 ] || { echo "restore gave $(nice_of "$child")"; exit 1; }

expect_refusal() {
    local expected=$1 status=0 output
    shift
    output=$("$helper" "$@" 2>&1) || status=$?
    [ "$status" -ne 0 ] || { echo "accepted: $*"; exit 1; }
    [ "$output" = "$expected" ] || { echo "for $*: '$output'"; exit 1; }
}
expect_refusal "Unknown action" reboot
expect_refusal "Invalid process id" renice "$child; reboot" 5
expect_refusal "Nice value must be a whole number from -20 to 19" renice "$child" -21
expect_refusal "Invalid network connection or interface" set-dns '--help' 1.1.1.1
expect_refusal "Invalid network connection or interface" set-dns '$(reboot)' 1.1.1.1
expect_refusal "Invalid DNS server address" set-dns eth0 'one.one.one.one'
[ "$(nice_of "$child")" = 0 ] || { echo "a refusal changed the priority"; exit 1; }

# A process that has gone between detection and renice.
kill "$child"
wait "$child" 2>/dev/null || true
expect_refusal "No such process" renice "$child" -10
echo "ok - helper renices for real and refuses bad arguments"
