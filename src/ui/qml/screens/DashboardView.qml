import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Kestrelvanta

// The dashboard (Part 6.3): a scrolling stack of the live telemetry. The network panel is here;
// the other cards arrive with their features.
ScrollView {
    id: view

    required property NetworkMonitor networkMonitor

    contentWidth: availableWidth
    contentHeight: stack.implicitHeight + 32
    ScrollBar.vertical.policy: ScrollBar.AsNeeded

    ColumnLayout {
        id: stack

        x: 16
        y: 16
        width: view.availableWidth - 32
        spacing: 16

        NetworkPanel {
            objectName: "networkPanel"
            Layout.fillWidth: true
            networkMonitor: view.networkMonitor
        }
    }
}
