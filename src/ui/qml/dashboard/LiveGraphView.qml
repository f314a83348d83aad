import QtQuick
import Kestrelvanta

// The memory chart of the dashboard, fed from the system monitor.
GlassPanel {
    id: panel

    required property SystemMonitor monitor
    readonly property bool chartRepainting: graph.chartRepainting

    RAMGraphView {
        id: graph

        objectName: "ramGraph"
        anchors.fill: parent
        history: panel.monitor.ramHistory
        usedGB: panel.monitor.ramStats.used
        totalGB: panel.monitor.ramStats.total
        maxValue: 100
    }
}
