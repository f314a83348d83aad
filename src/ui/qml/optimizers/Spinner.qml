import QtQuick
import Kestrelvanta

// A small turning symbol that says "working".
Icon {
    id: spinner

    property bool running: true

    symbol: "arrow.clockwise"
    RotationAnimator on rotation {
        running: spinner.running && spinner.visible
        from: 0
        to: 360
        duration: 900
        loops: Animation.Infinite
    }
}
