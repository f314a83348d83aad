import QtQuick
import Kestrelvanta

// The curved line through a smoothed series, 2.5 wide with round caps and joins, over its glow.
ChartSeries {
    kind: ChartSeries.Line
    color: AppColors.cyan
    lineWidth: 2.5
    glowRadius: 3
    glowOpacity: 0.6
}
