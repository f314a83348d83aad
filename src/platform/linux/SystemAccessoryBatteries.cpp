#include "SystemAccessoryBatteries.h"

#include "platform/SystemRoots.h"

#include <algorithm>
#include <cstdio>

namespace platform {

std::unique_ptr<AccessoryBatteries> AccessoryBatteries::create()
{
    return std::make_unique<SystemAccessoryBatteries>(QDBusConnection::systemBus(),
                                                      SystemRoots::current().sysRoot);
}

SystemAccessoryBatteries::SystemAccessoryBatteries(QDBusConnection systemBus, QString sysRoot)
    : m_upower(systemBus)
    , m_bluez(std::move(systemBus))
    , m_sysfs(std::move(sysRoot))
{
}

QCoro::Task<QList<PeripheralBattery>> SystemAccessoryBatteries::read()
{
    // A copy, so that the fallback does not depend on this object outliving the bus call.
    const SysfsBatteries sysfs = m_sysfs;
    BluezBatteries bluez = m_bluez;
    const UPowerBatteries::Result upower = co_await m_upower.read();
    if (upower.error.isEmpty()) {
        co_return upower.batteries;
    }
    std::printf("UPower error: %s\n", qUtf8Printable(upower.error));
    std::fflush(stdout);
    // A Bluetooth accessory may be in both lists: the kernel's entry for it is left out.
    QList<PeripheralBattery> batteries = (co_await bluez.read()).batteries;
    const qsizetype fromBluez = batteries.size();
    for (const PeripheralBattery &battery : sysfs.read()) {
        const bool named = std::any_of(
            batteries.cbegin(), batteries.cbegin() + fromBluez,
            [&](const PeripheralBattery &listed) { return listed.name == battery.name; });
        if (!named) {
            batteries.append(battery);
        }
    }
    co_return batteries;
}

} // namespace platform
