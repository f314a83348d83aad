#pragma once

#include <QList>
#include <QPoint>
#include <QRect>
#include <QSize>

#include <optional>

namespace platform {

/// The desktop's arrangement of logical monitors when one of them changes size. GNOME's
/// compositor takes only arrangements that start at the origin, where no two monitors overlap
/// and every monitor shares part of an edge with another one.
class MutterMonitorLayout {
public:
    /// The new top-left corners, in the order given, once `resized` takes `size`: monitors past
    /// its right or bottom edge move by as much as that edge does, and a neighbour the change
    /// would cut loose is lined up with it again. Nothing when no such arrangement is valid.
    [[nodiscard]] static std::optional<QList<QPoint>> resized(const QList<QRect> &monitors,
                                                              qsizetype resized, QSize size);

    /// Starts at the origin, has no overlaps, and leaves no monitor on its own.
    [[nodiscard]] static bool isValid(const QList<QRect> &monitors);

    /// Shares part of an edge (a corner alone does not count).
    [[nodiscard]] static bool areAdjacent(const QRect &a, const QRect &b);
};

} // namespace platform
