import QtQuick
import QtQuick.Shapes
import Kestrelvanta

// The area under the memory series, straight-edged, fading from the top to nothing.
Shape {
    id: shape

    // "data" is every Item's list of children, so the series goes by another name.
    property list<real> values
    property real maxValue: 100
    property color color: AppColors.cyan
    property real topOpacity: 0.3

    antialiasing: true

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
