#pragma once

#include <QProcessEnvironment>

namespace platform {

/// Which tool can change the display's mode in the session this program runs in.
class DisplayBackendChoice {
public:
    enum class Backend {
        Xrandr,        ///< an X11 session
        KscreenDoctor, ///< KDE Plasma on Wayland
        Mutter,        ///< GNOME on Wayland, through its display configuration service
        Sway,          ///< sway, through its own IPC tool
        WlrRandr,      ///< another Wayland compositor, tried as a wlroots one
    };

    /// A Wayland session: XDG_SESSION_TYPE says so, or WAYLAND_DISPLAY is set without an X
    /// display. XWayland's DISPLAY alone does not make an X session: its modes are not real.
    [[nodiscard]] static bool isWaylandSession(const QProcessEnvironment &environment);
    [[nodiscard]] static Backend choose(const QProcessEnvironment &environment);
};

} // namespace platform
