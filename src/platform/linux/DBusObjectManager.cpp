#include "DBusObjectManager.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>

namespace platform {

void DBusObjectManager::registerTypes()
{
    static const bool registered = [] {
        qDBusRegisterMetaType<Interfaces>();
        qDBusRegisterMetaType<ManagedObjects>();
        return true;
    }();
    Q_UNUSED(registered);
}

std::optional<DBusObjectManager::ManagedObjects>
DBusObjectManager::fromReply(const QDBusMessage &reply)
{
    registerTypes();
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty() ||
        reply.signature() != u"a{oa{sa{sv}}}") {
        return std::nullopt;
    }
    return qdbus_cast<ManagedObjects>(reply.arguments().constFirst());
}

std::optional<DBusObjectManager::ManagedObjects>
DBusObjectManager::managedObjects(const QDBusConnection &bus, const QString &service, int timeoutMs)
{
    const QDBusMessage call = QDBusMessage::createMethodCall(
        service, QStringLiteral("/"), QStringLiteral("org.freedesktop.DBus.ObjectManager"),
        QStringLiteral("GetManagedObjects"));
    return fromReply(bus.call(call, QDBus::Block, timeoutMs));
}

} // namespace platform
