#include "UPowerBatteries.h"

#include <QCoro/QCoroDBusPendingCall>
#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCall>

#include <array>
#include <cmath>

namespace platform {

namespace {

const QString service = QStringLiteral("org.freedesktop.UPower");
const QString deviceInterface = QStringLiteral("org.freedesktop.UPower.Device");
constexpr int callTimeoutMs = 5000;

// UPower's device kinds (UpDeviceKind), named for an accessory that has no model name.
constexpr std::array<const char16_t *, 29> kindNames{
    u"Device",          u"Power Supply", u"Battery",        u"UPS",
    u"Monitor",         u"Mouse",        u"Keyboard",       u"PDA",
    u"Phone",           u"Media Player", u"Tablet",         u"Computer",
    u"Game Controller", u"Pen",          u"Touchpad",       u"Modem",
    u"Network Device",  u"Headset",      u"Speakers",       u"Headphones",
    u"Video Device",    u"Audio Device", u"Remote Control", u"Printer",
    u"Scanner",         u"Camera",       u"Wearable",       u"Toy",
    u"Bluetooth Device"};

enum Kind : uint { LinePower = 1, ComputerBattery = 2, Ups = 3 };
enum Level : uint { UnknownLevel = 0 };

} // namespace

UPowerBatteries::UPowerBatteries(QDBusConnection bus)
    : m_bus(std::move(bus))
{
}

std::optional<PeripheralBattery> UPowerBatteries::fromProperties(const QVariantMap &device)
{
    const uint kind = device.value(QStringLiteral("Type")).toUInt();
    if (kind == LinePower || kind == ComputerBattery || kind == Ups ||
        device.value(QStringLiteral("PowerSupply")).toBool()) {
        return std::nullopt;
    }
    // A paired accessory that is switched off or out of range is listed with IsPresent false
    // and a stale or zero percentage: it is not connected, so it is not shown.
    if (device.contains(QStringLiteral("IsPresent")) &&
        !device.value(QStringLiteral("IsPresent")).toBool()) {
        return std::nullopt;
    }

    PeripheralBattery battery;
    battery.name = device.value(QStringLiteral("Model")).toString().trimmed();
    if (battery.name.isEmpty()) {
        const QString kindName =
            QString::fromUtf16(kind < kindNames.size() ? kindNames.at(kind) : kindNames.front());
        const QString vendor = device.value(QStringLiteral("Vendor")).toString().trimmed();
        battery.name = vendor.isEmpty() ? kindName : vendor + u' ' + kindName;
    }
    // A device that reports only that it is there, not how full it is, shows as connected.
    const bool levelUnknown = device.contains(QStringLiteral("BatteryLevel")) &&
                              device.value(QStringLiteral("BatteryLevel")).toUInt() == UnknownLevel;
    if (levelUnknown) {
        battery.battery = -1;
    } else {
        const double percentage = device.value(QStringLiteral("Percentage")).toDouble();
        battery.battery = std::isfinite(percentage) ? int(std::lround(percentage)) : 0;
    }
    return battery;
}

QCoro::Task<UPowerBatteries::Result> UPowerBatteries::read()
{
    // The frame keeps its own handle: the object may be gone by the time a reply arrives.
    const QDBusConnection bus = m_bus;
    Result result;
    const QDBusMessage enumerate =
        QDBusMessage::createMethodCall(service, QStringLiteral("/org/freedesktop/UPower"), service,
                                       QStringLiteral("EnumerateDevices"));
    const QDBusMessage devices = co_await bus.asyncCall(enumerate, callTimeoutMs);
    if (devices.type() != QDBusMessage::ReplyMessage || devices.arguments().isEmpty()) {
        result.error =
            devices.errorMessage().isEmpty() ? QStringLiteral("no reply") : devices.errorMessage();
        co_return result;
    }

    const auto paths = qdbus_cast<QList<QDBusObjectPath>>(devices.arguments().constFirst());
    for (const QDBusObjectPath &path : paths) {
        QDBusMessage getAll = QDBusMessage::createMethodCall(
            service, path.path(), QStringLiteral("org.freedesktop.DBus.Properties"),
            QStringLiteral("GetAll"));
        getAll << deviceInterface;
        const QDBusMessage properties = co_await bus.asyncCall(getAll, callTimeoutMs);
        // A device that went away between the two calls is simply not listed.
        if (properties.type() != QDBusMessage::ReplyMessage || properties.arguments().isEmpty()) {
            continue;
        }
        const auto device = qdbus_cast<QVariantMap>(properties.arguments().constFirst());
        if (const std::optional<PeripheralBattery> battery = fromProperties(device)) {
            result.batteries.append(*battery);
        }
    }
    co_return result;
}

} // namespace platform
