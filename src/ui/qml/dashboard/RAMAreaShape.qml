import QtQuick
import Kestrelvanta

// The area under the memory series, straight-edged, fading from the top to nothing.
ChartSeries {
    kind: ChartSeries.Area
    maxValue: 100
    color: AppColors.cyan
    topOpacity: 0.3
}
