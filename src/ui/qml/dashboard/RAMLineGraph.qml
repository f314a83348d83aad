import QtQuick
import Kestrelvanta

// The memory series as a smooth line, 2.5 wide with round caps and joins, over its glow.
ChartSeries {
    kind: ChartSeries.Line
    maxValue: 100
    color: AppColors.cyan
    lineWidth: 2.5
    glowRadius: 4
    glowOpacity: 0.6
}
