import QtQuick
import QtQuick.Templates as T
import Kestrelvanta

// A translucent glass container: the content, padded, on a rounded panel with a thin light rim.
T.Pane {
    id: panel

    property real cornerRadius: 12

    padding: 16
    implicitWidth: Math.max(implicitBackgroundWidth, contentWidth + leftPadding + rightPadding)
    implicitHeight: Math.max(implicitBackgroundHeight, contentHeight + topPadding + bottomPadding)

    background: Item {
        Rectangle {
            anchors.fill: parent
            radius: panel.cornerRadius
            color: AppColors.ultraThinMaterial
        }
        Rectangle {
            anchors.fill: parent
            radius: panel.cornerRadius
            color: AppColors.glassPanelBackground
            border.color: AppColors.glassPanelBorder
            border.width: 1
        }
    }
}
