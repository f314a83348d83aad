pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Kestrelvanta

// The bar of screen tabs: one button per screen in their order, at the leading edge, on a band of
// translucent material that spans the full width.
Rectangle {
    id: bar

    property int selectedScreen: AppScreen.Dashboard

    signal screenSelected(int screen)

    implicitHeight: row.implicitHeight + 16
    color: Qt.rgba(AppColors.ultraThinMaterial.r, AppColors.ultraThinMaterial.g,
                   AppColors.ultraThinMaterial.b, AppColors.ultraThinMaterial.a * 0.5)

    RowLayout {
        id: row

        anchors.fill: parent
        anchors.leftMargin: 16
        anchors.rightMargin: 16
        anchors.topMargin: 8
        anchors.bottomMargin: 8
        spacing: 4

        Repeater {
            model: AppScreen.allCases

            ScreenTabButton {
                required property int modelData

                objectName: "tab" + text
                text: AppScreen.title(modelData)
                selected: modelData === bar.selectedScreen
                onClicked: bar.screenSelected(modelData)
            }
        }

        Item {
            Layout.fillWidth: true
        }
    }
}
