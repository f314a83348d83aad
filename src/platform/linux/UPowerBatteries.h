#pragma once

#include "platform/PeripheralBattery.h"

#include <QCoro/QCoroTask>
#include <QDBusConnection>
#include <QList>
#include <QVariantMap>

namespace platform {

/// Accessory batteries as UPower lists them on the system bus.
class UPowerBatteries {
public:
    struct Result {
        QList<PeripheralBattery> batteries;
        QString error; ///< why UPower could not be asked; empty when it answered
    };

    explicit UPowerBatteries(QDBusConnection bus);

    /// Asks UPower for its devices and keeps the accessories, in UPower's order.
    QCoro::Task<Result> read();

    /// The accessory one UPower device describes (its org.freedesktop.UPower.Device
    /// properties), or nothing for mains power, the computer's own batteries and UPSes.
    [[nodiscard]] static std::optional<PeripheralBattery> fromProperties(const QVariantMap &device);

private:
    QDBusConnection m_bus;
};

} // namespace platform
