#pragma once

#include <QString>

#include <memory>
#include <optional>

namespace platform {

/// The per-user switch that shows a performance overlay in games started afterwards.
class PerformanceHud {
public:
    virtual ~PerformanceHud() = default;

    /// The switch's stored value as written (for example "1" or "0"); nothing when unset.
    [[nodiscard]] virtual std::optional<QString> storedValue() = 0;
    /// Stores the switch; false when it could not be written.
    virtual bool write(bool enable) = 0;
    /// Why games would show no overlay whatever the switch says (it is not installed); empty
    /// when they would.
    [[nodiscard]] virtual QString unavailableReason() = 0;

    /// The user's switch, under their configuration folder.
    static std::unique_ptr<PerformanceHud> create();

protected:
    PerformanceHud() = default;
    PerformanceHud(const PerformanceHud &) = default;
    PerformanceHud &operator=(const PerformanceHud &) = default;
};

} // namespace platform
