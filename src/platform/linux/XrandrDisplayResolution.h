#pragma once

#include "platform/DisplayResolution.h"
#include "platform/ToolRunner.h"

namespace platform {

/// The main display's mode through xrandr, on X11 sessions (Wayland sessions have their own
/// backends).
class XrandrDisplayResolution final : public DisplayResolution {
public:
    explicit XrandrDisplayResolution(ToolRunner &runner);

    QCoro::Task<Query> current() override;
    QCoro::Task<bool> change(QSize size) override;

    [[nodiscard]] static ToolRequest queryRequest();

private:
    ToolRunner &m_runner;
};

} // namespace platform
