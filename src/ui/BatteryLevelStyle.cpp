#include "BatteryLevelStyle.h"

#include "AppColors.h"

QString BatteryLevelStyle::symbol(int battery)
{
    if (battery < 0) {
        return QStringLiteral("checkmark.circle.fill");
    }
    if (battery < 25) {
        return QStringLiteral("battery.25");
    }
    if (battery < 50) {
        return QStringLiteral("battery.50");
    }
    if (battery < 75) {
        return QStringLiteral("battery.75");
    }
    return QStringLiteral("battery.100");
}

QColor BatteryLevelStyle::symbolColor(int battery)
{
    if (battery < 0) {
        return AppColors::neonGreen();
    }
    return textColor(battery);
}

QString BatteryLevelStyle::levelText(int battery)
{
    if (battery < 0) {
        return QStringLiteral("Connected");
    }
    return QString::number(battery) + u'%';
}

QColor BatteryLevelStyle::textColor(int battery)
{
    if (battery < 0) {
        return AppColors::textSecondary();
    }
    if (battery < 20) {
        return AppColors::systemRed();
    }
    if (battery < 50) {
        return AppColors::systemOrange();
    }
    return AppColors::neonGreen();
}
