#!/usr/bin/env bash
# A metadata file as it is installed, checked by its format's own validator; no error, no
# warning. Skips (77) when the validator is not installed.
# Usage: validate.sh desktop FILE | metainfo FILE | policy FILE HELPER-PATH
set -euo pipefail
kind=$1 file=$2
need() { command -v "$1" >/dev/null || { echo "skipped: $1 is not installed"; exit 77; }; }

case $kind in
desktop)
    need desktop-file-validate
    # It prints errors, warnings and hints, one a line; any of them fails the entry.
    output=$(desktop-file-validate "$file" 2>&1) || { echo "$output"; exit 1; }
    [ -z "$output" ] || { echo "$output"; exit 1; }
    echo "ok - $file"
    ;;
metainfo)
    need appstreamcli
    status=0
    output=$(appstreamcli validate --no-net --no-color "$file" 2>&1) || status=$?
    echo "$output"
    [ "$status" = 0 ] || exit 1
    # Errors and warnings fail; the validator's informational and pedantic notes do not.
    ! grep -E '^[[:space:]]*(E|W):' <<<"$output" || exit 1
    ;;
policy)
    need xmllint
    helper=$3
    dtd=/usr/share/polkit-1/policyconfig-1.dtd
    [ -f "$dtd" ] || { echo "skipped: polkit's DTD ($dtd) is not installed"; exit 77; }
    xmllint --noout --nonet --dtdvalid "$dtd" "$file"
    # Every action names the installed helper's exact path and one verb of its own.
    actions=$(xmllint --xpath 'count(//action)' "$file")
    paths=$(xmllint --xpath "count(//action/annotate[@key='org.freedesktop.policykit.exec.path' and text()='$helper'])" "$file")
    verbs=$(xmllint --xpath "//action/annotate[@key='org.freedesktop.policykit.exec.argv1']/text()" "$file" | sort)
    [ "$actions" -ge 4 ] || { echo "only $actions actions"; exit 1; }
    [ "$paths" = "$actions" ] || { echo "$paths of $actions actions name $helper"; exit 1; }
    [ "$(uniq <<<"$verbs" | wc -l)" = "$actions" ] || { echo "verbs: $verbs"; exit 1; }
    echo "ok - $actions actions for $helper: $(echo $verbs)"
    ;;
*)
    echo "unknown kind $kind"
    exit 2
    ;;
esac
