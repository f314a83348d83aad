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
