import QtQuick
import QtQuick.Layouts
import Kestrelvanta

// A switch drawn as its label, a flexible space and a circle button: a filled check mark in cyan
// when on, an empty circle when off. Only the button flips it; the label does nothing.
RowLayout {
    id: toggle

    property bool isOn: false
    default property alias label: labelSlot.data

    // Emitted when the button is pressed; the owner flips the value it shows.
    signal toggled()

    spacing: 8

    Item {
        id: labelSlot

        implicitWidth: childrenRect.width
        implicitHeight: childrenRect.height
    }

    Item {
        Layout.fillWidth: true
    }

    IconButton {
        objectName: "toggleButton"
        symbol: toggle.isOn ? "checkmark.circle.fill" : "circle"
        color: toggle.isOn ? AppColors.cyan : AppColors.textTertiary
        Accessible.role: Accessible.CheckBox
        Accessible.checkable: true
        Accessible.checked: toggle.isOn
        onClicked: toggle.toggled()
    }
}
