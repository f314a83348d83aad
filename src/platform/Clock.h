#pragma once

#include "Timer.h"

#include <QDateTime>

#include <chrono>
#include <functional>
#include <memory>

namespace platform {

/// The wall clock and the timers a model uses. Models take it by reference so that a test can
/// drive half-hour timers and second-by-second histories in milliseconds.
class Clock {
public:
    virtual ~Clock() = default;

    [[nodiscard]] virtual QDateTime now() const = 0;
    [[nodiscard]] virtual std::unique_ptr<Timer> createTimer() = 0;

    /// Runs action once after delay, on a timer owned by context: destroying context first
    /// cancels it.
    void singleShot(QObject &context, std::chrono::milliseconds delay,
                    std::function<void()> action);

    /// The process-wide real clock.
    static Clock &system();

protected:
    Clock() = default;
    Clock(const Clock &) = default;
    Clock &operator=(const Clock &) = default;
};

} // namespace platform
