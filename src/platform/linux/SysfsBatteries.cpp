#include "SysfsBatteries.h"

#include "PseudoFile.h"

#include <QDir>

namespace platform {

namespace {

QString attribute(const QDir &supply, const QString &name)
{
    return QString::fromUtf8(PseudoFile::read(supply.filePath(name)).value_or(QByteArray()))
        .trimmed();
}

/// The model's name where the kernel gives one: the supply's model_name, else the name of the
/// HID device it belongs to (a game controller's battery has no model_name of its own).
QString modelName(const QDir &supply)
{
    const QString model = attribute(supply, QStringLiteral("model_name"));
    if (!model.isEmpty()) {
        return model;
    }
    const QByteArray uevent =
        PseudoFile::read(supply.filePath(QStringLiteral("device/uevent"))).value_or(QByteArray());
    for (const QByteArray &line : uevent.split('\n')) {
        if (line.startsWith("HID_NAME=")) {
            return QString::fromUtf8(line.mid(9)).trimmed();
        }
    }
    return {};
}

} // namespace

SysfsBatteries::SysfsBatteries(QString sysRoot)
    : m_sysRoot(std::move(sysRoot))
{
}

QList<PeripheralBattery> SysfsBatteries::read() const
{
    QList<PeripheralBattery> batteries;
    const QDir supplies(m_sysRoot + u"/class/power_supply");
    const QStringList names =
        supplies.entryList(QDir::Dirs | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    for (const QString &name : names) {
        const QDir supply(supplies.filePath(name));
        if (attribute(supply, QStringLiteral("scope")) != u"Device") {
            continue;
        }
        PeripheralBattery battery;
        battery.name = modelName(supply);
        if (battery.name.isEmpty()) {
            battery.name = name;
        }
        bool ok = false;
        const int capacity = attribute(supply, QStringLiteral("capacity")).toInt(&ok);
        if (ok && capacity >= 0 && capacity <= 100) {
            battery.battery = capacity;
        } else if (!attribute(supply, QStringLiteral("capacity_level")).isEmpty()) {
            // Only a coarse level ("Normal", "Low", "Unknown"): connected, level not known.
            battery.battery = -1;
        } else {
            continue;
        }
        batteries.append(battery);
    }
    return batteries;
}

} // namespace platform
