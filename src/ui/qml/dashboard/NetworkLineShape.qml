import QtQuick
import QtQuick.Shapes
import Kestrelvanta

// The curved line through a series, 2.5 wide with round caps and joins, over a soft
// glow: wider translucent strokes of the same path, which the software renderer draws cheaply
// where a blurred shadow would need shaders. The geometry comes from ChartGeometry.
Shape {
    id: shape

    property list<real> values
    property real maxValue: 1
    property color color: AppColors.cyan
    readonly property string svg: ChartGeometry.line(shape.values, shape.maxValue, shape.width,
                                                       shape.height)

    ShapePath {
        strokeColor: Qt.rgba(shape.color.r, shape.color.g, shape.color.b, 0.12)
        strokeWidth: 8.5
        fillColor: "transparent"
        capStyle: ShapePath.RoundCap
        joinStyle: ShapePath.RoundJoin
        PathSvg {
            path: shape.svg
        }
    }
    ShapePath {
        strokeColor: Qt.rgba(shape.color.r, shape.color.g, shape.color.b, 0.25)
        strokeWidth: 5
        fillColor: "transparent"
        capStyle: ShapePath.RoundCap
        joinStyle: ShapePath.RoundJoin
        PathSvg {
            path: shape.svg
        }
    }
    ShapePath {
        objectName: "line"
        strokeColor: shape.color
        strokeWidth: 2.5
        fillColor: "transparent"
        capStyle: ShapePath.RoundCap
        joinStyle: ShapePath.RoundJoin
        PathSvg {
            path: shape.svg
        }
    }
}
