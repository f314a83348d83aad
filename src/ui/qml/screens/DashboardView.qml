import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Kestrelvanta

// The live telemetry, top to bottom: the memory chart, the network panel, three memory figures,
// the accessories' batteries and the session recorder.
ScrollView {
    id: view

    required property SystemMonitor monitor
    required property NetworkMonitor networkMonitor
    required property SessionLogger sessionLogger
    required property PDFReportGenerator reportGenerator

    contentWidth: availableWidth
    contentHeight: stack.implicitHeight + 32
    ScrollBar.vertical.policy: ScrollBar.AsNeeded

    // Each panel is drawn into its own texture and redrawn only when its figures change (about
    // once a second), not on every frame of the moving background behind it: without a GPU,
    // repainting charts and texts with each frame costs several times what the background does.
    // CachedLayer shows each texture without marking it changed on every frame, so only what the
    // background really changed behind a panel is composited again. A panel with a chart holds its
    // layer while the chart is painted after a sample, and so do the memory figures: the figures
    // and the charts then change together, and each panel is drawn once per second.
    ColumnLayout {
        id: stack

        x: 16
        y: 16
        width: view.availableWidth - 32
        spacing: 16

        LiveGraphView {
            id: liveGraph

            objectName: "liveGraph"
            layer.enabled: true
            // The effect is an implicit component, created in this file's context.
            // qmllint disable unqualified
            layer.effect: CachedLayer {
                objectName: "liveGraphLayer"
                held: liveGraph.chartRepainting
            }
            // qmllint enable unqualified
            Layout.fillWidth: true
            monitor: view.monitor
        }

        NetworkPanel {
            id: networkPanel

            objectName: "networkPanel"
            layer.enabled: true
            // qmllint disable unqualified
            layer.effect: CachedLayer {
                objectName: "networkPanelLayer"
                held: networkPanel.chartRepainting
            }
            // qmllint enable unqualified
            Layout.fillWidth: true
            networkMonitor: view.networkMonitor
        }

        RowLayout {
            objectName: "quickStats"
            layer.enabled: true
            // The figures come from the memory sample: they change with the memory chart.
            // qmllint disable unqualified
            layer.effect: CachedLayer {
                objectName: "quickStatsLayer"
                held: liveGraph.chartRepainting
            }
            // qmllint enable unqualified
            Layout.fillWidth: true
            spacing: 12

            QuickStatCard {
                objectName: "activeCard"
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                title: qsTr("Active")
                icon: "cpu"
                iconColor: AppColors.purple
                value: TelemetryFormat.gigabytes(view.monitor.ramStats.active)
            }

            QuickStatCard {
                objectName: "wiredCard"
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                title: qsTr("Wired")
                icon: "lock.fill"
                iconColor: AppColors.systemOrange
                value: TelemetryFormat.gigabytes(view.monitor.ramStats.wired)
            }

            QuickStatCard {
                objectName: "compressedCard"
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                title: qsTr("Compressed")
                icon: "archivebox"
                iconColor: AppColors.neonGreen
                value: TelemetryFormat.gigabytes(view.monitor.ramStats.compressed)
            }
        }

        PeripheralCard {
            objectName: "peripheralCard"
            layer.enabled: true
            layer.effect: CachedLayer {}
            Layout.fillWidth: true
            monitor: view.monitor
        }

        SessionCard {
            objectName: "sessionCard"
            layer.enabled: true
            layer.effect: CachedLayer {}
            Layout.fillWidth: true
            sessionLogger: view.sessionLogger
            monitor: view.monitor
            reportGenerator: view.reportGenerator
        }
    }
}
