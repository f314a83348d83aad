#!/usr/bin/env bash
# Times one sampling tick of the system monitor over 10,000 ticks (median, 90th percentile, max).
# Usage: bench/telemetry.sh [BUILD-FOLDER]   (default: the release build, installed and built first)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
if [ $# -eq 0 ]; then
    cd "$root"
    . tools/packages.sh
    kv_install "${build_packages[@]}" "${run_packages[@]}"
    kv_build release
fi
build=${1:-$root/build/release}
"$build/bench/kv_bench_telemetry_tick" 10000
