#pragma once

#include "WaylandOutputMode.h"
#include "platform/DisplayResolution.h"
#include "platform/ToolRunner.h"

namespace platform {

/// The main display's mode on wlroots compositors (Sway and others), through wlr-randr.
class WlrRandrDisplayResolution final : public DisplayResolution {
public:
    explicit WlrRandrDisplayResolution(ToolRunner &runner);

    QCoro::Task<Query> current() override;
    QCoro::Task<bool> change(QSize size) override;

    [[nodiscard]] static ToolRequest queryRequest();
    /// "--output NAME --mode WxH".
    [[nodiscard]] static ToolRequest changeRequest(const QString &output,
                                                   const WaylandOutputMode &mode);

private:
    ToolRunner &m_runner;
};

} // namespace platform
