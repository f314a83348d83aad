import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Kestrelvanta

// The two stored preferences and the program's version.
ScrollView {
    id: view

    required property SettingsStore settingsStore

    contentWidth: availableWidth
    contentHeight: stack.implicitHeight + 32
    ScrollBar.vertical.policy: ScrollBar.AsNeeded

    ColumnLayout {
        id: stack

        x: 16
        y: 16
        width: view.availableWidth - 32
        spacing: 16

        GlassPanel {
            objectName: "generalPanel"
            Layout.fillWidth: true
            cornerRadius: 12
            padding: 16

            ColumnLayout {
                anchors.fill: parent
                spacing: 12

                SectionHeader {
                    symbol: "gearshape"
                    title: qsTr("General")
                }

                GlassToggleStyle {
                    objectName: "launchOnStartupToggle"
                    Layout.fillWidth: true
                    isOn: view.settingsStore.launchOnStartup
                    onToggled: view.settingsStore.launchOnStartup = !view.settingsStore.launchOnStartup

                    ToggleLabel {
                        title: qsTr("Launch at Login")
                        subtitle: qsTr("Start Kestrelvanta when you log in")
                    }
                }

                Rectangle {
                    Layout.fillWidth: true
                    implicitHeight: 1
                    color: AppColors.glassPanelBorder
                }

                GlassToggleStyle {
                    objectName: "autoOptimizeToggle"
                    Layout.fillWidth: true
                    isOn: view.settingsStore.autoOptimize
                    onToggled: view.settingsStore.autoOptimize = !view.settingsStore.autoOptimize

                    ToggleLabel {
                        title: qsTr("Auto-Optimize")
                        subtitle: qsTr("Apply optimizations when starting games")
                    }
                }
            }
        }

        GlassPanel {
            objectName: "aboutPanel"
            Layout.fillWidth: true
            cornerRadius: 12
            padding: 16

            ColumnLayout {
                anchors.fill: parent
                spacing: 12

                SectionHeader {
                    symbol: "info.circle"
                    title: qsTr("About")
                }

                InfoRow {
                    label: qsTr("Version")
                    value: "1.0(1)"
                }

                InfoRow {
                    label: qsTr("Build")
                    value: "2026.0505"
                }
            }
        }
    }

    component SectionHeader: RowLayout {
        id: header

        property string symbol
        property string title

        spacing: 8

        Icon {
            symbol: header.symbol
            size: 16
            color: AppColors.cyan
        }
        Text {
            text: header.title
            font.pixelSize: 16
            font.weight: Font.DemiBold
            color: AppColors.textPrimary
        }
        Item {
            Layout.fillWidth: true
        }
    }

    component ToggleLabel: Column {
        id: toggleLabel

        property string title
        property string subtitle

        spacing: 2

        Text {
            text: toggleLabel.title
            font.pixelSize: 14
            color: AppColors.textPrimary
        }
        Text {
            text: toggleLabel.subtitle
            font.pixelSize: 10
            color: AppColors.textSecondary
        }
    }

    component InfoRow: RowLayout {
        id: infoRow

        property string label
        property string value

        Text {
            text: infoRow.label
            font.pixelSize: 12
            color: AppColors.textSecondary
        }
        Item {
            Layout.fillWidth: true
        }
        Text {
            text: infoRow.value
            font.pixelSize: 12
            color: AppColors.textPrimary
        }
    }
}
