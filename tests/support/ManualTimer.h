#pragma once

#include "platform/Timer.h"

#include <QDateTime>

class ManualClock;

/// A timer of a ManualClock.
class ManualTimer final : public platform::Timer {
    Q_OBJECT

public:
    explicit ManualTimer(ManualClock &clock);

    void start(std::chrono::milliseconds interval) override;
    void stop() override;
    [[nodiscard]] bool isActive() const override { return m_active; }
    void setSingleShot(bool singleShot) override { m_singleShot = singleShot; }

    [[nodiscard]] QDateTime dueAt() const { return m_dueAt; }
    /// Called by the clock when the due time has come.
    void fire();

private:
    ManualClock &m_clock;
    std::chrono::milliseconds m_interval{0};
    QDateTime m_dueAt;
    bool m_active = false;
    bool m_singleShot = false;
};
