#!/usr/bin/env bash
# The root helper for real, run directly (as root): it renices a child this script started on
# every one of its threads, restores it, and refuses bad arguments with one line and no effect.
# It acts only on the caller's own processes that are still the ones the program saw, and its
# DNS flush signals only the system's dnsmasq (checked in private mount and pid namespaces).
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
# /proc/PID/stat's 22nd field, counted after the name's closing parenthesis.
start_of() { sed 's/.*) //' /proc/"$1"/stat | awk '{print $20}'; }
thread_nices() { for task in /proc/"$1"/task/*; do awk '{print $19}' "$task/stat"; done | sort -u; }

start=$(start_of "$child")
"$helper" renice "$child" -10 "$start"
[ "$(nice_of "$child")" = -10 ] || { echo "renice -10 gave $(nice_of "$child")"; exit 1; }
[ "$(thread_nices "$child")" = -10 ] || { echo "a thread kept its priority"; exit 1; }
"$helper" renice "$child" 10 "$start"
[ "$(nice_of "$child")" = 10 ] || { echo "renice 10 gave $(nice_of "$child")"; exit 1; }
"$helper" renice "$child" 0 "$start"
[ "$(nice_of "$child")" = 0 ] || { echo "restore gave $(nice_of "$child")"; exit 1; }

expect_refusal() {
    local expected=$1 status=0 output
    shift
    output=$("$helper" "$@" 2>&1) || status=$?
    [ "$status" -ne 0 ] || { echo "accepted: $*"; exit 1; }
    [ "$output" = "$expected" ] || { echo "for $*: '$output'"; exit 1; }
}
expect_refusal "Unknown action" reboot
expect_refusal "Invalid process id" renice "$child; reboot" 10 "$start"
expect_refusal "Nice value must be -10, 10 or 0" renice "$child" -21 "$start"
expect_refusal "Nice value must be -10, 10 or 0" renice "$child" -20 "$start"
expect_refusal "Nice value must be -10, 10 or 0" renice "$child" 19 "$start"
# A pid whose start time is not the one the program saw names another process now.
expect_refusal "No such process" renice "$child" -10 "$((start + 1))"
expect_refusal "Usage: renice PID NICE START-TIME" renice "$child" -10
expect_refusal "Invalid network connection or interface" set-dns '--help' 1.1.1.1
expect_refusal "Invalid network connection or interface" set-dns '$(reboot)' 1.1.1.1
expect_refusal "Invalid DNS server address" set-dns eth0 'one.one.one.one'
[ "$(nice_of "$child")" = 0 ] || { echo "a refusal changed the priority"; exit 1; }

# Several steps in one start: each checked as it is alone before any runs, run in order, one
# line each; a step tied with && to one that failed is skipped, one after ; runs anyway.
expect_refusal "Step 2: Nice value must be -10, 10 or 0" batch renice "$child" -10 "$start" ";" renice "$child" 7 "$start"
expect_refusal "Step 2: No action given" batch renice "$child" -10 "$start" ";"
expect_refusal "Step 1: Unknown action" batch batch renice "$child" -10 "$start"
[ "$(nice_of "$child")" = 0 ] || { echo "a refused batch changed the priority"; exit 1; }
status=0
output=$("$helper" batch renice "$child" 10 "$start" ";" renice "$child" -10 "$((start + 1))" \
    "&&" renice "$child" 0 "$start" ";" renice "$child" -10 "$start" 2>&1) || status=$?
[ "$status" = 1 ] || { echo "a batch with a failed step ended with $status"; exit 1; }
[ "$output" = "$(printf 'ok\nfailed: No such process\nskipped\nok')" ] ||
    { echo "batch said: $output"; exit 1; }
[ "$(nice_of "$child")" = -10 ] || { echo "the batch left $(nice_of "$child")"; exit 1; }
output=$("$helper" batch renice "$child" 10 "$start" "&&" renice "$child" 0 "$start")
[ "$output" = "$(printf 'ok\nok')" ] && [ "$(nice_of "$child")" = 0 ] ||
    { echo "batch said: $output, nice $(nice_of "$child")"; exit 1; }

# A session of its own has an autogroup of its own, whose nice the helper sets and puts back.
if [ -r /proc/self/autogroup ]; then
    setsid sleep 60 &
    grouped=$!
    trap 'kill "$child" "$grouped" 2>/dev/null || true' EXIT
    for _ in $(seq 50); do [ "$(cat /proc/"$grouped"/comm)" = sleep ] && break; sleep 0.1; done
    group_start=$(start_of "$grouped")
    group_nice() { awk '{print $3}' /proc/"$1"/autogroup; }
    [ "$(cut -d' ' -f1 /proc/"$grouped"/autogroup)" != "$(cut -d' ' -f1 /proc/self/autogroup)" ] ||
        { echo "setsid gave no autogroup of its own"; exit 1; }
    "$helper" autogroup "$grouped" -10 "$group_start"
    [ "$(group_nice "$grouped")" = -10 ] || { echo "autogroup -10 gave $(group_nice "$grouped")"; exit 1; }
    "$helper" autogroup "$grouped" 0 "$group_start"
    [ "$(group_nice "$grouped")" = 0 ] || { echo "autogroup 0 gave $(group_nice "$grouped")"; exit 1; }
    expect_refusal "Nice value must be between -20 and 19" autogroup "$grouped" -21 "$group_start"
    expect_refusal "Nice value must be between -20 and 19" autogroup "$grouped" 20 "$group_start"
    expect_refusal "Nice value must be between -20 and 19" autogroup "$grouped" 1e1 "$group_start"
    expect_refusal "Invalid process id" autogroup "$grouped;reboot" 5 "$group_start"
    expect_refusal "Invalid process start time" autogroup "$grouped" 5 "-$group_start"
    expect_refusal "No such process" autogroup "$grouped" -10 "$((group_start + 1))"
    [ "$(group_nice "$grouped")" = 0 ] || { echo "a refusal changed the autogroup"; exit 1; }
    kill "$grouped"
    wait "$grouped" 2>/dev/null || true
    # A pid it cannot read: the process has gone.
    expect_refusal "No such process" autogroup "$grouped" -10 "$group_start"
fi

# Another user's process: refused for any other caller, pkexec's or the direct one (root).
setpriv --reuid=nobody --regid=nogroup --clear-groups -- sleep 60 &
other=$!
trap 'kill "$child" "$other" 2>/dev/null || true' EXIT
for _ in $(seq 50); do [ "$(stat -c %U /proc/"$other")" = nobody ] && break; sleep 0.1; done
other_start=$(start_of "$other")
nobody_uid=$(id -u nobody)
PKEXEC_UID=$((nobody_uid + 1)) expect_refusal "The process belongs to another user" renice "$other" 10 "$other_start"
expect_refusal "The process belongs to another user" renice "$other" 10 "$other_start"
PKEXEC_UID=abc expect_refusal "Invalid PKEXEC_UID" renice "$other" 10 "$other_start"
expect_refusal "The process belongs to another user" autogroup "$other" -10 "$other_start"
[ "$(nice_of "$other")" = 0 ] || { echo "another user's process was reniced"; exit 1; }
PKEXEC_UID=$nobody_uid "$helper" renice "$other" 10 "$other_start"
[ "$(nice_of "$other")" = 10 ] || { echo "the owner's own renice gave $(nice_of "$other")"; exit 1; }
kill "$other"

# DNS flush: in private namespaces, /usr/sbin/dnsmasq is a copy of sleep, and a second copy
# elsewhere is also named dnsmasq. Only the system's one gets the hang-up (and ends of it).
scratch=$(mktemp -d)
trap 'kill "$child" 2>/dev/null || true; rm -rf "$scratch"' EXIT
mkdir "$scratch/sbin" "$scratch/elsewhere"
cp "$(command -v sleep)" "$scratch/sbin/dnsmasq"
cp "$(command -v sleep)" "$scratch/elsewhere/dnsmasq"
unshare -m -p -f --mount-proc -- bash -euo pipefail -c '
    helper=$1 scratch=$2
    mount --bind "$scratch/sbin" /usr/sbin
    /usr/sbin/dnsmasq 60 & system=$!
    "$scratch/elsewhere/dnsmasq" 60 & impostor=$!
    for _ in $(seq 50); do
        [ "$(cat /proc/$impostor/comm)" = dnsmasq ] && [ "$(cat /proc/$system/comm)" = dnsmasq ] && break
        sleep 0.1
    done
    [ "$(cat /proc/$impostor/comm)" = dnsmasq ] || { echo "the impostor did not start"; exit 1; }
    "$helper" flush-dns
    wait "$system" 2>/dev/null || true
    if kill -0 "$system" 2>/dev/null; then echo "the system dnsmasq was not signalled"; exit 1; fi
    kill -0 "$impostor" || { echo "a process merely named dnsmasq was signalled"; exit 1; }
    kill "$impostor"
' flush "$helper" "$scratch"

# A process that has gone between detection and renice.
kill "$child"
wait "$child" 2>/dev/null || true
expect_refusal "No such process" renice "$child" -10 "$start"
echo "ok - helper renices and sets autogroups for real and refuses bad arguments"
