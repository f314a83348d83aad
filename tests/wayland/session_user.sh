# Sourced first by the compositor session scripts: runs the script again in a fresh temporary
# folder ($KV_TMP, removed at the end), as the user nobody when started as root (compositors
# are not meant to run as root, and KWin refuses to), with a clean environment. In the second
# run it only sets HOME and a private XDG_RUNTIME_DIR inside that folder.
if [ "${1:-}" != --inside ]; then
    KV_TMP=$(mktemp -d "${TMPDIR:-/tmp}/kv-wayland.XXXXXX")
    trap 'rm -rf "$KV_TMP"' EXIT
    chmod 755 "$KV_TMP"
    as_user=()
    if [ "$(id -u)" = 0 ]; then
        chown nobody:nogroup "$KV_TMP"
        as_user=(setpriv --reuid=nobody --regid=nogroup --clear-groups)
    fi
    status=0
    # The sanitizers' settings of the build under test go through.
    "${as_user[@]}" env -i PATH=/usr/bin:/bin "KV_TMP=$KV_TMP" \
        "ASAN_OPTIONS=${ASAN_OPTIONS:-}" "UBSAN_OPTIONS=${UBSAN_OPTIONS:-}" \
        "$(realpath "$0")" --inside "$@" || status=$?
    exit "$status"
fi
shift
export HOME=$KV_TMP/home XDG_RUNTIME_DIR=$KV_TMP/runtime
mkdir -p "$HOME" "$XDG_RUNTIME_DIR"
chmod 700 "$XDG_RUNTIME_DIR"
