import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Kestrelvanta

// A text button on the glass button background, optionally with a symbol or a spinner before
// the text.
T.AbstractButton {
    id: button

    property string symbol
    property bool busy: false
    property color textColor: AppColors.textPrimary
    property real fontSize: 13

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    leftPadding: 14
    rightPadding: 14
    topPadding: 8
    bottomPadding: 8
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    opacity: enabled ? 1 : 0.5
    Accessible.name: button.text

    contentItem: RowLayout {
        spacing: 6

        Item {
            Layout.fillWidth: true
        }

        Spinner {
            objectName: "busySpinner"
            visible: button.busy
            size: button.fontSize
            color: button.textColor
        }

        Icon {
            objectName: "buttonSymbol"
            visible: !button.busy && button.symbol.length > 0
            symbol: button.symbol
            size: button.fontSize
            color: button.textColor
        }

        Text {
            objectName: "buttonText"
            text: button.text
            textFormat: Text.PlainText
            font.pixelSize: button.fontSize
            font.weight: Font.DemiBold
            color: button.textColor
        }

        Item {
            Layout.fillWidth: true
        }
    }

    background: Rectangle {
        radius: 8
        color: button.down ? AppColors.glassButtonBorder : AppColors.glassButtonBackground
        border.color: button.hovered ? AppColors.glassButtonBorder : "transparent"
        border.width: 1
    }

    FocusRing {
        radius: 10
        shown: button.visualFocus
    }

    HoverHandler {
        cursorShape: Qt.PointingHandCursor
    }
}
