import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Kestrelvanta

// Game Mode in one click: the game to favour (or automatic choice), the switch, what it did.
GlassPanel {
    id: card

    required property SystemOptimizer optimizer
    // The optimizer's own state: a card rebuilt while Game Mode is being switched shows it too.
    readonly property bool isBoosting: card.optimizer.isBoosting
    property string resultMessage
    // The pid of the entry the picker shows, 0 for automatic choice: what is shown is what
    // Game Mode gets.
    readonly property int selectedGamePID: picker.currentIndex > 0 ? picker.currentValue : 0
    // The game the user picked, kept while a refreshed list still holds its process.
    property int pickedGamePID: 0

    function toggleGameMode() {
        card.resultMessage = "";
        const finished = (success, actions) => {
            card.resultMessage = OptimizerFormat.boostMessage(success, actions);
        };
        if (card.optimizer.gameModeEnabled)
            card.optimizer.disableGameMode(finished);
        else
            card.optimizer.enableGameMode(card.selectedGamePID, finished);
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 12

        SectionHeader {
            symbol: "bolt.fill"
            title: qsTr("Quick Boost")
            subtitle: qsTr("One-click optimization for maximum performance")
        }

        RowLayout {
            Layout.fillWidth: true
            spacing: 8

            Text {
                text: qsTr("Game")
                font.pixelSize: 13
                color: AppColors.textSecondary
            }

            ComboBox {
                id: picker

                objectName: "gamePicker"
                Layout.fillWidth: true
                Layout.maximumWidth: 360
                textRole: "text"
                valueRole: "value"
                model: OptimizerFormat.gameChoices(card.optimizer.detectedGames)
                // A new list keeps the pick while its process is still in it, and falls back to
                // automatic choice (for good) once it is gone.
                onModelChanged: {
                    const index = indexOfValue(card.pickedGamePID);
                    if (index < 1)
                        card.pickedGamePID = 0;
                    currentIndex = Math.max(0, index);
                }
                onActivated: card.pickedGamePID = currentValue
                Accessible.name: qsTr("Game")
                implicitHeight: 34
                leftPadding: 12
                rightPadding: 12

                // A game's name is whatever its window calls itself: it is shown as text, here
                // and in the list, never read as markup.
                contentItem: Text {
                    text: picker.displayText
                    textFormat: Text.PlainText
                    verticalAlignment: Text.AlignVCenter
                    elide: Text.ElideRight
                    font.pixelSize: 13
                    color: AppColors.textPrimary
                }

                // The delegates reach the picker by id, as the provider buttons reach their card.
                // qmllint disable unqualified
                delegate: ItemDelegate {
                    id: choice

                    required property int index

                    objectName: "gameChoice"
                    width: ListView.view.width
                    highlighted: picker.highlightedIndex === choice.index
                    hoverEnabled: picker.hoverEnabled

                    contentItem: Text {
                        objectName: "choiceText"
                        text: picker.textAt(choice.index)
                        textFormat: Text.PlainText
                        verticalAlignment: Text.AlignVCenter
                        elide: Text.ElideRight
                        font.pixelSize: 13
                        font.weight: picker.currentIndex === choice.index ? Font.DemiBold : Font.Normal
                        color: choice.highlighted ? AppColors.cyan : AppColors.textPrimary
                    }

                    background: Rectangle {
                        radius: 6
                        color: choice.highlighted ? AppColors.glassButtonBackground : "transparent"
                    }
                }
                // qmllint enable unqualified

                // The list opens on the dark of the window, as the report alert does.
                popup.background: Rectangle {
                    radius: 8
                    color: AppColors.midNavy
                    border.color: AppColors.glassPanelBorder
                    border.width: 1
                }

                indicator: Icon {
                    x: picker.width - width - 10
                    y: (picker.height - height) / 2
                    symbol: "chevron.down"
                    size: 16
                    color: AppColors.textSecondary
                }

                background: Rectangle {
                    radius: 8
                    color: AppColors.glassButtonBackground
                    border.color: picker.hovered || picker.visualFocus ? AppColors.cyan : AppColors.glassButtonBorder
                    border.width: 1
                }
            }

            IconButton {
                objectName: "refreshGamesButton"
                symbol: "arrow.clockwise"
                iconSize: 12
                padding: 8
                color: AppColors.textSecondary
                Accessible.name: qsTr("Refresh games")
                background: Rectangle {
                    radius: 8
                    color: AppColors.glassButtonBackground
                }
                onClicked: card.optimizer.refreshDetectedGames()
            }
        }

        GlassTextButton {
            objectName: "gameModeButton"
            Layout.fillWidth: true
            symbol: "bolt.fill"
            busy: card.isBoosting
            enabled: !card.isBoosting
            fontSize: 14
            textColor: card.optimizer.gameModeEnabled ? AppColors.neonGreen : AppColors.cyan
            text: card.optimizer.gameModeEnabled ? qsTr("Disable Game Mode") : qsTr("Enable Game Mode")
            onClicked: card.toggleGameMode()
        }

        Text {
            objectName: "boostResult"
            Layout.fillWidth: true
            visible: card.resultMessage.length > 0
            text: card.resultMessage
            textFormat: Text.PlainText
            wrapMode: Text.Wrap
            font.pixelSize: 12
            color: OptimizerFormat.readsAsFailure(card.resultMessage) ? AppColors.systemRed : AppColors.neonGreen
        }

        Loader {
            objectName: "reportLoader"
            Layout.fillWidth: true
            active: card.optimizer.lastOptimizationReport !== undefined
            visible: active
            // qmllint disable unqualified
            sourceComponent: OptimizationReportView {
                objectName: "reportView"
                report: card.optimizer.lastOptimizationReport
            }
            // qmllint enable unqualified
        }
    }
}
