import QtQuick
import QtQuick.Shapes
import Kestrelvanta

// The filled area under a series: straight edges, a gradient from `color` at
// `topOpacity` at the top to transparent at the bottom. The geometry comes from ChartGeometry.
Shape {
    id: shape

    property list<real> values
    property real maxValue: 1
    property color color: AppColors.cyan
    property real topOpacity: 0.25

    ShapePath {
        strokeColor: "transparent"
        strokeWidth: 0
        fillGradient: LinearGradient {
            x1: 0
            y1: 0
            x2: 0
            y2: shape.height
            GradientStop {
                position: 0
                color: Qt.rgba(shape.color.r, shape.color.g, shape.color.b, shape.topOpacity)
            }
            GradientStop {
                position: 1
                color: Qt.rgba(shape.color.r, shape.color.g, shape.color.b, 0)
            }
        }
        PathSvg {
            path: ChartGeometry.area(shape.values, shape.maxValue, shape.width, shape.height)
        }
    }
}
