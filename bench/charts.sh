#!/usr/bin/env bash
# Times the painting of the dashboard's two live charts, as one sample repaints them, over 500
# paintings each (median and 90th percentile), on Qt's thread pool as in the application.
# Usage: bench/charts.sh [BUILD-FOLDER]   (default: the release build, installed and built first)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
if [ $# -eq 0 ]; then
    cd "$root"
    . tools/packages.sh
    kv_install "${build_packages[@]}" "${run_packages[@]}"
    kv_build release
fi
build=${1:-$root/build/release}
QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen} "$build/bench/kv_bench_charts" 500
