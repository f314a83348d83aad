#!/usr/bin/env bash
# Times one session-logger sample over 10,000 samples, and the session report for an hour
# (3,600 records) and ten hours (36,000): the aggregation and the whole PDF (median of 21), with
# the peak memory of each run in a process of its own.
# Usage: bench/report.sh [BUILD-FOLDER]   (default: the release build, installed and built first)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
if [ $# -eq 0 ]; then
    cd "$root"
    . tools/packages.sh
    kv_install "${build_packages[@]}" "${run_packages[@]}"
    kv_build release
fi
build=${1:-$root/build/release}
export QT_QPA_PLATFORM=offscreen
"$build/bench/kv_bench_report" logger 10000
"$build/bench/kv_bench_report" report 3600 21
"$build/bench/kv_bench_report" report 36000 21
