#pragma once

#include "WaylandOutput.h"
#include "WaylandOutputMode.h"
#include "platform/DisplayResolution.h"
#include "platform/ToolRunner.h"

#include <QStringList>

#include <functional>
#include <optional>

namespace platform {

/// The main display's mode on a Wayland compositor, through the compositor's own command-line
/// tool: kscreen-doctor on KDE Plasma, swaymsg on sway, wlr-randr on other wlroots compositors.
/// Every change is read back, and a size the display does not list is never sent.
class WaylandToolDisplayResolution final : public DisplayResolution {
public:
    /// How one tool is asked for the outputs and told to change a mode.
    struct Tool {
        QString program;
        QStringList queryArguments;
        std::function<QStringList(const QString &output, const WaylandOutputMode &mode)>
            changeArguments;
        std::function<std::optional<WaylandOutput>(const QByteArray &output)> mainOutput;
    };

    /// "kscreen-doctor --json"; "output.NAME.mode.WxH@RATE", the rate rounded to whole hertz as
    /// the tool writes it.
    [[nodiscard]] static Tool kscreenDoctor();
    /// "wlr-randr"; "--output NAME --mode WxH".
    [[nodiscard]] static Tool wlrRandr();
    /// "swaymsg -t get_outputs -r"; "swaymsg -- output NAME mode WxH@RATEHz".
    [[nodiscard]] static Tool swaymsg();

    WaylandToolDisplayResolution(ToolRunner &runner, Tool tool);

    QCoro::Task<Query> current() override;
    QCoro::Task<bool> change(QSize size) override;

private:
    [[nodiscard]] ToolRequest queryRequest() const;

    ToolRunner &m_runner;
    Tool m_tool;
};

} // namespace platform
