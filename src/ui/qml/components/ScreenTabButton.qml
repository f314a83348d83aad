import QtQuick
import QtQuick.Templates as T
import Kestrelvanta

// One tab of the screen bar: its title only, highlighted while selected.
T.AbstractButton {
    id: tab

    property bool selected: false

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    leftPadding: 16
    rightPadding: 16
    topPadding: 8
    bottomPadding: 8
    hoverEnabled: true
    Accessible.role: Accessible.PageTab
    Accessible.checked: tab.selected

    contentItem: Text {
        text: tab.text
        font.pixelSize: 13
        font.weight: tab.selected ? Font.DemiBold : Font.Normal
        color: tab.selected ? AppColors.cyan : AppColors.textSecondary
        verticalAlignment: Text.AlignVCenter
    }

    background: Rectangle {
        radius: 8
        color: tab.selected ? AppColors.glassButtonBackground : "transparent"

        FocusRing {
            radius: 10
            shown: tab.visualFocus
        }
    }
}
