#pragma once

#include <QCoro/QCoroTask>
#include <QString>

#include <memory>

namespace platform {

class ToolRunner;

/// Keeps the display from dimming and sleeping while held.
class DisplaySleepInhibitor {
public:
    virtual ~DisplaySleepInhibitor() = default;

    /// Takes the inhibition; completes with an empty text on success, else with the reason.
    virtual QCoro::Task<QString> inhibit() = 0;
    /// Gives it back; does nothing when not held.
    virtual QCoro::Task<> release() = 0;
    [[nodiscard]] virtual bool isHeld() const = 0;

    /// The desktop session's idle inhibition; tools it may start use the runner, which must
    /// outlive it.
    static std::unique_ptr<DisplaySleepInhibitor> create(ToolRunner &runner);

protected:
    DisplaySleepInhibitor() = default;
    DisplaySleepInhibitor(const DisplaySleepInhibitor &) = default;
    DisplaySleepInhibitor &operator=(const DisplaySleepInhibitor &) = default;
};

} // namespace platform
