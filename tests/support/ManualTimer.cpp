#include "ManualTimer.h"

#include "ManualClock.h"

ManualTimer::ManualTimer(ManualClock &clock)
    : m_clock(clock)
{
}

void ManualTimer::start(std::chrono::milliseconds interval)
{
    m_interval = interval;
    m_dueAt = m_clock.now().addMSecs(std::max<qint64>(interval.count(), 1));
    m_active = true;
}

void ManualTimer::stop()
{
    m_active = false;
}

void ManualTimer::fire()
{
    if (m_singleShot) {
        m_active = false;
    } else {
        m_dueAt = m_dueAt.addMSecs(std::max<qint64>(m_interval.count(), 1));
    }
    Q_EMIT timeout();
}
