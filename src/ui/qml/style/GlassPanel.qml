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

    background: GlassBackground {
        material: AppColors.ultraThinMaterial
        tint: AppColors.glassPanelBackground
        rim: AppColors.glassPanelBorder
        rimWidth: 1
        radius: panel.cornerRadius
    }
}
