#pragma once

#include "ManualTimer.h"
#include "platform/Clock.h"

#include <QList>
#include <QPointer>

/// A clock that stands still until the test advances it; its timers fire during advance(), in
/// the order of their due times, as often as the elapsed span allows.
class ManualClock final : public platform::Clock {
public:
    explicit ManualClock(QDateTime start = QDateTime::fromMSecsSinceEpoch(1'700'000'000'000));

    [[nodiscard]] QDateTime now() const override { return m_now; }
    [[nodiscard]] std::unique_ptr<platform::Timer> createTimer() override;

    void setNow(const QDateTime &now) { m_now = now; }
    /// Moves time forward, firing every timer that falls due on the way.
    void advance(std::chrono::milliseconds span);

private:
    friend class ManualTimer;

    QDateTime m_now;
    QList<QPointer<ManualTimer>> m_timers;
};
