#pragma once

#include "DBusObjectManager.h"
#include "platform/PeripheralBattery.h"

#include <QCoro/QCoroTask>
#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QList>
#include <QMap>
#include <QVariantMap>

namespace platform {

/// Bluetooth accessories that report their charge through BlueZ (org.bluez.Battery1) on the
/// system bus: the source where UPower does not run.
class BluezBatteries {
public:
    /// One object's interfaces and their properties, as the object manager lists them.
    using Interfaces = DBusObjectManager::Interfaces;
    using ManagedObjects = DBusObjectManager::ManagedObjects;

    struct Result {
        QList<PeripheralBattery> batteries;
        QString error; ///< why BlueZ could not be asked; empty when it answered
    };

    explicit BluezBatteries(QDBusConnection bus);

    /// Asks BlueZ's object manager for its objects and keeps the devices with a battery.
    QCoro::Task<Result> read();

    /// The devices with a battery, in the order of their object paths: named by their alias
    /// (else their name, else "Bluetooth Device"), with their percentage.
    [[nodiscard]] static QList<PeripheralBattery> fromManagedObjects(const ManagedObjects &objects);

private:
    QDBusConnection m_bus;
};

} // namespace platform
