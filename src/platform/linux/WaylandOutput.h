#pragma once

#include "WaylandOutputMode.h"

#include <QList>
#include <QString>

#include <cmath>
#include <optional>

namespace platform {

/// An output as a Wayland compositor's tool describes it: its modes and the one it shows.
struct WaylandOutput {
    QString name;
    QList<WaylandOutputMode> modes;
    std::optional<WaylandOutputMode> current;
    /// The output lists no modes and takes any size (sway's headless and nested outputs).
    bool anySize = false;

    /// The mode of that size to switch to: the current refresh rate when the size offers it,
    /// else the highest one. An output that takes any size keeps its refresh rate.
    [[nodiscard]] std::optional<WaylandOutputMode> modeFor(QSize size) const
    {
        if (anySize && current && !size.isEmpty()) {
            return WaylandOutputMode{QString(), size, current->refreshRate};
        }
        std::optional<WaylandOutputMode> best;
        for (const WaylandOutputMode &mode : modes) {
            if (mode.size != size) {
                continue;
            }
            // Rounded as doubles: a tool's absurd rate would not fit an int.
            if (current && std::round(mode.refreshRate) == std::round(current->refreshRate)) {
                return mode;
            }
            if (!best || mode.refreshRate > best->refreshRate) {
                best = mode;
            }
        }
        return best;
    }
};

} // namespace platform
