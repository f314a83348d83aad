import QtQuick
import QtQuick.Layouts
import Kestrelvanta

// The public DNS providers, switched to one by one or chosen by measuring them all.
GlassPanel {
    id: card

    required property SystemOptimizer optimizer
    // The optimizer's own state: a card rebuilt while DNS is being changed shows it too.
    readonly property bool isLoading: card.optimizer.isChangingDNS
    property string statusMessage
    property color statusColor: AppColors.neonGreen

    function finish(success, message) {
        card.statusMessage = message;
        card.statusColor = OptimizerFormat.statusColor(success);
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 12

        SectionHeader {
            symbol: "globe"
            title: qsTr("DNS Providers")
            subtitle: qsTr("Optimize your network for gaming")
        }

        GridLayout {
            objectName: "providerGrid"
            Layout.fillWidth: true
            columns: 4
            rowSpacing: 12
            columnSpacing: 12

            Repeater {
                model: OptimizerFormat.sortedProviders(card.optimizer.dnsProviderNames)

                // The delegates reach the card by id, as the Loaders of the root view do.
                // qmllint disable unqualified
                delegate: GlassTextButton {
                    required property string modelData

                    objectName: "provider_" + modelData
                    Layout.fillWidth: true
                    text: modelData
                    enabled: !card.isLoading
                    onClicked: card.optimizer.setDNS(modelData, card.finish)
                }
                // qmllint enable unqualified
            }
        }

        RowLayout {
            Layout.fillWidth: true
            spacing: 12

            GlassTextButton {
                objectName: "autoTuneButton"
                Layout.fillWidth: true
                symbol: "wand.and.stars"
                busy: card.isLoading
                enabled: !card.isLoading
                textColor: AppColors.cyan
                text: qsTr("Auto Tune Network")
                onClicked: card.optimizer.autoTuneNetwork(card.finish)
            }

            // Undoes a switch: the connection's own servers again.
            GlassTextButton {
                objectName: "automaticDnsButton"
                symbol: "arrow.clockwise"
                enabled: !card.isLoading
                text: qsTr("Automatic DNS")
                onClicked: card.optimizer.restoreAutomaticDNS(card.finish)
            }
        }

        Text {
            objectName: "dnsStatus"
            Layout.fillWidth: true
            visible: card.statusMessage.length > 0
            text: card.statusMessage
            textFormat: Text.PlainText
            wrapMode: Text.Wrap
            font.pixelSize: 12
            color: card.statusColor
        }
    }
}
