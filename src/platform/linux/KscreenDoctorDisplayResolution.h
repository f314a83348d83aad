#pragma once

#include "WaylandOutputMode.h"
#include "platform/DisplayResolution.h"
#include "platform/ToolRunner.h"

namespace platform {

/// The main display's mode on KDE Plasma's Wayland sessions, through kscreen-doctor.
class KscreenDoctorDisplayResolution final : public DisplayResolution {
public:
    explicit KscreenDoctorDisplayResolution(ToolRunner &runner);

    QCoro::Task<Query> current() override;
    QCoro::Task<bool> change(QSize size) override;

    [[nodiscard]] static ToolRequest queryRequest();
    /// "output.NAME.mode.WxH@RATE", the rate rounded to whole hertz as the tool writes it.
    [[nodiscard]] static ToolRequest changeRequest(const QString &output,
                                                   const WaylandOutputMode &mode);

private:
    ToolRunner &m_runner;
};

} // namespace platform
