#pragma once

#include "FuzzCheck.h"
#include "platform/linux/WaylandOutput.h"

#include <cmath>

/// What every Wayland tool's reading promises: a named output, modes of real size with a refresh
/// rate that is a number, and a current mode among them.
inline void checkWaylandOutput(const std::optional<platform::WaylandOutput> &output)
{
    if (!output) {
        return;
    }
    FUZZ_CHECK(!output->name.isEmpty());
    for (const platform::WaylandOutputMode &mode : output->modes) {
        FUZZ_CHECK(mode.size.width() > 0 && mode.size.height() > 0);
        FUZZ_CHECK(std::isfinite(mode.refreshRate));
        // Choosing a mode of that size compares rounded refresh rates.
        FUZZ_CHECK(output->modeFor(mode.size).has_value());
    }
    if (output->current) {
        FUZZ_CHECK(output->current->size.width() > 0 && output->current->size.height() > 0);
        FUZZ_CHECK(std::isfinite(output->current->refreshRate));
        FUZZ_CHECK(output->modeFor(output->current->size).has_value());
    }
}
