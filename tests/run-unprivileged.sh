#!/bin/sh
# Runs a test binary as the unprivileged user "nobody" when the suite runs as root; otherwise
# the ordinary run already was unprivileged and this one is skipped (exit 77).
[ "$(id -u)" = 0 ] || exit 77
export HOME=/nonexistent TMPDIR=/tmp
exec setpriv --reuid=nobody --regid=nogroup --clear-groups --inh-caps=-all --bounding-set=-all -- "$@"
