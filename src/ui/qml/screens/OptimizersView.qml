import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Kestrelvanta

// The optimizers, top to bottom: Quick Boost, the system tools and the DNS providers.
ScrollView {
    id: view

    required property SystemOptimizer optimizer

    contentWidth: availableWidth
    contentHeight: stack.implicitHeight + 32
    ScrollBar.vertical.policy: ScrollBar.AsNeeded

    ColumnLayout {
        id: stack

        x: 16
        y: 16
        width: view.availableWidth - 32
        spacing: 16

        QuickBoostSection {
            objectName: "quickBoostSection"
            Layout.fillWidth: true
            optimizer: view.optimizer
        }

        SystemToolsSection {
            objectName: "systemToolsSection"
            Layout.fillWidth: true
            optimizer: view.optimizer
        }

        DNSSection {
            objectName: "dnsSection"
            Layout.fillWidth: true
            optimizer: view.optimizer
        }
    }
}
