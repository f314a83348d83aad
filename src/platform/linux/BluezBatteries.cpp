#include "BluezBatteries.h"

#include <QCoro/QCoroDBusPendingCall>
#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusPendingCall>

namespace platform {

namespace {

const QString service = QStringLiteral("org.bluez");
const QString batteryInterface = QStringLiteral("org.bluez.Battery1");
const QString deviceInterface = QStringLiteral("org.bluez.Device1");
constexpr int callTimeoutMs = 5000;

} // namespace

BluezBatteries::BluezBatteries(QDBusConnection bus)
    : m_bus(std::move(bus))
{
}

QList<PeripheralBattery> BluezBatteries::fromManagedObjects(const ManagedObjects &objects)
{
    QList<PeripheralBattery> batteries;
    for (auto object = objects.cbegin(); object != objects.cend(); ++object) {
        const auto battery = object->constFind(batteryInterface);
        if (battery == object->cend()) {
            continue;
        }
        bool ok = false;
        const uint percentage = battery->value(QStringLiteral("Percentage")).toUInt(&ok);
        if (!ok || percentage > 100) {
            continue;
        }
        const QVariantMap device = object->value(deviceInterface);
        QString name = device.value(QStringLiteral("Alias")).toString().trimmed();
        if (name.isEmpty()) {
            name = device.value(QStringLiteral("Name")).toString().trimmed();
        }
        if (name.isEmpty()) {
            name = QStringLiteral("Bluetooth Device");
        }
        batteries.append({name, int(percentage)});
    }
    return batteries;
}

QCoro::Task<BluezBatteries::Result> BluezBatteries::read()
{
    DBusObjectManager::registerTypes();
    // The frame keeps its own handle: the object may be gone by the time the reply arrives.
    const QDBusConnection bus = m_bus;
    Result result;
    const QDBusMessage call = QDBusMessage::createMethodCall(
        service, QStringLiteral("/"), QStringLiteral("org.freedesktop.DBus.ObjectManager"),
        QStringLiteral("GetManagedObjects"));
    const QDBusMessage reply = co_await bus.asyncCall(call, callTimeoutMs);
    const std::optional<ManagedObjects> objects = DBusObjectManager::fromReply(reply);
    if (!objects) {
        result.error =
            reply.errorMessage().isEmpty() ? QStringLiteral("no reply") : reply.errorMessage();
        co_return result;
    }
    result.batteries = fromManagedObjects(*objects);
    co_return result;
}

} // namespace platform
