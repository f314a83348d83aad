#!/usr/bin/env bash
# Writes a sample session report (an hour of records) and renders its page to PNG with
# pdftoppm, to look at: docs/screenshots/session-report.png unless another path is given.
# Usage: tools/report-preview.sh [PNG-PATH] [BUILD-FOLDER]   (default build: build/dev)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
png=${1:-$root/docs/screenshots/session-report.png}
build=${2:-$root/build/dev}
cmake --build "$build" --target kv_bench_report >/dev/null
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
QT_QPA_PLATFORM=offscreen "$build/bench/kv_bench_report" sample 3600 "$work/report.pdf"
pdftoppm -png -r 100 -singlefile "$work/report.pdf" "$work/page"
mkdir -p "$(dirname "$png")"
mv "$work/page.png" "$png"
echo "$png"
