pragma ComponentBehavior: Bound

import QtQuick
import Kestrelvanta

// Put inside a control: while the pointer is over it, the control grows by hoverScale about its
// centre and glows in glowColor; both ease in and out over 0.2 s. The glow lies beneath the
// control (a child with a negative z is drawn under its parent) and is built from translucent
// rounded rectangles rather than a blur, so it costs nothing per frame and draws without a GPU.
Item {
    id: effect

    property real hoverScale: 1.05
    property color glowColor: AppColors.cyan
    property real cornerRadius: 12
    readonly property bool isHovered: hover.hovered
    readonly property int animationDuration: 200
    readonly property real glowRadius: 15
    // 0 when resting, 1 when fully hovered.
    property real progress: effect.isHovered ? 1 : 0

    anchors.fill: parent
    z: -1

    Behavior on progress {
        NumberAnimation {
            duration: effect.animationDuration
            easing.type: Easing.InOutQuad
        }
    }

    Binding {
        target: effect.parent
        property: "scale"
        value: 1 + (effect.hoverScale - 1) * effect.progress
    }

    HoverHandler {
        id: hover
    }

    Repeater {
        model: 5

        Rectangle {
            required property int index
            readonly property real spread: (index + 1) * effect.glowRadius / 5

            anchors.fill: parent
            anchors.margins: -spread
            radius: effect.cornerRadius + spread
            color: Qt.rgba(effect.glowColor.r, effect.glowColor.g, effect.glowColor.b,
                           0.5 * effect.glowColor.a / 5)
            opacity: effect.progress
            visible: effect.progress > 0
        }
    }
}
