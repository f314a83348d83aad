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
        battery.name = attribute(supply, QStringLiteral("model_name"));
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
