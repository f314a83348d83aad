#pragma once

#include "SysfsBatteries.h"
#include "UPowerBatteries.h"
#include "platform/AccessoryBatteries.h"

namespace platform {

/// UPower when it answers on the system bus, otherwise the kernel's power-supply folders.
class SystemAccessoryBatteries final : public AccessoryBatteries {
public:
    SystemAccessoryBatteries(QDBusConnection systemBus, QString sysRoot);

    QCoro::Task<QList<PeripheralBattery>> read() override;

private:
    UPowerBatteries m_upower;
    SysfsBatteries m_sysfs;
};

} // namespace platform
