#!/usr/bin/env bash
# Runs the screenshot tool into a temporary folder and checks it produced five different
# pictures of the window's size, that is, that the welcome screen, the dashboard, the settings
# screen, the cleaner screen after its scan and the alert after a session recording were reached
# and photographed.
# Usage: screenshots_check.sh PATH-TO-screenshots.sh PATH-TO-kestrelvanta
set -euo pipefail
out=$(mktemp -d "${TMPDIR:-/tmp}/kv-shots.XXXXXX")
trap 'rm -rf "$out"' EXIT
"$1" "$2" "$out" >/dev/null
for name in welcome dashboard settings cleaner session-report-alert; do
    size=$(identify -format '%wx%h' "$out/$name.png")
    [ "$size" = 1000x650 ] || { echo "$name.png is $size"; exit 1; }
done
# Pixels that differ by more than the slow drift of the background can explain: only changed
# content (text, panels, buttons) counts.
differ() {
    local changed
    changed=$(compare -fuzz 15% -metric AE "$out/$1.png" "$out/$2.png" null: 2>&1 || true)
    [ "${changed%%.*}" -gt 2000 ]
}
differ welcome dashboard || { echo "welcome and dashboard look the same"; exit 1; }
differ dashboard settings || { echo "dashboard and settings look the same"; exit 1; }
differ settings cleaner || { echo "settings and cleaner look the same"; exit 1; }
differ dashboard cleaner || { echo "dashboard and cleaner look the same"; exit 1; }
differ dashboard session-report-alert || { echo "no report alert over the dashboard"; exit 1; }
echo "ok - five distinct screenshots"
