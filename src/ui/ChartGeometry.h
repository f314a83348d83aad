#pragma once

#include <QList>
#include <QObject>
#include <QPainterPath>
#include <QSizeF>
#include <QtQml/qqmlregistration.h>

/// The outlines of the live charts: a smooth line through a series and the straight-edged area
/// under it, for a drawing rectangle of the given size with the origin at its top left.
class ChartGeometry : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    using QObject::QObject;

    /// Where value i of n lands: evenly spaced from the left edge to the right, value maxValue at
    /// the top edge and 0 at the bottom. Values are not clamped. Nothing for fewer than two
    /// values or a scale that is not positive.
    [[nodiscard]] static QList<QPointF> points(const QList<double> &data, double maxValue,
                                               QSizeF size);
    /// A cubic curve through every point; empty for fewer than two values. Each segment leaves
    /// the previous point level, halfway across, and arrives a tenth of the neighbours' spread
    /// early, which eases the line without overshooting.
    [[nodiscard]] static QPainterPath linePath(const QList<double> &data, double maxValue,
                                               QSizeF size);
    /// The area between the points, joined by straight lines, and the bottom edge; empty for
    /// fewer than two values.
    [[nodiscard]] static QPainterPath areaPath(const QList<double> &data, double maxValue,
                                               QSizeF size);
    /// The path as SVG path data ("M x y C …"), as QtQuick.Shapes' PathSvg reads it.
    [[nodiscard]] static QString svgPathData(const QPainterPath &path);

    /// linePath() and areaPath() as SVG path data, for the QML shapes.
    Q_INVOKABLE [[nodiscard]] QString line(const QList<double> &data, double maxValue, double width,
                                           double height) const;
    Q_INVOKABLE [[nodiscard]] QString area(const QList<double> &data, double maxValue, double width,
                                           double height) const;
};
