import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Kestrelvanta

// The network panel's content: connection, identity, speed test, live readouts and
// the download/upload chart. It starts the monitor when it appears before any sample exists.
ColumnLayout {
    id: view

    required property NetworkMonitor networkMonitor
    property int smoothingWindow: 3
    // A new chart is being painted; the one on screen is a sample behind.
    readonly property alias chartRepainting: chart.repainting

    readonly property list<real> downloadHistory: view.networkMonitor.downloadHistory
    readonly property list<real> uploadHistory: view.networkMonitor.uploadHistory
    readonly property real scale: NetworkChart.maxYValue(view.downloadHistory, view.uploadHistory)
    readonly property list<real> smoothedDownload: NetworkChart.smoothData(view.downloadHistory,
                                                                           view.smoothingWindow)
    readonly property list<real> smoothedUpload: NetworkChart.smoothData(view.uploadHistory,
                                                                         view.smoothingWindow)
    readonly property string connectionSymbol: {
        switch (view.networkMonitor.connectionType) {
        case "WiFi":
            return "wifi";
        case "Ethernet":
            return "cable.connector";
        case "Cellular":
            return "antenna.radiowaves.left.and.right";
        }
        return "wifi.slash";
    }

    spacing: 10

    Component.onCompleted: {
        if (view.networkMonitor.downloadHistory.length === 0)
            view.networkMonitor.startMonitoring();
    }

    // 1. Connection and the speed-test button.
    RowLayout {
        Layout.fillWidth: true
        spacing: 8

        Icon {
            objectName: "connectionIcon"
            symbol: view.connectionSymbol
            size: 16
            color: AppColors.cyan
        }
        Text {
            text: qsTr("Network")
            color: AppColors.textPrimary
            font.pixelSize: 14
            font.weight: Font.DemiBold
        }
        Text {
            objectName: "connectionName"
            Layout.fillWidth: true
            text: view.networkMonitor.connectionName
            textFormat: Text.PlainText
            color: AppColors.textSecondary
            font.pixelSize: 12
            elide: Text.ElideRight
            maximumLineCount: 1
        }
        BusyIndicator {
            objectName: "speedTestSpinner"
            visible: view.networkMonitor.isRunningSpeedTest
            running: visible
            implicitWidth: 20
            implicitHeight: 20
            padding: 0
        }
        IconButton {
            objectName: "speedTestButton"
            visible: !view.networkMonitor.isRunningSpeedTest
            symbol: "speedometer"
            color: AppColors.textSecondary
            iconSize: 18
            Accessible.name: qsTr("Run speed test")
            onClicked: view.networkMonitor.runSpeedTest()
        }
    }

    // 2. Who carries the traffic, and where.
    RowLayout {
        objectName: "identityRow"
        visible: view.networkMonitor.ispName !== "" || view.networkMonitor.city !== ""
        spacing: 4

        Icon {
            symbol: "building.2"
            size: 10
            color: AppColors.textSecondary
        }
        Text {
            objectName: "ispName"
            text: view.networkMonitor.ispName
            textFormat: Text.PlainText
            color: AppColors.textSecondary
            font.pixelSize: 10
        }
        Text {
            visible: view.networkMonitor.city !== ""
            text: "•"
            color: AppColors.textTertiary
            font.pixelSize: 10
        }
        Text {
            objectName: "location"
            visible: view.networkMonitor.city !== ""
            text: view.networkMonitor.city + ", " + view.networkMonitor.country
            textFormat: Text.PlainText
            color: AppColors.textSecondary
            font.pixelSize: 10
        }
    }

    // 3. The speed test: simulated progress while it runs, then its result.
    ColumnLayout {
        objectName: "speedTestProgress"
        visible: view.networkMonitor.isRunningSpeedTest
        Layout.fillWidth: true
        spacing: 4

        RowLayout {
            Layout.fillWidth: true
            Text {
                text: qsTr("Speed Test")
                color: AppColors.textSecondary
                font.pixelSize: 9
            }
            Item {
                Layout.fillWidth: true
            }
            Text {
                objectName: "speedTestPercent"
                text: Math.round(view.networkMonitor.speedTestProgress * 100) + "%"
                color: AppColors.textSecondary
                font.pixelSize: 9
            }
        }
        Rectangle {
            Layout.fillWidth: true
            implicitHeight: 4
            radius: 2
            color: AppColors.glassButtonBackground

            Rectangle {
                width: parent.width * Math.max(0, Math.min(1, view.networkMonitor.speedTestProgress))
                height: parent.height
                radius: 2
                color: AppColors.cyan
            }
        }
    }

    ColumnLayout {
        objectName: "speedTestResult"
        visible: !view.networkMonitor.isRunningSpeedTest && view.networkMonitor.speedTestDownloadMbps > 0
        spacing: 2

        Text {
            text: qsTr("Speed Test")
            color: AppColors.textSecondary
            font.pixelSize: 9
        }
        Text {
            objectName: "speedTestValue"
            text: view.networkMonitor.formatMbps(view.networkMonitor.speedTestDownloadMbps)
            color: AppColors.textPrimary
            font.pixelSize: 14
            font.weight: Font.DemiBold
        }
    }

    // 4. The live readouts.
    RowLayout {
        Layout.fillWidth: true
        spacing: 24

        Readout {
            objectName: "downloadReadout"
            symbol: "arrow.down"
            tint: AppColors.cyan
            caption: qsTr("Download")
            value: view.networkMonitor.formatSpeed(view.networkMonitor.downloadSpeed)
        }
        Readout {
            objectName: "uploadReadout"
            symbol: "arrow.up"
            tint: AppColors.purple
            caption: qsTr("Upload")
            value: view.networkMonitor.formatSpeed(view.networkMonitor.uploadSpeed)
        }
        Item {
            Layout.fillWidth: true
        }
    }

    // 5. The chart, once two samples exist.
    Item {
        objectName: "chartArea"
        Layout.fillWidth: true
        implicitHeight: 110

        Text {
            objectName: "collectingData"
            anchors.centerIn: parent
            visible: view.downloadHistory.length < 2
            text: qsTr("Collecting data...")
            color: AppColors.textTertiary
            font.pixelSize: 11
        }

        ChartPlot {
            id: chart

            objectName: "chart"
            anchors.fill: parent
            visible: view.downloadHistory.length >= 2
            // A returning user's monitor samples twice a second, the second stream a few tens of
            // milliseconds behind the first (the dashboard starts it when it appears): both
            // samples are painted, and the panel redrawn, once.
            batchInterval: 250

            NetworkAreaShape {
                objectName: "downloadArea"
                values: view.smoothedDownload
                maxValue: view.scale
                color: AppColors.cyan
            }
            NetworkAreaShape {
                objectName: "uploadArea"
                values: view.smoothedUpload
                maxValue: view.scale
                color: AppColors.purple
            }
            NetworkLineShape {
                objectName: "downloadLine"
                values: view.smoothedDownload
                maxValue: view.scale
                color: AppColors.cyan
            }
            NetworkLineShape {
                objectName: "uploadLine"
                values: view.smoothedUpload
                maxValue: view.scale
                color: AppColors.purple
            }
        }
    }

    component Readout: RowLayout {
        id: readout

        property string symbol
        property color tint
        property string caption
        property string value

        spacing: 6

        Icon {
            symbol: readout.symbol
            size: 14
            color: readout.tint
        }
        Column {
            Text {
                text: readout.caption
                color: AppColors.textSecondary
                font.pixelSize: 9
            }
            Text {
                objectName: readout.objectName + "Value"
                text: readout.value
                color: AppColors.textPrimary
                font.pixelSize: 14
                font.weight: Font.DemiBold
            }
        }
    }
}
