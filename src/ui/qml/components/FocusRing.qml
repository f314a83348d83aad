import QtQuick
import Kestrelvanta

// Outlines a control that has keyboard focus, so that the window can be used from the keyboard.
Rectangle {
    property bool shown: false

    anchors.fill: parent
    anchors.margins: -2
    radius: 6
    color: "transparent"
    border.color: AppColors.cyan
    border.width: 1
    visible: shown
}
