#pragma once

#include "platform/DisplayResolution.h"
#include "platform/ToolRunner.h"

namespace platform {

/// The main display's mode through xrandr, on X11 sessions. A Wayland session's outputs are
/// not X's to change; there the query fails and every change is refused.
class XrandrDisplayResolution final : public DisplayResolution {
public:
    XrandrDisplayResolution(ToolRunner &runner, bool waylandSession);

    QCoro::Task<Query> current() override;
    QCoro::Task<bool> change(QSize size) override;

    [[nodiscard]] static ToolRequest queryRequest();

private:
    ToolRunner &m_runner;
    bool m_waylandSession;
};

} // namespace platform
