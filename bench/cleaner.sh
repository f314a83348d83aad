#!/usr/bin/env bash
# The disk cleaner's benchmark: builds the release configuration, makes synthetic homes of
# 100,000, 300,000 and 1,000,000 files (bench/make_home.sh), and with a warm cache runs one
# `du -sk` of the home and the whole five-phase scan back to back, ROUNDS times (default 5),
# printing the median wall time of each, their ratio, the median processor time (user + system,
# du's own or the scan's with its du children: what a busy machine has to share out) and the
# scan's peak resident memory. The platform
# walk, std::filesystem's iterator and `find HOME -type f -size +10M` are timed once beside them.
# Usage: bench/cleaner.sh [WORK-FOLDER] [ROUNDS]   (the files are sparse: they take inodes, not
# space; SIZES="100000 300000" picks the homes)
set -euo pipefail
cd "$(dirname "$0")/.."
. tools/packages.sh
kv_install "${build_packages[@]}"
kv_build release
bench=build/release/bench/kv_scan_bench
work=${1:-$(mktemp -d "${TMPDIR:-/tmp}/kv-cleaner-bench.XXXXXX")}
rounds=${2:-5}
trap 'rm -rf "$work"' EXIT

seconds() { # seconds COMMAND...: wall time of one run, output discarded
    local start end ns
    start=$(date +%s%N)
    "$@" >/dev/null 2>&1 || true
    end=$(date +%s%N)
    ns=$((end - start))
    printf '%d.%03d' $((ns / 1000000000)) $((ns / 1000000 % 1000))
}

timed() { # timed COMMAND...: "WALL CPU" of one run in seconds, output discarded
    local TIMEFORMAT='%R %U %S' times
    times=$({ time "$@" >/dev/null 2>&1; } 2>&1) || true
    awk '{ printf "%s %.3f\n", $1, $2 + $3 }' <<<"$times"
}

median() { # median NUMBERS...
    printf '%s\n' "$@" | sort -g | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'
}

for files in ${SIZES:-100000 300000 1000000}; do
    home="$work/home-$files"
    bench/make_home.sh "$home" "$files" $((files / 15)) >/dev/null
    du -sk "$home" >/dev/null # warm the cache
    # Also the scan's peak memory: "scan: 1.234 s, peak RSS 18000 KiB"
    read -r _ _ _ _ _ peak _ < <("$bench" "$home" scan | tail -n1)
    echo "== $files files"
    echo "find HOME -type f -size +10M: $(seconds find "$home" -type f -size +10M) s"
    "$bench" "$home" walk | tail -n1
    "$bench" "$home" iterator | tail -n1
    du_times=() du_cpu=() scan_times=() scan_cpu=()
    for ((round = 0; round < rounds; round++)); do
        read -r wall cpu < <(timed du -sk "$home")
        du_times+=("$wall") du_cpu+=("$cpu")
        read -r wall cpu < <(timed "$bench" "$home" scan)
        scan_times+=("$wall") scan_cpu+=("$cpu")
    done
    du_median=$(median "${du_times[@]}")
    scan_median=$(median "${scan_times[@]}")
    echo "du -sk HOME:  ${du_times[*]} s, median $du_median s, processor $(median "${du_cpu[@]}") s"
    echo "scan:         ${scan_times[*]} s, median $scan_median s, processor $(median "${scan_cpu[@]}") s"
    echo "scan / du:    $(awk -v s="$scan_median" -v d="$du_median" 'BEGIN { printf "%.2f", s / d }')"
    echo "scan peak RSS: $peak KiB"
    rm -rf "$home"
done
