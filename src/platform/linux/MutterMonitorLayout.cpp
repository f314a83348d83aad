#include "MutterMonitorLayout.h"

#include <algorithm>
#include <limits>

namespace platform {

namespace {

// QRect's right() and bottom() are the last pixel; the compositor's edges are one past it.
int rightEdge(const QRect &rect)
{
    return rect.x() + rect.width();
}

int bottomEdge(const QRect &rect)
{
    return rect.y() + rect.height();
}

bool rangesOverlap(int start, int length, int otherStart, int otherLength)
{
    return start < otherStart + otherLength && otherStart < start + length;
}

} // namespace

bool MutterMonitorLayout::areAdjacent(const QRect &a, const QRect &b)
{
    const bool sideBySide = (rightEdge(a) == b.x() || rightEdge(b) == a.x()) &&
                            rangesOverlap(a.y(), a.height(), b.y(), b.height());
    const bool stacked = (bottomEdge(a) == b.y() || bottomEdge(b) == a.y()) &&
                         rangesOverlap(a.x(), a.width(), b.x(), b.width());
    return sideBySide || stacked;
}

bool MutterMonitorLayout::isValid(const QList<QRect> &monitors)
{
    if (monitors.isEmpty()) {
        return false;
    }
    int left = std::numeric_limits<int>::max();
    int top = std::numeric_limits<int>::max();
    for (qsizetype i = 0; i < monitors.size(); ++i) {
        const QRect &monitor = monitors.at(i);
        if (monitor.isEmpty()) {
            return false;
        }
        left = std::min(left, monitor.x());
        top = std::min(top, monitor.y());
        bool touches = monitors.size() == 1;
        for (qsizetype j = 0; j < monitors.size(); ++j) {
            if (i == j) {
                continue;
            }
            if (monitor.intersects(monitors.at(j))) {
                return false;
            }
            touches = touches || areAdjacent(monitor, monitors.at(j));
        }
        if (!touches) {
            return false;
        }
    }
    return left == 0 && top == 0;
}

std::optional<QList<QPoint>> MutterMonitorLayout::resized(const QList<QRect> &monitors,
                                                          qsizetype resized, QSize size)
{
    if (resized < 0 || resized >= monitors.size() || size.isEmpty()) {
        return std::nullopt;
    }
    const QRect before = monitors.at(resized);
    const QRect after(before.topLeft(), size);
    const int dx = size.width() - before.width();
    const int dy = size.height() - before.height();

    QList<QRect> placed = monitors;
    placed[resized] = after;
    for (qsizetype i = 0; i < placed.size(); ++i) {
        if (i == resized) {
            continue;
        }
        const QRect old = monitors.at(i);
        QRect &monitor = placed[i];
        if (old.x() >= rightEdge(before)) {
            monitor.moveLeft(old.x() + dx);
        }
        if (old.y() >= bottomEdge(before)) {
            monitor.moveTop(old.y() + dy);
        }
        // A neighbour beside the monitor that no longer reaches along its shorter edge is lined
        // up with its top (or left) edge, as the compositor's own settings would place it.
        if (areAdjacent(old, before) && !areAdjacent(monitor, after)) {
            if (old.x() >= rightEdge(before) || rightEdge(old) <= before.x()) {
                monitor.moveTop(after.y());
            } else {
                monitor.moveLeft(after.x());
            }
        }
    }

    // The arrangement starts at the origin whatever moved.
    int left = std::numeric_limits<int>::max();
    int top = std::numeric_limits<int>::max();
    for (const QRect &monitor : std::as_const(placed)) {
        left = std::min(left, monitor.x());
        top = std::min(top, monitor.y());
    }
    QList<QPoint> corners;
    for (QRect &monitor : placed) {
        monitor.translate(-left, -top);
        corners.append(monitor.topLeft());
    }
    if (!isValid(placed)) {
        return std::nullopt;
    }
    return corners;
}

} // namespace platform
