import QtQuick
import Kestrelvanta

// One glow of the background. It drifts back and forth, forever, between its place and a target
// drawn once at random: up to 50 points sideways, 30 up or down, and 90 to 110 % of its size.
SoftBlob {
    id: blob

    property real size: 300
    property real animationDuration: 8 // seconds, for one way
    property point fixedOffset: Qt.point(0, 0)
    property bool running: true

    property real offsetX: 0
    property real offsetY: 0
    property real blobScale: 1

    readonly property real targetOffsetX: Math.random() * 100 - 50
    readonly property real targetOffsetY: Math.random() * 60 - 30
    readonly property real targetScale: 0.9 + Math.random() * 0.2

    diameter: blob.size
    blurRadius: 40
    // The glow has no edges to alias, and unfiltered scaling is far cheaper to draw in software.
    smooth: false
    // The drift is slow, a few points a second, so position and size are kept to whole points:
    // the glow then changes on screen only when it has moved by a point, instead of at every
    // animation frame, which keeps the repainting of the window behind it rare.
    x: Math.round((parent ? parent.width : 0) / 2 - width / 2 + blob.fixedOffset.x + blob.offsetX)
    y: Math.round((parent ? parent.height : 0) / 2 - height / 2 + blob.fixedOffset.y + blob.offsetY)
    scale: Math.round(blob.blobScale * width) / width

    SequentialAnimation {
        running: true
        paused: !blob.running
        loops: Animation.Infinite

        ParallelAnimation {
            NumberAnimation {
                target: blob
                property: "offsetX"
                from: 0
                to: blob.targetOffsetX
                duration: blob.animationDuration * 1000
                easing.type: Easing.InOutQuad
            }
            NumberAnimation {
                target: blob
                property: "offsetY"
                from: 0
                to: blob.targetOffsetY
                duration: blob.animationDuration * 1000
                easing.type: Easing.InOutQuad
            }
            NumberAnimation {
                target: blob
                property: "blobScale"
                from: 1
                to: blob.targetScale
                duration: blob.animationDuration * 1000
                easing.type: Easing.InOutQuad
            }
        }
        ParallelAnimation {
            NumberAnimation {
                target: blob
                property: "offsetX"
                to: 0
                duration: blob.animationDuration * 1000
                easing.type: Easing.InOutQuad
            }
            NumberAnimation {
                target: blob
                property: "offsetY"
                to: 0
                duration: blob.animationDuration * 1000
                easing.type: Easing.InOutQuad
            }
            NumberAnimation {
                target: blob
                property: "blobScale"
                to: 1
                duration: blob.animationDuration * 1000
                easing.type: Easing.InOutQuad
            }
        }
    }
}
