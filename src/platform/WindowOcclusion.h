#pragma once

#include <QObject>

#include <memory>

namespace platform {

/// Whether a window is entirely covered by other windows, where the window system says so (an
/// X server without a compositor); elsewhere a window is never taken for covered. Something
/// drawn only to be seen, such as an animation, can stop while nothing of the window shows.
class WindowOcclusion : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;
    ~WindowOcclusion() override = default;

    [[nodiscard]] virtual bool isCovered() const = 0;

    /// Watches the window with this native id (QWindow::winId()).
    [[nodiscard]] static std::unique_ptr<WindowOcclusion> create(quintptr nativeWindow);

Q_SIGNALS:
    void coveredChanged(bool covered);
};

} // namespace platform
