#pragma once

#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QMap>
#include <QString>
#include <QVariantMap>

#include <optional>

namespace platform {

/// The standard org.freedesktop.DBus.ObjectManager of a service (BlueZ, iwd): every object it
/// exports with its interfaces and their properties.
class DBusObjectManager {
public:
    using Interfaces = QMap<QString, QVariantMap>;
    using ManagedObjects = QMap<QDBusObjectPath, Interfaces>;

    /// Makes the reply type known to Qt D-Bus.
    static void registerTypes();
    /// The reply's objects; nothing when it is not a reply of the expected type.
    [[nodiscard]] static std::optional<ManagedObjects> fromReply(const QDBusMessage &reply);
    /// Asks the service at "/" and waits for the answer (at most timeoutMs).
    [[nodiscard]] static std::optional<ManagedObjects>
    managedObjects(const QDBusConnection &bus, const QString &service, int timeoutMs);
};

} // namespace platform

Q_DECLARE_METATYPE(platform::DBusObjectManager::Interfaces)
Q_DECLARE_METATYPE(platform::DBusObjectManager::ManagedObjects)
