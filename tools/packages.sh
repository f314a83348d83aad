# Sourced by tools/run, tools/test and the benchmarks: the Debian packages each needs, and an
# installer that does nothing when they are all present already.

# Building the program.
build_packages=(
    build-essential cmake ninja-build pkg-config
    qt6-base-dev qt6-declarative-dev qt6-declarative-dev-tools libqt6opengl6-dev qt6-svg-dev
    qcoro-qt6-dev libxcb1-dev
    fonts-material-design-icons-iconfont
)

# Running it: the QML modules it imports, the Wayland platform plugin, a font for its text, and
# the system tools it starts (ping for the latency figures, iw for the Wi-Fi name and standard,
# pkexec for the optimizer's root helper, xrandr for the resolution switch, xdg-screensaver to keep
# an X display awake where no desktop service does).
run_packages=(
    qml6-module-qtqml qml6-module-qtqml-workerscript
    qml6-module-qtquick qml6-module-qtquick-window qml6-module-qtquick-layouts
    qml6-module-qtquick-templates qml6-module-qtquick-controls
    libqt6svg6 qt6-wayland fonts-dejavu-core
    iputils-ping iw pkexec x11-xserver-utils xdg-utils
)

# Testing it: a private X server with a window manager and the tools that drive and photograph
# the window, an unprivileged user switch, the formatter the style check runs, an independent
# Trash implementation to check ours against, a private D-Bus daemon for the fake services, and
# ip for the network namespace in which the interface counters are checked, and a sound server
# with a null sink for the mute switch, and PDF tools written elsewhere that read the session
# report back (page size, text, images, structure) and render it for a look.
test_packages=(
    xvfb xauth openbox x11-utils xdotool wmctrl imagemagick util-linux clang-format trash-cli
    dbus-daemon iproute2 pulseaudio pulseaudio-utils poppler-utils qpdf
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

# kv_build PRESET: configures (once) and builds one of the CMake presets; says nothing when
# there is nothing to build.
kv_build() {
    [ -f "build/$1/build.ninja" ] || cmake --preset "$1"
    [ "$(cd "build/$1" && ninja -n 2>/dev/null)" != "ninja: no work to do." ] || return 0
    cmake --build --preset "$1"
}
