import QtQuick
import Kestrelvanta

// The backdrop of the whole window: a navy diagonal gradient with three slowly drifting glows.
Item {
    id: background

    // Pauses the drift, for example while the window is minimized.
    property bool running: true

    // Milliseconds the glows have drifted, advanced one step at a time.
    property real elapsed: 0

    clip: true

    Timer {
        objectName: "glowClock"
        interval: 160
        repeat: true
        running: background.running
        onTriggered: background.elapsed += interval
    }

    DiagonalGradient {
        anchors.fill: parent
        colors: [AppColors.deepNavy, AppColors.midNavy, AppColors.deepNavy]
    }

    FloatingBlob {
        objectName: "blob1"
        color: Qt.rgba(AppColors.cyan.r, AppColors.cyan.g, AppColors.cyan.b, 0.4)
        size: 400
        animationDuration: 8
        fixedOffset: Qt.point(-100, -200)
        elapsed: background.elapsed
    }

    FloatingBlob {
        objectName: "blob2"
        color: Qt.rgba(AppColors.purple.r, AppColors.purple.g, AppColors.purple.b, 0.4)
        size: 350
        animationDuration: 10
        fixedOffset: Qt.point(150, 100)
        elapsed: background.elapsed
    }

    FloatingBlob {
        objectName: "blob3"
        color: Qt.rgba(AppColors.cyan.r, AppColors.cyan.g, AppColors.cyan.b, 0.3)
        size: 300
        animationDuration: 12
        fixedOffset: Qt.point(-80, 250)
        elapsed: background.elapsed
    }
}
