import QtQuick
import QtQuick.Shapes
import Kestrelvanta

// The memory series as a smooth line with a soft glow: wider translucent strokes under the line
// stand in for a blurred shadow, which the software renderer could not afford every second.
Shape {
    id: shape

    // "data" is every Item's list of children, so the series goes by another name.
    property list<real> values
    property real maxValue: 100
    property color color: AppColors.cyan
    property real lineWidth: 2.5
    property real glowRadius: 4
    readonly property string pathData: ChartGeometry.line(shape.values, shape.maxValue, shape.width,
                                                          shape.height)

    antialiasing: true

    ShapePath {
        strokeColor: Qt.rgba(shape.color.r, shape.color.g, shape.color.b, 0.6 * 0.2)
        strokeWidth: shape.lineWidth + 2 * shape.glowRadius
        fillColor: "transparent"
        capStyle: ShapePath.RoundCap
        joinStyle: ShapePath.RoundJoin
        PathSvg {
            path: shape.pathData
        }
    }

    ShapePath {
        strokeColor: Qt.rgba(shape.color.r, shape.color.g, shape.color.b, 0.6 * 0.4)
        strokeWidth: shape.lineWidth + shape.glowRadius
        fillColor: "transparent"
        capStyle: ShapePath.RoundCap
        joinStyle: ShapePath.RoundJoin
        PathSvg {
            path: shape.pathData
        }
    }

    ShapePath {
        strokeColor: shape.color
        strokeWidth: shape.lineWidth
        fillColor: "transparent"
        capStyle: ShapePath.RoundCap
        joinStyle: ShapePath.RoundJoin
        PathSvg {
            path: shape.pathData
        }
    }
}
