#!/usr/bin/env bash
# Network benchmark: the cost of one counter sample with 50 interfaces, and the speed test's
# accuracy at 10, 100 and 1,000 Mbit/s against a paced local server. Needs root for the namespace.
# Usage: bench/network.sh [BUILD-FOLDER]   (default: the release build, installed and built first)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
if [ $# -eq 0 ]; then
    cd "$root"
    . tools/packages.sh
    kv_install "${build_packages[@]}" "${run_packages[@]}" iproute2
    kv_build release
fi
build=${1:-$root/build/release}
exec "$build/bench/kv_bench_network"
