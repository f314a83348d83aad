// Painting the dashboard's two live charts, as a sample repaints them: the memory chart (an area
// under a glowing line) and the network chart (two areas, two glowing lines), 30 values each, at
// the window's default size. Painting runs on Qt's thread pool in the application, so it does
// here too. Prints the median and 90th percentile of each chart over many paintings.

#include "ui/ChartPlot.h"
#include "ui/ChartSeries.h"

#include <QGuiApplication>
#include <QRandomGenerator>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

namespace {

using Snapshot = ChartSeries::Snapshot;

// A series that wanders like a live reading: each value a step away from the one before.
QList<double> wander(QRandomGenerator &random, double from, double step, double floor)
{
    QList<double> values;
    double value = from;
    for (int i = 0; i < 30; ++i) {
        value = std::max(floor, value + (random.generateDouble() * 2 - 1) * step);
        values.append(value);
    }
    return values;
}

Snapshot line(QList<double> values, double maxValue, QColor color, qreal glowRadius)
{
    return {std::move(values), maxValue, ChartSeries::Kind::Line, color, 2.5, glowRadius, 0.6, 0.3};
}

Snapshot area(QList<double> values, double maxValue, QColor color)
{
    return {std::move(values), maxValue, ChartSeries::Kind::Area, color, 2.5, 0, 0, 0.3};
}

void time(const char *name, const QList<Snapshot> &layers, QSizeF size, int paintings)
{
    std::vector<double> milliseconds;
    for (int i = 0; i < paintings; ++i) {
        milliseconds.push_back(
            QtConcurrent::run([&] {
                const auto start = std::chrono::steady_clock::now();
                const ChartPlot::Picture picture = ChartPlot::paint(layers, size, 1);
                const auto end = std::chrono::steady_clock::now();
                Q_ASSERT(!picture.image.isNull());
                return std::chrono::duration<double, std::milli>(end - start).count();
            }).result());
    }
    std::sort(milliseconds.begin(), milliseconds.end());
    std::printf("%-16s median %.2f ms, p90 %.2f ms over %d paintings\n", name,
                milliseconds[milliseconds.size() / 2], milliseconds[milliseconds.size() * 9 / 10],
                paintings);
}

} // namespace

int main(int argc, char *argv[])
{
    QGuiApplication app(argc, argv);
    const int paintings = argc > 1 ? std::max(1, std::atoi(argv[1])) : 500;
    QRandomGenerator random(7);
    const QColor cyan(0, 212, 255);
    const QColor purple(168, 85, 247);

    const QList<double> memory = wander(random, 60, 2, 0);
    time("memory chart", {area(memory, 100, cyan), line(memory, 100, cyan, 4)}, {936, 120},
         paintings);

    const QList<double> download = wander(random, 4e6, 1e6, 0);
    const QList<double> upload = wander(random, 1e6, 4e5, 0);
    const double scale = *std::max_element(download.begin(), download.end()) * 1.2;
    time("network chart",
         {area(download, scale, cyan), area(upload, scale, purple), line(download, scale, cyan, 3),
          line(upload, scale, purple, 3)},
         {936, 110}, paintings);
    return 0;
}
