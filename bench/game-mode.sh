#!/usr/bin/env bash
# Enables and disables Game Mode 500 times with every system part answering at once and reports
# the longest UI-thread slice per operation (median, 90th percentile, max).
# Usage: bench/game-mode.sh [BUILD-FOLDER]   (default: the release build, built first)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
if [ $# -eq 0 ]; then
    cd "$root"
    . tools/packages.sh
    kv_install "${build_packages[@]}"
    kv_build release
fi
build=${1:-$root/build/release}
"$build/bench/kv_bench_game_mode" 500 40
