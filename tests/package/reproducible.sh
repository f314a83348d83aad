#!/usr/bin/env bash
# The same build tree packed twice, a second apart, gives the same bytes.
# Usage: reproducible.sh CPACK BUILD-DIR FIRST-PACKAGE-DIR
set -euo pipefail
cpack=$1 build=$2 first_dir=$3
here=$(dirname "$0")
first=$(ls "$first_dir"/*.deb)
second_dir=$(mktemp -d)
trap 'rm -rf "$second_dir"' EXIT
sleep 1
second=$("$here/pack.sh" "$cpack" "$build" "$second_dir")
if ! cmp "$first" "$second"; then
    command -v diffoscope >/dev/null && diffoscope "$first" "$second" | head -40
    exit 1
fi
echo "ok - $(basename "$first"): $(sha256sum <"$first" | cut -c1-16) twice"
