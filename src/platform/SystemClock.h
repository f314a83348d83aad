#pragma once

#include "Clock.h"

namespace platform {

/// The real clock: the system time and QTimer.
class SystemClock final : public Clock {
public:
    [[nodiscard]] QDateTime now() const override;
    [[nodiscard]] std::unique_ptr<Timer> createTimer() override;
};

} // namespace platform
