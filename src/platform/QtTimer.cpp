#include "QtTimer.h"

namespace platform {

QtTimer::QtTimer()
{
    // Sampling intervals are whole seconds; a coarse timer would drift by up to 5 %.
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &Timer::timeout);
}

void QtTimer::start(std::chrono::milliseconds interval)
{
    m_timer.start(interval);
}

void QtTimer::stop()
{
    m_timer.stop();
}

bool QtTimer::isActive() const
{
    return m_timer.isActive();
}

void QtTimer::setSingleShot(bool singleShot)
{
    m_timer.setSingleShot(singleShot);
}

} // namespace platform
