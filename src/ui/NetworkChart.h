#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

/// The network chart's data preparation, for the QML shapes to call; the paths themselves come
/// from ChartGeometry, as the memory chart's do.
class NetworkChart : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    using QObject::QObject;

    static constexpr double mebibyte = 1'048'576.0;

    /// Trailing moving average over at most `window` values; fewer than 2 values come back as
    /// they are.
    Q_INVOKABLE [[nodiscard]] static QList<double> smoothData(const QList<double> &data,
                                                              int window);
    /// The shared vertical scale, bytes per second, from the raw histories.
    Q_INVOKABLE [[nodiscard]] static double maxYValue(const QList<double> &download,
                                                      const QList<double> &upload);
};
