import QtQuick
import QtQuick.Layouts
import Kestrelvanta

// The memory chart: the header with the amount in use, the percentage series on a fixed
// 0 … maxValue scale, and a footer with the share in use and the installed total.
ColumnLayout {
    id: view

    property list<real> history
    property real usedGB
    property real totalGB
    property real maxValue: 100
    // A new chart is being painted; the one on screen is a sample behind.
    readonly property alias chartRepainting: chart.repainting

    spacing: 8

    RowLayout {
        Layout.fillWidth: true
        spacing: 8

        Icon {
            symbol: "memorychip"
            size: 16
            color: AppColors.cyan
        }

        Text {
            text: qsTr("RAM Usage")
            font.pixelSize: 14
            font.weight: Font.DemiBold
            color: AppColors.textPrimary
        }

        Item {
            Layout.fillWidth: true
        }

        Text {
            objectName: "usedText"
            text: TelemetryFormat.gigabytes(view.usedGB)
            font.pixelSize: 14
            font.weight: Font.DemiBold
            color: AppColors.cyan
        }
    }

    ChartPlot {
        id: chart

        objectName: "chart"
        Layout.fillWidth: true
        Layout.preferredHeight: 120
        // Waits as the network chart does, so that both panels change in the same frame.
        batchInterval: 250

        RAMAreaShape {
            objectName: "area"
            values: view.history
            maxValue: view.maxValue
        }

        RAMLineGraph {
            objectName: "line"
            values: view.history
            maxValue: view.maxValue
        }
    }

    RowLayout {
        Layout.fillWidth: true

        Text {
            objectName: "percentText"
            text: TelemetryFormat.wholePercent(view.usedGB / view.totalGB * 100)
            font.pixelSize: 12
            color: AppColors.textSecondary
        }

        Item {
            Layout.fillWidth: true
        }

        Text {
            objectName: "totalText"
            text: TelemetryFormat.wholeGigabytes(view.totalGB)
            font.pixelSize: 12
            color: AppColors.textTertiary
        }
    }
}
