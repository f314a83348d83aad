#pragma once

#include "platform/PeripheralBattery.h"

#include <QList>
#include <QString>

namespace platform {

/// Accessory batteries the kernel exposes under /sys/class/power_supply: the supplies whose
/// scope is "Device" (the computer's own batteries and its mains have the scope "System" or
/// none). Each is named by its model where the kernel gives one, else by its folder.
class SysfsBatteries {
public:
    explicit SysfsBatteries(QString sysRoot);

    /// The accessories in the order of their folder names.
    [[nodiscard]] QList<PeripheralBattery> read() const;

private:
    QString m_sysRoot;
};

} // namespace platform
