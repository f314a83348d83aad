import QtQuick
import Kestrelvanta

// The filled area under a series: straight edges, a gradient from `color` at `topOpacity` at the
// top to transparent at the bottom.
ChartSeries {
    kind: ChartSeries.Area
    color: AppColors.cyan
    topOpacity: 0.25
}
