#pragma once

#include <QList>
#include <QPainterPath>
#include <QSizeF>

/// The outlines of the live charts: a smooth line through a series and the straight-edged area
/// under it, for a drawing rectangle of the given size with the origin at its top left.
class ChartGeometry {
public:
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
};
