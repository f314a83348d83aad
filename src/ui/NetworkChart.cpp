#include "NetworkChart.h"

#include <algorithm>
#include <cmath>

namespace {

double largestOfLast(const QList<double> &values, qsizetype count)
{
    double largest = 0;
    bool any = false;
    for (qsizetype i = std::max<qsizetype>(0, values.size() - count); i < values.size(); ++i) {
        largest = any ? std::max(largest, values[i]) : values[i];
        any = true;
    }
    return largest;
}

QString number(double value)
{
    return QString::number(value, 'f', 3);
}

} // namespace

QList<double> NetworkChart::smoothData(const QList<double> &data, int window)
{
    if (data.size() < 2) {
        return data;
    }
    const qsizetype span = std::max(window, 1);
    QList<double> output;
    output.reserve(data.size());
    for (qsizetype i = 0; i < data.size(); ++i) {
        const qsizetype first = std::max<qsizetype>(0, i - span + 1);
        double sum = 0;
        for (qsizetype j = first; j <= i; ++j) {
            sum += data[j];
        }
        output.append(sum / double(i - first + 1));
    }
    return output;
}

double NetworkChart::maxYValue(const QList<double> &download, const QList<double> &upload)
{
    const double recentDown = largestOfLast(download, 10);
    const double recentUp = largestOfLast(upload, 10);
    double peak = 0;
    bool any = false;
    for (const QList<double> *series : {&download, &upload}) {
        for (double value : *series) {
            peak = any ? std::max(peak, value) : value;
            any = true;
        }
    }
    if (recentDown > mebibyte || recentUp > mebibyte) {
        return std::max({peak * 1.3, recentDown * 1.5, recentUp * 1.5});
    }
    if (recentDown <= 1024 && recentUp <= 1024) {
        return std::max(peak * 1.5, mebibyte);
    }
    return std::max({peak * 1.4, recentDown * 1.6, recentUp * 1.6});
}

QList<QPointF> NetworkChart::points(const QList<double> &data, double maxValue, QSizeF size)
{
    const qsizetype n = data.size();
    if (n < 2 || !(maxValue > 0) || !std::isfinite(maxValue)) {
        return {};
    }
    const double stepX = size.width() / double(n - 1);
    QList<QPointF> result;
    result.reserve(n);
    for (qsizetype i = 0; i < n; ++i) {
        const double value = std::isfinite(data[i]) ? data[i] : 0.0;
        result.append({double(i) * stepX, size.height() - (value / maxValue) * size.height()});
    }
    return result;
}

QPainterPath NetworkChart::linePath(const QList<double> &data, double maxValue, QSizeF size)
{
    const QList<QPointF> p = points(data, maxValue, size);
    QPainterPath path;
    if (p.isEmpty()) {
        return path;
    }
    path.moveTo(p.first());
    for (qsizetype i = 1; i < p.size(); ++i) {
        const QPointF prev = p[i - 1];
        const QPointF cur = p[i];
        const QPointF next = p[std::min(i + 1, p.size() - 1)];
        path.cubicTo(QPointF(prev.x() + 0.5 * (cur.x() - prev.x()), prev.y()),
                     QPointF(cur.x() - 0.1 * (next.x() - prev.x()), cur.y()), cur);
    }
    return path;
}

QPainterPath NetworkChart::areaPath(const QList<double> &data, double maxValue, QSizeF size)
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

QString NetworkChart::toSvg(const QPainterPath &path)
{
    QString svg;
    for (int i = 0; i < path.elementCount(); ++i) {
        const QPainterPath::Element element = path.elementAt(i);
        switch (element.type) {
        case QPainterPath::MoveToElement:
            svg += u"M " + number(element.x) + u' ' + number(element.y) + u' ';
            break;
        case QPainterPath::LineToElement:
            svg += u"L " + number(element.x) + u' ' + number(element.y) + u' ';
            break;
        case QPainterPath::CurveToElement:
            svg += u"C " + number(element.x) + u' ' + number(element.y) + u' ';
            break;
        case QPainterPath::CurveToDataElement:
            svg += number(element.x) + u' ' + number(element.y) + u' ';
            break;
        }
    }
    if (!svg.isEmpty() && path.elementCount() > 1) {
        const QPainterPath::Element first = path.elementAt(0);
        const QPainterPath::Element last = path.elementAt(path.elementCount() - 1);
        // closeSubpath() ends on the first point; say so explicitly, as SVG does.
        if (last.type == QPainterPath::LineToElement && first.x == last.x && first.y == last.y) {
            svg += u'Z';
        }
    }
    return svg.trimmed();
}

QString NetworkChart::lineSvg(const QList<double> &data, double maxValue, double width,
                              double height)
{
    return toSvg(linePath(data, maxValue, QSizeF(width, height)));
}

QString NetworkChart::areaSvg(const QList<double> &data, double maxValue, double width,
                              double height)
{
    return toSvg(areaPath(data, maxValue, QSizeF(width, height)));
}
