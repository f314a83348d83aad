#!/usr/bin/env bash
# Debian's own package checker finds no error in the package (its warnings are printed).
# Skips (77) when lintian is not installed. Usage: lintian.sh PACKAGE-DIR
set -euo pipefail
deb=$(ls "$1"/*.deb)
command -v lintian >/dev/null || { echo "skipped: lintian is not installed"; exit 77; }
status=0
output=$(lintian --allow-root --tag-display-limit 0 "$deb" 2>&1) || status=$?
echo "$output"
errors=$(grep -c '^E: ' <<<"$output" || true)
echo "$errors errors"
[ "$errors" = 0 ] || exit 1
# lintian exits 2 when it could not check at all.
[ "$status" != 2 ] || exit 1
