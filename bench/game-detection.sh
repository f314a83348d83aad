#!/usr/bin/env bash
# Times game detection with 200 windows open (median over 200 detections), under a private X
# server with openbox; the windows belong to made-up processes and nothing else is touched.
# Usage: bench/game-detection.sh [BUILD-FOLDER]   (default: the release build, built first)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
if [ $# -eq 0 ]; then
    cd "$root"
    . tools/packages.sh
    kv_install "${build_packages[@]}" "${test_packages[@]}"
    kv_build release
fi
build=${1:-$root/build/release}
# shellcheck source=../tests/integration/xsession.sh
. "$root/tests/integration/xsession.sh"
kv_start_x
HOME="$kv_tmp" XDG_DATA_HOME="$kv_tmp/data" "$build/bench/kv_bench_game_detection" 200 200
