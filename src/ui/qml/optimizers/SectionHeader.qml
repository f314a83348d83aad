import QtQuick
import QtQuick.Layouts
import Kestrelvanta

// A card's heading: a symbol, a title and, below them, an optional line of explanation.
ColumnLayout {
    id: header

    property string symbol
    property string title
    property string subtitle

    spacing: 2

    RowLayout {
        spacing: 8

        Icon {
            symbol: header.symbol
            size: 18
            color: AppColors.cyan
        }

        Text {
            objectName: "sectionTitle"
            text: header.title
            font.pixelSize: 16
            font.weight: Font.DemiBold
            color: AppColors.textPrimary
        }
    }

    Text {
        visible: header.subtitle.length > 0
        text: header.subtitle
        font.pixelSize: 12
        color: AppColors.textSecondary
    }
}
