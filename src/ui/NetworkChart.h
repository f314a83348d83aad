#pragma once

#include <QList>
#include <QObject>
#include <QPainterPath>
#include <QPointF>
#include <QSizeF>
#include <QString>
#include <QtQml/qqmlregistration.h>

/// The network chart's data preparation and path geometry (Part 6.4), for the QML shapes to call.
/// NetworkLineShape and NetworkAreaShape draw the paths built here.
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

    /// Point i at (i × W / (n − 1), H − value / maxValue × H), unclamped; none for n < 2 or a
    /// scale that is not positive.
    [[nodiscard]] static QList<QPointF> points(const QList<double> &data, double maxValue,
                                               QSizeF size);
    /// The curved line: cubic segments with control points (prev.x + 0.5 × (cur.x − prev.x),
    /// prev.y) and (cur.x − 0.1 × (next.x − prev.x), cur.y), next = cur for the last segment.
    [[nodiscard]] static QPainterPath linePath(const QList<double> &data, double maxValue,
                                               QSizeF size);
    /// The straight-edged area from (0, H) through every point to (W, H), closed.
    [[nodiscard]] static QPainterPath areaPath(const QList<double> &data, double maxValue,
                                               QSizeF size);

    /// linePath() and areaPath() as SVG path data, for PathSvg.
    Q_INVOKABLE [[nodiscard]] static QString lineSvg(const QList<double> &data, double maxValue,
                                                     double width, double height);
    Q_INVOKABLE [[nodiscard]] static QString areaSvg(const QList<double> &data, double maxValue,
                                                     double width, double height);
    [[nodiscard]] static QString toSvg(const QPainterPath &path);
};
