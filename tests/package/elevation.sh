#!/usr/bin/env bash
# The real elevation path, as an ordinary user: the package's helper and polkit actions in
# place, a real polkitd on a private system bus, a throwaway user, and the program's own
# privileged runner. Everything happens in private mount and pid namespaces on a tmpfs, so the
# machine's files, users and buses are untouched, and every process the test started ends with
# it. Needs root, unshare, setpriv, dbus-daemon and polkitd; skips (77) otherwise.
# Usage: elevation.sh PACKAGE-DIR PRIVILEGED-RUN-TOOL HELPER-PATH POLICY-PATH
set -euo pipefail
package_dir=$1 run_tool=$2 helper=$3 policy=$4
polkitd=/usr/lib/polkit-1/polkitd

if [ -z "${KV_ELEVATION_INSIDE:-}" ]; then
    [ "$(id -u)" = 0 ] || { echo "skipped: needs root"; exit 77; }
    for tool in unshare setpriv dbus-daemon pkexec pkaction dpkg-deb; do
        command -v "$tool" >/dev/null || { echo "skipped: $tool is not installed"; exit 77; }
    done
    [ -x "$polkitd" ] || { echo "skipped: polkitd is not installed"; exit 77; }
    # What the machine looks like before, to compare afterwards.
    before=$(ls -la "$(dirname "$helper")" "$(dirname "$policy")" /etc/polkit-1/rules.d; md5sum /etc/passwd /etc/group)
    status=0
    KV_ELEVATION_INSIDE=1 unshare --mount --pid --fork --mount-proc --propagation private \
        "$0" "$@" || status=$?
    after=$(ls -la "$(dirname "$helper")" "$(dirname "$policy")" /etc/polkit-1/rules.d; md5sum /etc/passwd /etc/group)
    if [ "$before" != "$after" ]; then
        echo "not ok - the machine changed:"
        diff <(echo "$before") <(echo "$after") || true
        exit 1
    fi
    echo "ok - the machine's helper folder, polkit folders and user database are as before"
    exit "$status"
fi

failures=0
pass() { echo "ok - $1"; }
fail() { echo "not ok - $1: $2"; failures=$((failures + 1)); }

scratch=$(mktemp -d)
mount -t tmpfs -o mode=0755 kv-elevation "$scratch"
mkdir -p "$scratch/package" "$scratch/rules" "$scratch/rules-work" "$scratch/etc"
dpkg-deb -x "$(ls "$package_dir"/*.deb)" "$scratch/package"

# The package's helper and actions laid over the machine's own folders, read-only.
for folder in "$(dirname "$helper")" "$(dirname "$policy")"; do
    mount -t overlay kv-overlay -o "lowerdir=$scratch/package$folder:$folder" "$folder"
done
# A writable rules folder for this test's own rules.
mount -t overlay kv-overlay \
    -o "lowerdir=/etc/polkit-1/rules.d,upperdir=$scratch/rules,workdir=$scratch/rules-work" \
    /etc/polkit-1/rules.d

# A throwaway user, known to this namespace only.
uid=4242
while getent passwd "$uid" >/dev/null || getent group "$uid" >/dev/null; do uid=$((uid + 1)); done
user=kvtest$uid
cp /etc/passwd /etc/group "$scratch/etc/"
echo "$user:x:$uid:$uid:Kestrelvanta test:/nonexistent:/usr/sbin/nologin" >>"$scratch/etc/passwd"
echo "$user:x:$uid:" >>"$scratch/etc/group"
mount --bind "$scratch/etc/passwd" /etc/passwd
mount --bind "$scratch/etc/group" /etc/group
as_user=(setpriv --reuid="$uid" --regid="$uid" --clear-groups --inh-caps=-all --
    env -i PATH=/usr/bin:/bin HOME=/nonexistent LANG=C.UTF-8)
as_user() { "${as_user[@]}" "$@"; }

# A private system bus where the machine's would be.
mount -t tmpfs -o mode=0755 kv-run /run
mkdir -p /run/dbus
dbus-daemon --system --fork --nopidfile

polkitd_pid=
start_polkitd() {
    if [ -n "$polkitd_pid" ]; then
        kill "$polkitd_pid" 2>/dev/null || true
        wait "$polkitd_pid" 2>/dev/null || true
    fi
    "$polkitd" --no-debug >>"$scratch/polkitd.log" 2>&1 &
    polkitd_pid=$!
    for _ in $(seq 100); do
        pkaction --action-id org.kestrelvanta.helper.renice >/dev/null 2>&1 && return 0
        sleep 0.1
    done
    echo "polkitd did not come up:"
    cat "$scratch/polkitd.log"
    exit 1
}
# use_rule RESULT: polkit's answer to this user for the helper's actions, with polkitd restarted
# so that it holds exactly this rule.
use_rule() {
    cat >/etc/polkit-1/rules.d/00-kestrelvanta-test.rules <<RULE
polkit.addRule(function(action, subject) {
    if (action.id.indexOf("org.kestrelvanta.helper.") == 0 && subject.user == "$user")
        return polkit.Result.$1;
});
RULE
    start_polkitd
}

