import QtQuick
import Kestrelvanta

// One glow of the background. It drifts back and forth, forever, between its place and a target
// drawn once at random: up to 50 points sideways, 30 up or down, and 90 to 110 % of its size.
SoftBlob {
    id: blob

    property real size: 300
    property real animationDuration: 8 // seconds, for one way
    property point fixedOffset: Qt.point(0, 0)

    readonly property real targetOffsetX: Math.random() * 100 - 50
    readonly property real targetOffsetY: Math.random() * 60 - 30
    readonly property real targetScale: 0.9 + Math.random() * 0.2

    // Milliseconds the glow has drifted, set by the background's clock in whole steps of 160 ms:
    // one step moves all three glows, so x, y and scale change together in one repaint of the
    // window behind them, and nothing runs in the frames between two steps. At its fastest a glow
    // moves two points per step, and its edge fades over a hundred points, so no pixel changes by
    // more than a shade from one step to the next: the motion looks continuous, while the window
    // behind the glows, with every panel drawn over them, is repainted at most six times a second.
    property real elapsed: 0
    // Where that puts the glow in its round trip, out to the target and back, each way eased in
    // and out.
    readonly property real roundTripElapsed: blob.elapsed % (2 * blob.animationDuration * 1000)
    // 0 at the start, 1 at the target.
    // (The easing is written out rather than made a function: a closure made at every step would
    // be garbage for the script engine to collect.)
    readonly property real progress: {
        const phase = blob.roundTripElapsed / (blob.animationDuration * 1000);
        const t = phase < 1 ? phase : Math.min(phase - 1, 1);
        const eased = t < 0.5 ? 2 * t * t : 1 - 2 * (1 - t) * (1 - t);
        return phase < 1 ? eased : 1 - eased;
    }
    readonly property real offsetX: blob.targetOffsetX * blob.progress
    readonly property real offsetY: blob.targetOffsetY * blob.progress
    readonly property real blobScale: 1 + (blob.targetScale - 1) * blob.progress

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
}
