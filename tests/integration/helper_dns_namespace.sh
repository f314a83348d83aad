#!/usr/bin/env bash
# The helper's resolv.conf fallback for real, in a private mount namespace whose /etc and /run
# are throwaway folders: a resolv.conf that links to systemd-resolved's or NetworkManager's file
# is refused with the helper's one line and left as it is; a plain one is backed up, rewritten
# with IPv4 and IPv6 servers and put back. The machine's own /etc is never touched.
# Skips (77) when not root or where no mount namespace can be made.
# Usage: helper_dns_namespace.sh PATH-TO-kestrelvanta-helper
set -euo pipefail
helper=$1
[ "$(id -u)" = 0 ] || { echo "skipped: needs root"; exit 77; }
unshare -m true 2>/dev/null || { echo "skipped: no mount namespace"; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/etc" "$work/run"
# Programs still find their libraries once /etc is replaced.
cp /etc/ld.so.cache "$work/etc/" 2>/dev/null || true

unshare -m --propagation private bash -s "$helper" "$work" <<'SCRIPT'
set -euo pipefail
helper=$1
work=$2
mount --bind "$work/etc" /etc
mount --bind "$work/run" /run

fail() { echo "$*"; exit 1; }
expect_refusal() {
    local status=0 output
    output=$("$helper" set-dns lo 1.1.1.1 2>&1) || status=$?
    [ "$status" -ne 0 ] || fail "a linked resolv.conf was rewritten"
    [ "$output" = "/etc/resolv.conf is managed by another service" ] || fail "refusal: '$output'"
}

# Owned by a manager: a link to its file.
for owner in systemd/resolve/stub-resolv.conf NetworkManager/resolv.conf; do
    mkdir -p "/run/$(dirname "$owner")"
    echo "nameserver 127.0.0.53" > "/run/$owner"
    ln -sfn "/run/$owner" /etc/resolv.conf
    expect_refusal
    [ -L /etc/resolv.conf ] || fail "the link to $owner was replaced"
    [ "$(readlink /etc/resolv.conf)" = "/run/$owner" ] || fail "the link was changed"
    [ "$(cat "/run/$owner")" = "nameserver 127.0.0.53" ] || fail "$owner was written through"
    [ ! -e /etc/resolv.conf.kestrelvanta-backup ] || fail "a backup was made of a link"
    rm /etc/resolv.conf
done

# The user's own file: replaced, then put back.
echo "nameserver 192.168.1.1" > /etc/resolv.conf
"$helper" set-dns lo 1.1.1.1 1.0.0.1 2606:4700:4700::1111 || fail "set-dns failed"
grep -qx "nameserver 1.1.1.1" /etc/resolv.conf || fail "no IPv4 server"
grep -qx "nameserver 2606:4700:4700::1111" /etc/resolv.conf || fail "no IPv6 server"
[ "$(cat /etc/resolv.conf.kestrelvanta-backup)" = "nameserver 192.168.1.1" ] || fail "backup"
"$helper" restore-dns lo || fail "restore-dns failed"
[ "$(cat /etc/resolv.conf)" = "nameserver 192.168.1.1" ] || fail "not put back"
[ ! -e /etc/resolv.conf.kestrelvanta-backup ] || fail "the backup stayed"
echo "resolv.conf fallback: links refused, own file replaced and restored"
SCRIPT
