#pragma once

#include "PeripheralBattery.h"

#include <QCoro/QCoroTask>
#include <QList>

#include <memory>

namespace platform {

/// The batteries of connected accessories (mice, keyboards, controllers, headsets), never the
/// computer's own battery or its mains supply.
class AccessoryBatteries {
public:
    virtual ~AccessoryBatteries() = default;

    /// The accessories in the order the system lists them; empty when there are none or when
    /// no source can be read.
    virtual QCoro::Task<QList<PeripheralBattery>> read() = 0;

    /// The sources of this machine.
    static std::unique_ptr<AccessoryBatteries> create();

protected:
    AccessoryBatteries() = default;
    AccessoryBatteries(const AccessoryBatteries &) = default;
    AccessoryBatteries &operator=(const AccessoryBatteries &) = default;
};

} // namespace platform
