#!/usr/bin/env bash
# Starts the real application under a private X server with a temporary HOME and saves PNG
# screenshots of the welcome screen, the working layout (Dashboard tab), the settings screen and
# the cleaner screen after a real scan of a synthetic home (sparse files, so they cost no space),
# the optimizers screen and the alert after a short session recording.
# Usage: tools/screenshots.sh [PATH-TO-kestrelvanta] [OUTPUT-FOLDER]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
KV_APP=${1:-$root/build/dev/src/app/kestrelvanta}
out=${2:-$root/docs/screenshots}
mkdir -p "$out"
# shellcheck source=../tests/integration/xsession.sh
. "$root/tests/integration/xsession.sh"

shoot() {
    # Let the cross-fade finish and the background settle before taking the picture.
    sleep 1.2
    import -window "$1" "$out/$2"
    echo "$out/$2"
}

# A synthetic home for the cleaner to find things in: sizes by truncate, dates by touch -d.
plant() { # plant PATH SIZE DAYS-AGO
    mkdir -p "$(dirname "$1")"
    truncate -s "$2" "$1"
    touch -m -d "@$(($(date +%s) - $3 * 86400))" "$1"
}
synthetic_home() {
    local h=$1
    plant "$h/Downloads/ubuntu-24.04-desktop-amd64.iso" 6114656256 40
    plant "$h/Downloads/GameSetup_v2.1.zip" 412090368 90
    plant "$h/Downloads/trailer.mp4" 88080384 3
    plant "$h/Videos/Gameplay 2024-05-01.mkv" 3435973836 20
    plant "$h/Videos/Clips/boss fight.mov" 734003200 200
    plant "$h/Projects/engine/build/debug.log" 157286400 70
    plant "$h/.cache/mesa_shader_cache/index" 83886080 0
    plant "$h/.cache/thumbnails/large/cache.db" 12582912 30
    plant "$h/.local/state/wireplumber/stream.log" 5242880 2
    plant "$h/tmp/crash-report.dmp" 26214400 1
    plant "$h/.ssh/id_ed25519.big" 209715200 400
}

kv_start_x
home=$(kv_new_home)
synthetic_home "$home"
kv_launch "$home" TMPDIR="$home/tmp"
window=$(kv_window)
xdotool windowactivate --sync "$window" >/dev/null 2>&1 || true
shoot "$window" welcome.png

# The keyboard drives the window: the first Tab reaches "Get Started", and in the working layout
# the tabs come first in the focus chain.
xdotool key --window "$window" Tab space
shoot "$window" dashboard.png
xdotool key --window "$window" Tab Tab Tab Tab space
shoot "$window" settings.png
# Back to the Cleaner tab, then on to its scan button, and a real scan of the synthetic home.
xdotool key --window "$window" shift+Tab space
sleep 0.3
xdotool key --window "$window" Tab Tab space
sleep 3
shoot "$window" cleaner.png

# The optimizers tab, then the same after "Enable Game Mode" (nothing privileged runs here: the
# helper is not installed in a build tree, so those steps only drop their lines).
xdotool mousemove --window "$window" 170 20 click 1
shoot "$window" optimizers.png
xdotool mousemove --window "$window" 500 183 click 1
sleep 2
shoot "$window" optimizers-game-mode.png

# Back on the dashboard: scroll to the session card, record for a few seconds and stop; the
# report lands in the temporary home's Desktop folder and the alert shows.
xdotool mousemove --window "$window" 70 23 click 1
sleep 1
xdotool mousemove --window "$window" 500 400 click --repeat 20 --delay 30 5
sleep 1
xdotool mousemove --window "$window" 930 580 click 1
sleep 3
xdotool mousemove --window "$window" 930 580 click 1
sleep 2
shoot "$window" session-report-alert.png
