# Sourced by tools/run, tools/test and the benchmarks: the Debian packages each needs, and an
# installer that does nothing when they are all present already.

# Building the program.
build_packages=(
    build-essential cmake ninja-build pkg-config
    qt6-base-dev qt6-declarative-dev qt6-declarative-dev-tools libqt6opengl6-dev qt6-svg-dev
    qcoro-qt6-dev libxcb1-dev libxcb-res0-dev
    fonts-material-design-icons-iconfont
)

# Running it: the packages the installed program depends on (packaging/depends, the list the
# Debian package's dependencies are made from; the first of each "a | b"), and the Debian
# tools that pack it (CPack finds the binaries to read with file, dpkg-shlibdeps reads them).
mapfile -t run_packages < <(grep -v '^#' "$(dirname "${BASH_SOURCE[0]}")/../packaging/depends" |
    sed 's/[[:space:]]*|.*//' | grep .)
build_packages+=(dpkg-dev file)

# Testing it: a private X server with a window manager and the tools that drive and photograph
# the window, an unprivileged user switch, the formatter the style check runs, an independent
# Trash implementation to check ours against, a private D-Bus daemon for the fake services, and
# ip for the network namespace in which the interface counters are checked, and a sound server
# with a null sink for the mute switch, and PDF tools written elsewhere that read the session
# report back (page size, text, images, structure) and render it for a look; and the checkers of
# the package and its metadata (lintian, the desktop entry's and AppStream's validators, xmllint
# for polkit's DTD) with polkitd itself, which the elevation test runs on a private bus; and a
# headless sway with its screenshot tool, a headless Mutter (with gdbus to ask it) and KWin's
# virtual backend with kscreen-doctor (a Qt 5 program: it needs Qt 5's Wayland plugin), in which
# the program runs natively on Wayland; and clang with libFuzzer for the parsers' fuzz
# targets.
test_packages=(
    xvfb xauth openbox x11-utils xdotool wmctrl imagemagick util-linux clang-format trash-cli
    dbus-daemon iproute2 pulseaudio pulseaudio-utils poppler-utils qpdf
    lintian desktop-file-utils appstream libxml2-utils polkitd
    sway grim mutter libglib2.0-bin kwin-wayland kscreen qtwayland5
    clang-14 libclang-rt-14-dev
)

# kv_install PACKAGE...: installs those not yet installed (with sudo when not root).
kv_install() {
    local missing=() package
    for package in "$@"; do
        if ! dpkg-query -W -f='${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed; then
            missing+=("$package")
        fi
    done
    [ "${#missing[@]}" -gt 0 ] || return 0
    local sudo=()
    [ "$(id -u)" = 0 ] || sudo=(sudo)
    echo "Installing: ${missing[*]}"
    "${sudo[@]}" apt-get update -q
    DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y -q --no-install-recommends \
        "${missing[@]}"
}

# kv_build PRESET: configures (again when the presets changed) and builds one of the CMake
# presets; says nothing when there is nothing to build. Sets kv_built to 1 when it built.
kv_built=0
kv_build() {
    if [ ! -f "build/$1/build.ninja" ] || [ CMakePresets.json -nt "build/$1/CMakeCache.txt" ]; then
        cmake --preset "$1" >/dev/null
    fi
    [ "$(cd "build/$1" && ninja -n 2>/dev/null)" != "ninja: no work to do." ] || return 0
    cmake --build --preset "$1"
    kv_built=1
}

# kv_package PRESET: the Debian package of a built preset, packed again only when the build
# changed. Prints its path.
kv_package() {
    local out="build/$1/package" debs
    shopt -s nullglob
    debs=("$out"/*.deb)
    shopt -u nullglob
    if [ "$kv_built" = 1 ] || [ "${#debs[@]}" != 1 ]; then
        rm -rf "$out"
        cpack --config "build/$1/CPackConfig.cmake" -G DEB -B "$out" >"build/$1/cpack.log" 2>&1 ||
            { cat "build/$1/cpack.log" >&2; return 1; }
        debs=("$out"/*.deb)
    fi
    echo "${debs[0]}"
}

# kv_install_package DEB: installs the package (with sudo when not root) unless the installed
# one has the same files, together with what it depends on.
kv_install_package() {
    local deb=$1 sudo=()
    if [ "$(dpkg-query -W -f='${db:Status-Status}' kestrelvanta 2>/dev/null)" = installed ] &&
        cmp -s <(dpkg-deb --ctrl-tarfile "$deb" | tar -xO ./md5sums) \
            /var/lib/dpkg/info/kestrelvanta.md5sums; then
        return 0
    fi
    [ "$(id -u)" = 0 ] || sudo=(sudo)
    echo "Installing $deb"
    local install=(env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --reinstall
        "$(realpath "$deb")")
    # A machine whose package lists are empty or old first fetches them, then tries again.
    "${sudo[@]}" "${install[@]}" || { "${sudo[@]}" apt-get update -q && "${sudo[@]}" "${install[@]}"; }
}
