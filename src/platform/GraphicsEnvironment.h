#pragma once

#include <QProcessEnvironment>
#include <QString>

namespace platform {

/// What the window system offers this process, asked before any window exists.
class GraphicsEnvironment {
public:
    /// One sentence saying why no window can be shown, or an empty string when a display is
    /// reachable (or a Qt platform plugin was chosen explicitly, which then speaks for itself).
    [[nodiscard]] static QString missingDisplayReason(const QProcessEnvironment &environment);

    /// True when no hardware renderer is available, so Qt Quick should draw in software: it is
    /// several times cheaper than OpenGL emulated on the processor. Needs a QGuiApplication.
    [[nodiscard]] static bool lacksHardwareRendering();
};

} // namespace platform
