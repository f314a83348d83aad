#!/usr/bin/env bash
# Packs this build tree into its Debian package, in OUT-DIR (emptied first).
# Usage: pack.sh CPACK BUILD-DIR OUT-DIR
set -euo pipefail
cpack=$1 build=$2 out=$3
for tool in dpkg-shlibdeps file; do
    command -v "$tool" >/dev/null || { echo "$tool is missing (tools/packages.sh installs it)"; exit 1; }
done
rm -rf "$out"
mkdir -p "$out"
"$cpack" --config "$build/CPackConfig.cmake" -G DEB -B "$out" >"$out/cpack.log" 2>&1 ||
    { cat "$out/cpack.log"; exit 1; }
shopt -s nullglob
debs=("$out"/*.deb)
[ "${#debs[@]}" = 1 ] || { echo "expected one package, found ${#debs[@]}"; cat "$out/cpack.log"; exit 1; }
echo "${debs[0]}"
