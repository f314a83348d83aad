import QtQuick
import QtQuick.Templates as T
import Kestrelvanta

// A button drawn as a single symbol.
T.AbstractButton {
    id: button

    property string symbol
    property color color: AppColors.textPrimary
    property real iconSize: 20

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    padding: 2
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus

    contentItem: Icon {
        symbol: button.symbol
        size: button.iconSize
        color: button.color
        opacity: button.down ? 0.7 : 1
    }

    FocusRing {
        radius: width / 2 + 2
        shown: button.visualFocus
    }

    HoverHandler {
        cursorShape: Qt.PointingHandCursor
    }
}
