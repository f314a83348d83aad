#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

namespace platform {

/// Reads sway's window tree ("swaymsg -t get_tree", the IPC's GET_TREE answer, JSON).
class SwayTreeQuery {
public:
    /// One window, native Wayland or XWayland, as sway describes it.
    struct Window {
        qint32 pid = 0;
        QString appId;       ///< the Wayland app_id; empty for XWayland windows
        QString instance;    ///< WM_CLASS instance, for XWayland windows
        QString windowClass; ///< WM_CLASS class, for XWayland windows
        bool focused = false;

        friend bool operator==(const Window &, const Window &) = default;
    };

    /// Every window in the tree, tiled and floating, depth first in sway's order (workspaces'
    /// scratchpad included); nothing for text that is not a tree.
    [[nodiscard]] static QList<Window> windows(const QByteArray &json);
};

} // namespace platform
