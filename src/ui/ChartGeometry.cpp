#include "ChartGeometry.h"

QList<QPointF> ChartGeometry::points(const QList<double> &data, double maxValue, QSizeF size)
{
    QList<QPointF> points;
    const qsizetype n = data.size();
    // A scale that is not positive has no meaningful picture (and would divide by zero).
    if (n < 2 || !(maxValue > 0)) {
        return points;
    }
    const double stepX = size.width() / double(n - 1);
    points.reserve(n);
    for (qsizetype i = 0; i < n; ++i) {
        points.append({double(i) * stepX, size.height() - data.at(i) / maxValue * size.height()});
    }
    return points;
}

QPainterPath ChartGeometry::linePath(const QList<double> &data, double maxValue, QSizeF size)
{
    const QList<QPointF> p = points(data, maxValue, size);
    QPainterPath path;
    if (p.isEmpty()) {
        return path;
    }
    path.moveTo(p.first());
    const qsizetype last = p.size() - 1;
    for (qsizetype i = 1; i <= last; ++i) {
        const QPointF previous = p.at(i - 1);
        const QPointF current = p.at(i);
        const QPointF next = p.at(std::min(i + 1, last));
        path.cubicTo(QPointF(previous.x() + 0.5 * (current.x() - previous.x()), previous.y()),
                     QPointF(current.x() - 0.1 * (next.x() - previous.x()), current.y()), current);
    }
    return path;
}

QPainterPath ChartGeometry::areaPath(const QList<double> &data, double maxValue, QSizeF size)
{
    const QList<QPointF> p = points(data, maxValue, size);
    QPainterPath path;
    if (p.isEmpty()) {
        return path;
    }
    path.moveTo(0, size.height());
    for (const QPointF &point : p) {
        path.lineTo(point);
    }
    path.lineTo(size.width(), size.height());
    path.closeSubpath();
    return path;
}
