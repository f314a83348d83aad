#include "ManualClock.h"

#include "ManualTimer.h"

ManualClock::ManualClock(QDateTime start)
    : m_now(std::move(start))
{
}

std::unique_ptr<platform::Timer> ManualClock::createTimer()
{
    auto timer = std::make_unique<ManualTimer>(*this);
    m_timers.append(timer.get());
    return timer;
}

void ManualClock::advance(std::chrono::milliseconds span)
{
    const QDateTime end = m_now.addMSecs(span.count());
    for (;;) {
        ManualTimer *next = nullptr;
        for (const QPointer<ManualTimer> &timer : std::as_const(m_timers)) {
            if (timer && timer->isActive() && timer->dueAt() <= end &&
                (!next || timer->dueAt() < next->dueAt())) {
                next = timer;
            }
        }
        if (!next) {
            break;
        }
        m_now = next->dueAt();
        next->fire();
    }
    m_now = end;
    m_timers.removeAll(nullptr);
}