use_rule YES
# polkitd itself read the installed actions, with the helper's exact path.
details=$(pkaction --verbose --action-id org.kestrelvanta.helper.renice)
grep -q "org.freedesktop.policykit.exec.path -> $helper" <<<"$details" &&
    pass "polkitd loaded the package's actions" || fail "polkitd's actions" "$details"

# A process of the user's own, which the user alone may not raise.
"${as_user[@]}" sleep 600 &
target=$!
# Until setpriv has become the user and started sleep.
for _ in $(seq 50); do
    [ "$(stat -c %u "/proc/$target")" = "$uid" ] && [ "$(cat "/proc/$target/comm")" = sleep ] && break
    sleep 0.1
done
[ "$(stat -c %u "/proc/$target")" = "$uid" ] || { echo "the target is not the user's"; exit 1; }
nice_of() { awk '{print $19}' "/proc/$1/stat"; }
# The start time the helper checks the pid against (sleep's name holds no space).
start=$(awk '{print $22}' "/proc/$target/stat")
refused=$(as_user renice -n -10 -p "$target" 2>&1 || true)
[ "$(nice_of "$target")" = 0 ] && pass "the user alone cannot raise a priority" ||
    fail "unprivileged renice" "$refused"

outcome=$(as_user "$run_tool" renice "$target" -10 "$start" || true)
[ "$outcome" = succeeded ] && [ "$(nice_of "$target")" = -10 ] &&
    pass "allowed: the runner reniced the user's process to -10" ||
    fail "allowed" "$outcome, nice $(nice_of "$target")"

# Several steps of one action: one start of the helper through the batch's own action.
details=$(pkaction --verbose --action-id org.kestrelvanta.helper.batch)
grep -q "org.freedesktop.policykit.exec.argv1 -> batch" <<<"$details" &&
    pass "polkitd loaded the batch action" || fail "the batch action" "$details"
outcome=$(as_user "$run_tool" steps renice "$target" 10 "$start" ";" renice "$target" -10 "$start" || true)
[ "$outcome" = "$(printf 'succeeded\nsucceeded')" ] && [ "$(nice_of "$target")" = -10 ] &&
    pass "allowed: two steps in one start, in order" ||
    fail "batch" "$outcome, nice $(nice_of "$target")"

use_rule NO
outcome=$(as_user "$run_tool" steps renice "$target" 0 "$start" ";" renice "$target" 10 "$start" || true)
[ "$outcome" = "$(printf 'failed: Not authorized\nfailed: Not authorized')" ] &&
    [ "$(nice_of "$target")" = -10 ] &&
    pass "refused: each step of the batch fails with the runner's text" ||
    fail "refused batch" "$outcome, nice $(nice_of "$target")"
outcome=$(as_user "$run_tool" renice "$target" 0 "$start" || true)
[ "$outcome" = "failed: Not authorized" ] && [ "$(nice_of "$target")" = -10 ] &&
    pass "refused: the runner's failure text, nothing changed" ||
    fail "refused" "$outcome, nice $(nice_of "$target")"

# No authentication agent (a bare X session): a password is required and nobody can be asked.
use_rule AUTH_ADMIN
started=$(date +%s)
outcome=$(as_user "$run_tool" renice "$target" 0 "$start" || true)
took=$(($(date +%s) - started))
[ "$outcome" = "failed: No authentication agent found." ] && [ "$took" -le 30 ] &&
    [ "$(nice_of "$target")" = -10 ] &&
    pass "no agent: the runner's failure text after ${took}s" || fail "no agent" "$outcome after ${took}s"

# Started by the user directly rather than through pkexec, the helper refuses in one line.
status=0
output=$(as_user "$helper" renice "$target" 0 "$start" 2>&1) || status=$?
[ "$status" != 0 ] && [ "$(wc -l <<<"$output")" = 1 ] && [ "$(nice_of "$target")" = -10 ] &&
    pass "the helper refuses a direct start: $output" || fail "direct start" "$status: $output"

kill "$target" 2>/dev/null || true
[ "$failures" = 0 ] || { echo "polkitd said:"; cat "$scratch/polkitd.log"; }
echo "$failures failed"
[ "$failures" = 0 ]
