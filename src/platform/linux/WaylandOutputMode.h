#pragma once

#include <QSize>
#include <QString>

namespace platform {

/// One mode a Wayland compositor's tool lists for an output.
struct WaylandOutputMode {
    QString id; ///< the tool's own identifier, when it has one
    QSize size;
    double refreshRate = 0; ///< Hz

    friend bool operator==(const WaylandOutputMode &, const WaylandOutputMode &) = default;
};

} // namespace platform
