#!/usr/bin/env bash
# Photographs the real dashboard with live traffic: the application runs under a private X server
# inside a network namespace whose only link is a veth pair, while a sender on the far side
# streams a varying load both ways. Needs root. Usage:
# tools/network-screenshot.sh [PATH-TO-kestrelvanta] [OUTPUT-PNG]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
app=${1:-$root/build/dev/src/app/kestrelvanta}
out=${2:-$root/docs/screenshots/network-panel.png}
ns=kvshot$$
peer=kvshotpeer$$
# shellcheck source=../tests/integration/xsession.sh
. "$root/tests/integration/xsession.sh"

cleanup_netns() {
    ip netns del "$ns" 2>/dev/null || true
    ip netns del "$peer" 2>/dev/null || true
}
trap 'kv_cleanup; cleanup_netns' EXIT

ip netns add "$ns"
ip netns add "$peer"
for n in "$ns" "$peer"; do
    ip netns exec "$n" sh -c 'echo 1 > /proc/sys/net/ipv6/conf/all/disable_ipv6;
                               echo 1 > /proc/sys/net/ipv6/conf/default/disable_ipv6'
done
ip -n "$ns" link add kvs0 address 02:00:00:00:78:01 type veth peer name kvs1 \
    address 02:00:00:00:78:02 netns "$peer"
ip -n "$ns" addr add 10.78.0.1/24 dev kvs0
ip -n "$peer" addr add 10.78.0.2/24 dev kvs1
ip -n "$ns" neigh replace 10.78.0.2 lladdr 02:00:00:00:78:02 dev kvs0 nud permanent
ip -n "$peer" neigh replace 10.78.0.1 lladdr 02:00:00:00:78:01 dev kvs1 nud permanent
ip -n "$ns" link set kvs0 up
ip -n "$peer" link set kvs1 up
ip -n "$ns" route add default via 10.78.0.2 dev kvs0

# stream NS FROM TO BASE: inside NS, UDP to TO:9 at a load that swells and ebbs around BASE
# bytes per second, with a receiver bound on the sender's own address so that nothing bounces
# back. `ip netns exec` execs python itself, so the recorded pid is the sender's.
stream() {
    ip netns exec "$1" python3 - "$2" "$3" "$4" <<'PY' &
import math, socket, sys, time
here, there, base = sys.argv[1], sys.argv[2], float(sys.argv[3])
sink = socket.socket(socket.AF_INET, socket.SOCK_DGRAM); sink.bind((here, 9)); sink.setblocking(False)
out = socket.socket(socket.AF_INET, socket.SOCK_DGRAM); out.bind((here, 0))
payload = b"k" * 1400
start = time.monotonic(); sent = 0.0
while True:
    t = time.monotonic() - start
    rate = base * (1.0 + 0.6 * math.sin(t / 4.0) + 0.3 * math.sin(t * 1.3))
    sent_target = sent + rate * 0.02
    while sent < sent_target:
        out.sendto(payload, (there, 9)); sent += 1442
    try:
        while True: sink.recv(65536)
    except BlockingIOError:
        pass
    time.sleep(0.02)
PY
    kv_pids+=($!)
}
stream "$peer" 10.78.0.2 10.78.0.1 1500000
stream "$ns" 10.78.0.1 10.78.0.2 250000

kv_start_x
home=$(kv_new_home)
mkdir -p "$home/.config/Kestrelvanta"
printf '{"firstRunComplete":true,"installDate":1}' >"$home/.config/Kestrelvanta/config.json"
wrapper="$kv_tmp/in-namespace"
printf '#!/bin/sh\nexec ip netns exec %s %q "$@"\n' "$ns" "$app" >"$wrapper"
chmod +x "$wrapper"
KV_APP=$wrapper kv_launch "$home"
window=$(kv_window)
xdotool windowactivate --sync "$window" >/dev/null 2>&1 || true
# Long enough for a full-looking chart.
sleep "${KV_SHOT_SECONDS:-25}"
import -window "$window" "$out"
echo "$out"
