#!/usr/bin/env bash
# What the package holds and asks for, and that removing it leaves nothing behind: installed
# into and purged from a throwaway dpkg root of the test's own (as root; skips otherwise).
# Usage: contents.sh PACKAGE-DIR HELPER-PATH POLICY-PATH
set -euo pipefail
deb=$(ls "$1"/*.deb)
helper=$2 policy=$3
failures=0
pass() { echo "ok - $1"; }
fail() { echo "not ok - $1: $2"; failures=$((failures + 1)); }

# The files, each where a desktop and polkitd look for it, and nothing under /usr/local or
# outside /usr.
listing=$(dpkg-deb --fsys-tarfile "$deb" | tar -t | sed 's|^\./|/|; s|/$||' | grep -v '^/\?$')
for path in /usr/bin/kestrelvanta "$helper" "$policy" \
    /usr/share/applications/app.kestrelvanta.Kestrelvanta.desktop \
    /usr/share/metainfo/app.kestrelvanta.Kestrelvanta.metainfo.xml \
    /usr/share/icons/hicolor/scalable/apps/kestrelvanta.svg \
    /usr/share/doc/kestrelvanta/copyright /usr/share/doc/kestrelvanta/changelog.gz; do
    grep -qxF "$path" <<<"$listing" && pass "holds $path" || fail "holds $path" "missing"
done
stray=$(grep -v '^/usr\(/\|$\)' <<<"$listing" || true)
[ -z "$stray" ] && pass "everything under /usr" || fail "everything under /usr" "$stray"
! grep -q '^/usr/local' <<<"$listing" && pass "nothing under /usr/local" || fail "/usr/local" "found"
[ "$policy" = /usr/share/polkit-1/actions/org.kestrelvanta.helper.policy ] &&
    pass "policy where polkitd reads it" || fail "policy path" "$policy"

# The policy it installs names the helper it installs.
exec_paths=$(dpkg-deb --fsys-tarfile "$deb" | tar -xO ".$policy" |
    grep -o 'exec.path">[^<]*' | sed 's/.*">//' | sort -u)
[ "$exec_paths" = "$helper" ] && pass "actions pinned to $helper" ||
    fail "actions pinned" "$exec_paths"

# Modes: programs executable by all, nothing set-uid, everything owned by root.
modes=$(dpkg-deb -c "$deb")
grep -q '^-rwxr-xr-x root/root .* \./usr/bin/kestrelvanta$' <<<"$modes" &&
    grep -q "^-rwxr-xr-x root/root .* \.$helper\$" <<<"$modes" && pass "program modes" ||
    fail "program modes" "$(grep -E 'bin/kestrelvanta|helper' <<<"$modes")"
! grep -q '^-..[sS]\|^-.....[sS]' <<<"$modes" && pass "nothing set-uid" || fail "set-uid" "found"
! grep -v ' root/root ' <<<"$modes" | grep -q . && pass "owned by root" || fail "owners" "not root"

# Dependencies: the libraries computed from the binaries (none of them is written down
# anywhere in the sources) and the tools the program starts.
depends=$(dpkg-deb -f "$deb" Depends)
for package in libc6 libqt6core6 libqt6quick6 libqt6dbus6; do
    grep -qE "(^|, )$package( |,|$)" <<<"$depends" && pass "depends on $package" ||
        fail "depends on $package" "$depends"
done
for package in pkexec iputils-ping iw x11-xserver-utils xdg-utils qml6-module-qtquick-controls; do
    grep -qE "(^|, )$package(,|$)" <<<"$depends" && pass "depends on $package" ||
        fail "depends on $package" "$depends"
done
! grep -q '@\|\${' <<<"$depends" && pass "no unexpanded field" || fail "unexpanded" "$depends"

# No maintainer script: installing changes nothing but the files listed above.
scripts=$(dpkg-deb -I "$deb" | grep -oE '\b(preinst|postinst|prerm|postrm|config)\b' || true)
[ -z "$scripts" ] && pass "no maintainer scripts" || fail "maintainer scripts" "$scripts"

if [ "$(id -u)" != 0 ]; then
    echo "skipped: installing into a throwaway dpkg root needs root"
    [ "$failures" = 0 ] || exit 1
    exit 77
fi
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
mkdir -p "$root/var/lib/dpkg/info" "$root/var/lib/dpkg/updates" "$root/var/lib/dpkg/triggers"
touch "$root/var/lib/dpkg/status"
dpkg=(dpkg --root="$root" --log=/dev/null --force-depends --force-script-chrootless)
# The dependencies are not in this empty database, which dpkg says (and is told to accept).
log=$("${dpkg[@]}" -i "$deb" 2>&1) || { echo "$log"; exit 1; }
installed=$(cd "$root" && find . -path ./var/lib/dpkg -prune -o \( -type f -o -type l \) -print |
    sed 's|^\.||' | sort)
expected=$(dpkg-deb --fsys-tarfile "$deb" | tar -t | grep -v '/$' | sed 's|^\.||' | sort)
[ "$installed" = "$expected" ] && pass "installs exactly its files" ||
    fail "installed files" "$(diff <(echo "$expected") <(echo "$installed"))"
log=$("${dpkg[@]}" --purge kestrelvanta 2>&1) || { echo "$log"; exit 1; }
left=$(cd "$root" && find . -mindepth 1 -path ./var/lib/dpkg -prune -o -print | grep -vx './var\|./var/lib' || true)
[ -z "$left" ] && pass "purging leaves nothing behind" || fail "left after purge" "$left"
[ "$(dpkg-query --admindir="$root/var/lib/dpkg" -W -f='${db:Status-Status}' kestrelvanta 2>/dev/null)" != installed ] &&
    pass "purged from the dpkg database" || fail "purge" "still installed"

echo "$failures failed"
[ "$failures" = 0 ]
