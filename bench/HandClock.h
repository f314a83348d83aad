#pragma once

#include "HandTimer.h"
#include "platform/Clock.h"

/// The real time of day with timers that fire only by hand; `last` is the newest one.
class HandClock final : public platform::Clock {
public:
    HandTimer *last = nullptr;

    [[nodiscard]] QDateTime now() const override { return QDateTime::currentDateTime(); }
    [[nodiscard]] std::unique_ptr<platform::Timer> createTimer() override
    {
        auto timer = std::make_unique<HandTimer>();
        last = timer.get();
        return timer;
    }
};
