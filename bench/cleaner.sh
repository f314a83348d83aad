#!/usr/bin/env bash
# The disk cleaner's benchmark: builds the release configuration, makes synthetic homes of
# 100,000 and 300,000 files (bench/make_home.sh), and with a warm cache times one `du -sk` of the
# tree, `find HOME -type f -size +10M`, the platform walk, std::filesystem's iterator and the
# whole five-phase scan, with the scan's peak resident memory for each size.
# Usage: bench/cleaner.sh [WORK-FOLDER]   (the files are sparse: they take inodes, not space)
set -euo pipefail
cd "$(dirname "$0")/.."
. tools/packages.sh
kv_install "${build_packages[@]}"
kv_build release
bench=build/release/bench/kv_scan_bench
work=${1:-$(mktemp -d "${TMPDIR:-/tmp}/kv-cleaner-bench.XXXXXX")}
trap 'rm -rf "$work"' EXIT

seconds() { # seconds COMMAND...: wall time of one run, output discarded
    local start end ns
    start=$(date +%s%N)
    "$@" >/dev/null 2>&1 || true
    end=$(date +%s%N)
    ns=$((end - start))
    printf '%d.%03d' $((ns / 1000000000)) $((ns / 1000000 % 1000))
}

for files in 100000 300000; do
    home="$work/home-$files"
    bench/make_home.sh "$home" "$files" $((files / 15)) >/dev/null
    du -sk "$home" >/dev/null # warm the cache
    "$bench" "$home" walk >/dev/null
    echo "== $files files"
    echo "du -sk HOME:                  $(seconds du -sk "$home") s"
    echo "find HOME -type f -size +10M: $(seconds find "$home" -type f -size +10M) s"
    "$bench" "$home" walk | tail -n1
    "$bench" "$home" iterator | tail -n1
    "$bench" "$home" scan | tail -n1
    rm -rf "$home"
done
