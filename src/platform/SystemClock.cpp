#include "SystemClock.h"

#include "QtTimer.h"

namespace platform {

Clock &Clock::system()
{
    static SystemClock clock;
    return clock;
}

QDateTime SystemClock::now() const
{
    return QDateTime::currentDateTime();
}

std::unique_ptr<Timer> SystemClock::createTimer()
{
    return std::make_unique<QtTimer>();
}

} // namespace platform
