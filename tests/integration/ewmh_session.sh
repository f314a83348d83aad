#!/usr/bin/env bash
# Runs a test program inside a private X server with openbox, the EWMH window manager.
# Usage: ewmh_session.sh TEST-PROGRAM [ARGS...]
set -euo pipefail
root=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=xsession.sh
. "$root/xsession.sh"
kv_start_x
KV_PRIVATE_X=1 "$@"
