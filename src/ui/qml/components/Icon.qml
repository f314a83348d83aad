import QtQuick
import Kestrelvanta

// A symbol from the icon table, drawn with the embedded icon font.
Text {
    id: icon

    property string symbol
    property real size: 16

    text: IconMap.glyph(icon.symbol)
    font.family: IconMap.fontFamily
    font.pixelSize: icon.size
    verticalAlignment: Text.AlignVCenter
    horizontalAlignment: Text.AlignHCenter
    Accessible.ignored: true
}
