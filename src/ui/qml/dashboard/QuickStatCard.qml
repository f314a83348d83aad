import QtQuick
import QtQuick.Layouts
import Kestrelvanta

// One memory figure: a coloured symbol over the value and its title.
Rectangle {
    id: card

    property string title
    property string icon
    property color iconColor
    property string value

    implicitHeight: stack.implicitHeight + 32
    implicitWidth: stack.implicitWidth + 32
    radius: 12
    color: AppColors.glassPanelBackground

    ColumnLayout {
        id: stack

        anchors.centerIn: parent
        spacing: 6

        Icon {
            Layout.alignment: Qt.AlignHCenter
            symbol: card.icon
            size: 18
            color: card.iconColor
        }

        Text {
            objectName: "value"
            Layout.alignment: Qt.AlignHCenter
            text: card.value
            font.pixelSize: 14
            font.bold: true
            color: AppColors.textPrimary
        }

        Text {
            objectName: "title"
            Layout.alignment: Qt.AlignHCenter
            text: card.title
            font.pixelSize: 10
            color: AppColors.textSecondary
        }
    }
}
