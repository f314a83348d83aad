#pragma once

#include "Timer.h"

#include <QTimer>

namespace platform {

/// Timer on the thread's event loop.
class QtTimer final : public Timer {
    Q_OBJECT

public:
    QtTimer();

    void start(std::chrono::milliseconds interval) override;
    void stop() override;
    [[nodiscard]] bool isActive() const override;
    void setSingleShot(bool singleShot) override;

private:
    QTimer m_timer;
};

} // namespace platform
