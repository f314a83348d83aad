#pragma once

#include <QMetaType>
#include <QString>

namespace platform {

/// The charge of one connected accessory: its display name and its level in percent, or a
/// negative level when the accessory is connected but does not say how full it is.
struct PeripheralBattery {
    Q_GADGET
    Q_PROPERTY(QString name MEMBER name CONSTANT)
    Q_PROPERTY(int battery MEMBER battery CONSTANT)

public:
    QString name;
    int battery = 0;

    friend bool operator==(const PeripheralBattery &, const PeripheralBattery &) = default;
};

} // namespace platform
