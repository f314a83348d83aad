import QtQuick
import QtQuick.Layouts
import Kestrelvanta

// The battery levels of connected accessories, refreshed on request.
GlassPanel {
    id: card

    required property SystemMonitor monitor

    ColumnLayout {
        anchors.fill: parent
        spacing: 10

        RowLayout {
            Layout.fillWidth: true
            spacing: 8

            Icon {
                symbol: "keyboard"
                size: 16
                color: AppColors.cyan
            }

            Text {
                text: qsTr("Bluetooth Devices")
                font.pixelSize: 14
                font.weight: Font.DemiBold
                color: AppColors.textPrimary
            }

            Item {
                Layout.fillWidth: true
            }

            IconButton {
                objectName: "refreshButton"
                symbol: "arrow.clockwise"
                iconSize: 12
                padding: 6
                color: AppColors.textSecondary
                Accessible.name: qsTr("Refresh")
                onClicked: card.monitor.getPeripheralBatteries()
            }
        }

        RowLayout {
            objectName: "emptyRow"
            visible: card.monitor.peripheralBatteries.length === 0
            spacing: 8

            Icon {
                symbol: "keyboard.badge.ellipsis"
                size: 14
                color: AppColors.textTertiary
            }

            Text {
                objectName: "emptyText"
                text: qsTr("No devices found - tap refresh")
                font.pixelSize: 12
                color: AppColors.textTertiary
            }
        }

        Repeater {
            objectName: "deviceRows"
            model: card.monitor.peripheralBatteries

            delegate: RowLayout {
                id: row

                required property peripheralBattery modelData

                objectName: "deviceRow"
                Layout.fillWidth: true
                spacing: 8

                Icon {
                    objectName: "levelSymbol"
                    symbol: BatteryLevelStyle.symbol(row.modelData.battery)
                    size: 16
                    color: BatteryLevelStyle.symbolColor(row.modelData.battery)
                }

                Text {
                    objectName: "deviceName"
                    Layout.fillWidth: true
                    text: row.modelData.name
                    textFormat: Text.PlainText
                    elide: Text.ElideRight
                    font.pixelSize: 13
                    color: AppColors.textPrimary
                }

                Text {
                    objectName: "levelText"
                    text: BatteryLevelStyle.levelText(row.modelData.battery)
                    font.pixelSize: 12
                    color: BatteryLevelStyle.textColor(row.modelData.battery)
                }
            }
        }
    }
}
