#pragma once

#include "BluezBatteries.h"
#include "SysfsBatteries.h"
#include "UPowerBatteries.h"
#include "platform/AccessoryBatteries.h"

namespace platform {

/// UPower when it answers on the system bus; otherwise BlueZ's Bluetooth batteries followed by
/// the kernel's power-supply folders (without the accessories BlueZ already named).
class SystemAccessoryBatteries final : public AccessoryBatteries {
public:
    SystemAccessoryBatteries(QDBusConnection systemBus, QString sysRoot);

    QCoro::Task<QList<PeripheralBattery>> read() override;

private:
    UPowerBatteries m_upower;
    BluezBatteries m_bluez;
    SysfsBatteries m_sysfs;
};

} // namespace platform
