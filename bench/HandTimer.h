#pragma once

#include "platform/Timer.h"

/// A timer that never fires on its own: a benchmark emits timeout() when it wants a tick.
class HandTimer final : public platform::Timer {
public:
    void start(std::chrono::milliseconds) override { m_active = true; }
    void stop() override { m_active = false; }
    [[nodiscard]] bool isActive() const override { return m_active; }
    void setSingleShot(bool) override {}

private:
    bool m_active = false;
};
