#pragma once

#include "WaylandOutput.h"

#include <QByteArray>

#include <optional>

namespace platform {

/// Reads "kscreen-doctor --json" (KDE Plasma): which output is the main display and its modes.
class KscreenDoctorQuery {
public:
    /// The primary enabled and connected output (on newer Plasma the one of priority 1) with a
    /// current mode, else the first enabled, connected one that has one; nothing for text that
    /// is not such a document.
    [[nodiscard]] static std::optional<WaylandOutput> mainOutput(const QByteArray &json);
};

} // namespace platform
