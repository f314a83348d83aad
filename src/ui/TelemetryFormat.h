#pragma once

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

/// The number formats of the telemetry screens, with a "." decimal point whatever the locale.
class TelemetryFormat : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    using QObject::QObject;

    /// "%.1f GB": 7.25 → "7.2 GB" (rounded as printf rounds).
    Q_INVOKABLE [[nodiscard]] static QString gigabytes(double value);
    /// "%.0f GB": 15.6 → "16 GB".
    Q_INVOKABLE [[nodiscard]] static QString wholeGigabytes(double value);
    /// "%.0f%%": 42.4 → "42%".
    Q_INVOKABLE [[nodiscard]] static QString wholePercent(double value);
};
