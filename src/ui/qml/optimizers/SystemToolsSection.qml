import QtQuick
import QtQuick.Layouts
import Kestrelvanta

// The system's switches and one-shot tools, with the last tool's message.
GlassPanel {
    id: card

    required property SystemOptimizer optimizer
    property string statusMessage
    property color statusColor: AppColors.neonGreen

    function show(success, message) {
        card.statusMessage = message;
        card.statusColor = OptimizerFormat.statusColor(success);
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 12

        RowLayout {
            spacing: 8

            SectionHeader {
                symbol: "wrench.and.screwdriver"
                title: qsTr("System Tools")
            }

            // One tool at a time: while one works the tiles wait, whichever card asked for it.
            Spinner {
                objectName: "toolsSpinner"
                visible: card.optimizer.isRunningTool
                size: 14
                color: AppColors.textSecondary
            }
        }

        GridLayout {
            objectName: "toolGrid"
            Layout.fillWidth: true
            columns: 5
            rowSpacing: 12
            columnSpacing: 12

            OptimizerButton {
                objectName: "antiShutTile"
                enabled: !card.optimizer.isRunningTool
                Layout.fillWidth: true
                symbol: "cup.and.saucer.fill"
                title: qsTr("Anti Shut")
                isActive: card.optimizer.antiShutEnabled
                onClicked: card.optimizer.toggleAntiShut(!card.optimizer.antiShutEnabled)
            }

            OptimizerButton {
                objectName: "focusModeTile"
                enabled: !card.optimizer.isRunningTool
                Layout.fillWidth: true
                symbol: "moon.fill"
                title: qsTr("Focus Mode")
                isActive: card.optimizer.focusModeEnabled
                onClicked: card.optimizer.toggleFocusMode(!card.optimizer.focusModeEnabled)
            }

            OptimizerButton {
                objectName: "hudTile"
                enabled: !card.optimizer.isRunningTool
                Layout.fillWidth: true
                symbol: "cpu"
                title: qsTr("Metal HUD")
                isActive: card.optimizer.metalHUDEnabled
                onClicked: card.optimizer.toggleMetalHUD(!card.optimizer.metalHUDEnabled, card.show)
            }

            OptimizerButton {
                objectName: "purgeTile"
                enabled: !card.optimizer.isRunningTool
                Layout.fillWidth: true
                symbol: "arrow.clockwise"
                title: qsTr("Purge RAM")
                onClicked: card.optimizer.purgeRAM(card.show)
            }

            OptimizerButton {
                objectName: "flushTile"
                enabled: !card.optimizer.isRunningTool
                Layout.fillWidth: true
                symbol: "network"
                title: qsTr("Flush DNS")
                onClicked: card.optimizer.flushDNS(card.show)
            }
        }

        RowLayout {
            spacing: 12

            GlassTextButton {
                objectName: "lowerResButton"
                enabled: !card.optimizer.isRunningTool
                text: qsTr("Lower Res")
                onClicked: card.optimizer.changeResolution(1920, 1080, card.show)
            }

            GlassTextButton {
                objectName: "revertResButton"
                enabled: !card.optimizer.isRunningTool
                text: qsTr("Revert Res")
                onClicked: {
                    if (card.optimizer.originalResolution !== undefined)
                        card.optimizer.revertResolution(card.show);
                }
            }
        }

        Text {
            objectName: "toolsStatus"
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
