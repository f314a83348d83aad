#pragma once

#include "optimizer/RunningAppInfo.h"

#include <QColor>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

/// The optimizers screen's texts and colours, decided here so that they are tested from tables.
class OptimizerFormat : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    static constexpr int maximumReportRows = 5;

    using QObject::QObject;

    /// Quick Boost's line after Game Mode is switched: the actions joined with ", ", "System
    /// already optimized" for none, "Boost failed" when it failed.
    Q_INVOKABLE [[nodiscard]] static QString boostMessage(bool success, const QStringList &actions);
    /// A result line is drawn as a failure when it says "failed".
    Q_INVOKABLE [[nodiscard]] static bool readsAsFailure(const QString &message);
    /// The colour of a status line: green after a success, red after a failure.
    Q_INVOKABLE [[nodiscard]] static QColor statusColor(bool success);
    /// The report rows shown: at most the first five actions.
    Q_INVOKABLE [[nodiscard]] static QStringList reportRows(const QStringList &actions);
    /// "RAM reclaimed: %.2f GB", or empty when the report has no figure.
    Q_INVOKABLE [[nodiscard]] static QString reclaimedText(const QVariant &gigabytes);
    /// "DNS provider: NAME", or empty.
    Q_INVOKABLE [[nodiscard]] static QString providerText(const QVariant &name);
    /// "Latency: %.1f ms -> %.1f ms" when both figures are known, else empty.
    Q_INVOKABLE [[nodiscard]] static QString latencyText(const QVariant &before,
                                                         const QVariant &after);
    /// Green when the latency did not get worse, orange when it did.
    Q_INVOKABLE [[nodiscard]] static QColor latencyColor(const QVariant &before,
                                                         const QVariant &after);
    /// The game picker's entries ({text, value}): "Auto Detect" (value 0), then each game by
    /// name with its pid.
    Q_INVOKABLE [[nodiscard]] static QVariantList gameChoices(const QList<RunningAppInfo> &games);
    /// The provider names in ascending order.
    Q_INVOKABLE [[nodiscard]] static QStringList sortedProviders(QStringList names);
};
