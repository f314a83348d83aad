#include "SystemAccessoryBatteries.h"

#include "platform/SystemRoots.h"

#include <cstdio>

namespace platform {

std::unique_ptr<AccessoryBatteries> AccessoryBatteries::create()
{
    return std::make_unique<SystemAccessoryBatteries>(QDBusConnection::systemBus(),
                                                      SystemRoots::current().sysRoot);
}

SystemAccessoryBatteries::SystemAccessoryBatteries(QDBusConnection systemBus, QString sysRoot)
    : m_upower(std::move(systemBus))
    , m_sysfs(std::move(sysRoot))
{
}

QCoro::Task<QList<PeripheralBattery>> SystemAccessoryBatteries::read()
{
    // A copy, so that the fallback does not depend on this object outliving the bus call.
    const SysfsBatteries sysfs = m_sysfs;
    const UPowerBatteries::Result upower = co_await m_upower.read();
    if (upower.error.isEmpty()) {
        co_return upower.batteries;
    }
    std::printf("UPower error: %s\n", qUtf8Printable(upower.error));
    std::fflush(stdout);
    co_return sysfs.read();
}

} // namespace platform
