#pragma once

#include "WaylandOutput.h"

#include <QByteArray>

#include <optional>

namespace platform {

/// Reads "swaymsg -t get_outputs -r" (sway's IPC answer, JSON): which output is the main display
/// and its modes.
class SwayOutputsQuery {
public:
    /// The first active output with a current mode, as sway lists them; nothing for text that
    /// is not such a list, or when the output's name could not be written into a sway command
    /// as one word. An output without a mode list (a headless or nested one) takes any size.
    [[nodiscard]] static std::optional<WaylandOutput> mainOutput(const QByteArray &json);
};

} // namespace platform
