#!/usr/bin/env bash
# Starts the real application under a private X server with a temporary HOME and saves PNG
# screenshots of the welcome screen, the working layout (Dashboard tab) and the settings screen.
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

kv_start_x
home=$(kv_new_home)
kv_launch "$home"
window=$(kv_window)
xdotool windowactivate --sync "$window" >/dev/null 2>&1 || true
shoot "$window" welcome.png

# The keyboard drives the window: the first Tab reaches "Get Started", and in the working layout
# the tabs come first in the focus chain.
xdotool key --window "$window" Tab space
shoot "$window" dashboard.png
xdotool key --window "$window" Tab Tab Tab Tab space
shoot "$window" settings.png

# The optimizers tab, then the same after "Enable Game Mode" (nothing privileged runs here: the
# helper is not installed in a build tree, so those steps only drop their lines).
xdotool mousemove --window "$window" 170 20 click 1
shoot "$window" optimizers.png
xdotool mousemove --window "$window" 500 183 click 1
sleep 2
shoot "$window" optimizers-game-mode.png
