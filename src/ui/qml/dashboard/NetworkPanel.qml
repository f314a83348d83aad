import QtQuick
import Kestrelvanta

// The dashboard's network panel: the network graph on a glass panel.
GlassPanel {
    id: panel

    required property NetworkMonitor networkMonitor
    readonly property bool chartRepainting: graph.chartRepainting

    cornerRadius: 12
    padding: 16

    NetworkGraphView {
        id: graph

        objectName: "networkGraphView"
        anchors.fill: parent
        networkMonitor: panel.networkMonitor
        smoothingWindow: 3
    }
}
