#!/usr/bin/env bash
# Enables and disables Game Mode 500 times with every system part answering at once and reports
# the longest UI-thread slice per operation (median, 90th percentile, max).
# Then, as root, the game's share of one contended core over 5 s with Game Mode off, with the
# renices alone, with the whole Game Mode and after switching it off (skipped when not root).
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
if [ "$(id -u)" = 0 ]; then
    "$build/bench/kv_bench_game_mode" share "$build/helper/kestrelvanta-helper"
else
    echo "the share of a contended core needs root: the helper runs directly"
fi
