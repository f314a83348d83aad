#pragma once

#include <QByteArray>
#include <QSize>
#include <QString>

#include <optional>

namespace platform {

/// Reads "xrandr --current": which output is the main display and the mode it shows.
class XrandrQuery {
public:
    struct Output {
        QString name;
        QSize size; ///< the mode's size, in the monitor's own orientation
        friend bool operator==(const Output &, const Output &) = default;
    };

    /// The primary connected output with its current mode ("WxH+X+Y" on its line), else the
    /// first connected output that shows a mode. A monitor turned to portrait gives its mode's
    /// size as the mode is named ("1920x1080"), not as it lies on the screen.
    [[nodiscard]] static std::optional<Output> mainOutput(const QByteArray &text);
};

} // namespace platform
