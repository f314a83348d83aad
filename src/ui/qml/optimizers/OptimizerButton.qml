import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Kestrelvanta

// One tool tile: its symbol above its title; the symbol lights up green while the tool is on.
T.AbstractButton {
    id: tile

    property string symbol
    property string title
    property bool isActive: false

    implicitWidth: 96
    implicitHeight: 64
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    opacity: enabled ? 1 : 0.5
    Accessible.name: tile.title
    Accessible.checkable: true
    Accessible.checked: tile.isActive

    contentItem: ColumnLayout {
        spacing: 6

        Icon {
            objectName: "tileSymbol"
            Layout.alignment: Qt.AlignHCenter
            symbol: tile.symbol
            size: 16
            color: tile.isActive ? AppColors.neonGreen : AppColors.textSecondary
        }

        Text {
            objectName: "tileTitle"
            Layout.alignment: Qt.AlignHCenter
            text: tile.title
            font.pixelSize: 12
            color: AppColors.textPrimary
        }
    }

    background: Rectangle {
        radius: 10
        color: tile.down ? AppColors.glassButtonBorder : AppColors.glassButtonBackground
        border.color: tile.hovered ? AppColors.glassButtonBorder : "transparent"
        border.width: 1
    }

    FocusRing {
        radius: 12
        shown: tile.visualFocus
    }

    HoverHandler {
        cursorShape: Qt.PointingHandCursor
    }
}
