#pragma once

#include "WaylandOutput.h"

#include <QByteArray>

#include <optional>

namespace platform {

/// Reads "wlr-randr" (wlroots compositors such as Sway): the first enabled output that shows a
/// mode, since these compositors have no primary output.
class WlrRandrQuery {
public:
    [[nodiscard]] static std::optional<WaylandOutput> mainOutput(const QByteArray &text);
};

} // namespace platform
