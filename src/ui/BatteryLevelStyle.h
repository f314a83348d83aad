#pragma once

#include <QColor>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

/// How an accessory's battery level is drawn. The symbol fills in quarters (steps at 25, 50 and
/// 75 percent) while the colour warns earlier (red below 20, orange below 50), so that 22 percent
/// shows the quarter battery in orange. A negative level means connected, level unknown.
class BatteryLevelStyle : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    using QObject::QObject;

    Q_INVOKABLE [[nodiscard]] static QString symbol(int battery);
    Q_INVOKABLE [[nodiscard]] static QColor symbolColor(int battery);
    /// "Connected" for an unknown level, otherwise the level with a percent sign ("12%").
    Q_INVOKABLE [[nodiscard]] static QString levelText(int battery);
    Q_INVOKABLE [[nodiscard]] static QColor textColor(int battery);
};
