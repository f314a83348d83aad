#include "Clock.h"

namespace platform {

void Clock::singleShot(QObject &context, std::chrono::milliseconds delay,
                       std::function<void()> action)
{
    Timer *timer = createTimer().release();
    timer->setParent(&context);
    timer->setSingleShot(true);
    QObject::connect(timer, &Timer::timeout, &context, [timer, action = std::move(action)] {
        timer->deleteLater();
        action();
    });
    timer->start(delay);
}

} // namespace platform
