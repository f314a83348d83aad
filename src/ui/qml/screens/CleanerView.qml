pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import QtQuick.Templates as T
import Kestrelvanta

// The Cleaner tab: the scan section, then the scan's progress, the recommendations or
// the large-item lists, and the space the last removal freed.
Item {
    id: view

    required property DiskScanner scanner
    // The ids of the selected recommendations; kept across scans.
    property var selectedItems: []
    // Bytes freed by the last removal.
    property real freedSpace: 0

    function isSelected(id: string): bool {
        return view.selectedItems.indexOf(id) >= 0;
    }

    function toggleSelection(id: string) {
        const selection = view.selectedItems.slice();
        const at = selection.indexOf(id);
        if (at >= 0)
            selection.splice(at, 1);
        else
            selection.push(id);
        view.selectedItems = selection;
    }

    // The selected recommendations, in list order, go to the Trash at once. They are named by
    // id: two names can show alike, and each row must move its own file.
    function deleteSelected() {
        const ids = [];
        const items = view.scanner.recommendations;
        for (let i = 0; i < items.length; ++i) {
            if (view.isSelected(items[i].id))
                ids.push(items[i].id);
        }
        view.freedSpace = view.scanner.deleteItemsById(ids);
        view.selectedItems = [];
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 16
        spacing: 16

        ScanButtonSection {
            objectName: "scanButtonSection"
            Layout.fillWidth: true
        }

        ScanningProgressView {
            objectName: "scanningProgressView"
            Layout.fillWidth: true
            visible: view.scanner.isScanning
        }

        RecommendationsSection {
            objectName: "recommendationsSection"
            Layout.fillWidth: true
            Layout.fillHeight: true
            visible: !view.scanner.isScanning && view.scanner.recommendations.length > 0
        }

        ResultsSection {
            objectName: "resultsSection"
            Layout.fillWidth: true
            visible: !view.scanner.isScanning && view.scanner.recommendations.length === 0
        }

        Item {
            // Takes the height the recommendations leave when they are not shown.
            Layout.fillHeight: true
            visible: view.scanner.isScanning || view.scanner.recommendations.length === 0
        }

        RowLayout {
            objectName: "freedRow"
            Layout.fillWidth: true
            visible: view.freedSpace >= 1
            spacing: 8

            Icon {
                symbol: "checkmark.circle.fill"
                size: 18
                color: AppColors.neonGreen
            }
            Text {
                objectName: "freedText"
                text: "Freed " + view.scanner.formatSize(view.freedSpace)
                font.pixelSize: 14
                font.weight: Font.DemiBold
                color: AppColors.neonGreen
            }
            Item {
                Layout.fillWidth: true
            }
        }

        // Items the last removal had to leave where they were: there is no Trash for them.
        RowLayout {
            objectName: "removalProblemRow"
            Layout.fillWidth: true
            visible: view.scanner.removalProblem.length > 0
            spacing: 8

            Icon {
                symbol: "info.circle"
                size: 18
                color: AppColors.systemOrange
            }
            Text {
                objectName: "removalProblemText"
                Layout.fillWidth: true
                text: view.scanner.removalProblem
                textFormat: Text.PlainText
                maximumLineCount: 1
                elide: Text.ElideMiddle
                font.pixelSize: 14
                font.weight: Font.DemiBold
                color: AppColors.systemOrange
            }
        }
    }

    component ScanButtonSection: GlassPanel {
        cornerRadius: 12
        padding: 16

        RowLayout {
            anchors.fill: parent
            spacing: 12

            Icon {
                symbol: "trash"
                size: 28
                color: AppColors.cyan
            }
            ColumnLayout {
                spacing: 2

                Text {
                    text: "System Cleaner"
                    font.pixelSize: 18
                    font.weight: Font.DemiBold
                    color: AppColors.textPrimary
                }
                Text {
                    text: "Deep scan to find large files and recommendations"
                    font.pixelSize: 12
                    color: AppColors.textSecondary
                }
            }
            Item {
                Layout.fillWidth: true
            }
            AccentButton {
                objectName: "scanButton"
                symbol: "magnifyingglass"
                text: "Start Deep Scan"
                enabled: !view.scanner.isScanning
                onClicked: view.scanner.scanDeepDisk()
            }
        }
    }

    component ScanningProgressView: GlassPanel {
        cornerRadius: 12
        padding: 16

        ColumnLayout {
            anchors.fill: parent
            spacing: 10

            Item {
                objectName: "progressBar"
                Layout.fillWidth: true
                implicitHeight: 8
                Accessible.role: Accessible.ProgressBar

                Rectangle {
                    anchors.fill: parent
                    radius: 4
                    color: AppColors.glassButtonBackground
                }
                Item {
                    objectName: "progressFill"
                    width: parent.width * Math.max(0, Math.min(100, view.scanner.scanProgress)) / 100
                    height: parent.height
                    clip: true

                    DiagonalGradient {
                        width: parent.parent.width
                        height: parent.height
                        radius: 4
                        colors: [AppColors.cyan, AppColors.purple]
                    }
                }
            }
            RowLayout {
                Layout.fillWidth: true

                Text {
                    objectName: "scanProgressPercent"
                    text: Math.trunc(view.scanner.scanProgress) + "%"
                    font.pixelSize: 13
                    font.weight: Font.DemiBold
                    color: AppColors.cyan
                }
                Text {
                    objectName: "scanMessage"
                    Layout.fillWidth: true
                    text: view.scanner.scanMessage
                    textFormat: Text.PlainText
                    elide: Text.ElideRight
                    font.pixelSize: 13
                    color: AppColors.textSecondary
                }
            }
        }
    }

    component RecommendationsSection: GlassPanel {
        cornerRadius: 12
        padding: 16

        ColumnLayout {
            anchors.fill: parent
            spacing: 10

            RowLayout {
                Layout.fillWidth: true
                spacing: 8

                Icon {
                    symbol: "lightbulb.fill"
                    size: 18
                    color: AppColors.cyan
                }
                Text {
                    text: "Recommendations"
                    font.pixelSize: 16
                    font.weight: Font.DemiBold
                    color: AppColors.textPrimary
                }
                Item {
                    Layout.fillWidth: true
                }
                Text {
                    objectName: "recommendationsCount"
                    text: view.scanner.recommendations.length + " items"
                    font.pixelSize: 12
                    color: AppColors.textSecondary
                }
            }

            ListView {
                id: rows

                objectName: "recommendationsList"
                Layout.fillWidth: true
                Layout.fillHeight: true
                clip: true
                spacing: 4
                model: view.scanner.recommendations
                boundsBehavior: Flickable.StopAtBounds
                ScrollBar.vertical: ScrollBar {
                    policy: ScrollBar.AsNeeded
                }

                delegate: RecommendationRow {
                    required property var modelData
                    required property int index

                    objectName: "recommendationRow" + index
                    width: rows.width
                    item: modelData
                    isSelected: view.selectedItems.indexOf(modelData.id) >= 0
                    onToggle: view.toggleSelection(modelData.id)
                    onReveal: view.scanner.openInFinder(modelData.path)
                }
            }

            RowLayout {
                Layout.fillWidth: true

                Item {
                    Layout.fillWidth: true
                }
                AccentButton {
                    objectName: "moveToTrashButton"
                    symbol: "trash"
                    text: "Move to Trash (" + view.selectedItems.length + ")"
                    // With nothing selected the button stays inert.
                    enabled: view.selectedItems.length > 0
                    onClicked: view.deleteSelected()
                }
            }
        }
    }

    component RecommendationRow: Rectangle {
        id: row

        property var item
        property bool isSelected: false

        signal toggle
        signal reveal

        implicitHeight: 48
        radius: 8
        color: row.isSelected ? AppColors.glassButtonBackground : AppColors.glassPanelBackground

        RowLayout {
            anchors.fill: parent
            anchors.leftMargin: 8
            anchors.rightMargin: 8
            spacing: 10

            IconButton {
                objectName: "selectButton"
                symbol: row.isSelected ? "checkmark.circle.fill" : "circle"
                color: row.isSelected ? AppColors.cyan : AppColors.textSecondary
                iconSize: 20
                Accessible.name: "Select " + row.item.name
                onClicked: row.toggle()
            }
            ColumnLayout {
                Layout.fillWidth: true
                spacing: 2

                Text {
                    objectName: "itemName"
                    Layout.fillWidth: true
                    text: row.item.name
                    maximumLineCount: 1
                    elide: Text.ElideMiddle
                    textFormat: Text.PlainText
                    font.pixelSize: 13
                    color: AppColors.textPrimary
                }
                Text {
                    objectName: "itemReasons"
                    Layout.fillWidth: true
                    text: row.item.reasons.join(", ")
                    elide: Text.ElideRight
                    textFormat: Text.PlainText
                    font.pixelSize: 11
                    color: AppColors.textSecondary
                }
            }
            Text {
                objectName: "itemSize"
                text: row.item.sizeFormatted
                font.pixelSize: 13
                font.weight: Font.DemiBold
                color: AppColors.textPrimary
            }
            IconButton {
                objectName: "revealButton"
                symbol: "folder"
                color: AppColors.textSecondary
                iconSize: 18
                Accessible.name: "Show " + row.item.name + " in the file manager"
                onClicked: row.reveal()
            }
        }
    }

    component ResultsSection: RowLayout {
        spacing: 16

        CategoryList {
            objectName: "largeApps"
            title: "Large Apps"
            items: view.scanner.heavyApps
        }
        CategoryList {
            objectName: "largeFolders"
            title: "Large Folders"
            items: view.scanner.heavyFolders
        }
        CategoryList {
            objectName: "largeMedia"
            title: "Large Media"
            items: view.scanner.heavyMedia
        }
    }

    component CategoryList: GlassPanel {
        id: category

        property string title
        property var items: []

        Layout.fillWidth: true
        Layout.preferredWidth: 1
        Layout.alignment: Qt.AlignTop
        visible: category.items.length > 0
        cornerRadius: 12
        padding: 16

        ColumnLayout {
            anchors.fill: parent
            spacing: 8

            Text {
                text: category.title
                font.pixelSize: 15
                font.weight: Font.DemiBold
                color: AppColors.textPrimary
            }
            Repeater {
                model: category.items.slice(0, 5)

                RowLayout {
                    required property var modelData

                    objectName: "categoryRow"
                    Layout.fillWidth: true
                    spacing: 8

                    Text {
                        Layout.fillWidth: true
                        text: parent.modelData.name
                        maximumLineCount: 1
                        elide: Text.ElideRight
                        textFormat: Text.PlainText
                        font.pixelSize: 12
                        color: AppColors.textPrimary
                    }
                    Text {
                        text: parent.modelData.sizeFormatted
                        font.pixelSize: 12
                        color: AppColors.textSecondary
                    }
                }
            }
        }
    }

    // A button with a symbol and a title on the accent gradient.
    component AccentButton: T.AbstractButton {
        id: button

        property string symbol

        implicitWidth: implicitContentWidth + leftPadding + rightPadding
        implicitHeight: implicitContentHeight + topPadding + bottomPadding
        leftPadding: 16
        rightPadding: 16
        topPadding: 10
        bottomPadding: 10
        hoverEnabled: true
        focusPolicy: Qt.StrongFocus
        opacity: button.enabled ? 1 : 0.4
        Accessible.name: button.text

        contentItem: RowLayout {
            spacing: 8

            Icon {
                symbol: button.symbol
                size: 16
                color: AppColors.textPrimary
            }
            Text {
                text: button.text
                font.pixelSize: 13
                font.weight: Font.DemiBold
                color: AppColors.textPrimary
                opacity: button.down ? 0.8 : 1
            }
        }

        background: DiagonalGradient {
            radius: 10
            colors: [AppColors.cyan, AppColors.purple]

            FocusRing {
                radius: 12
                shown: button.visualFocus
            }
        }

        HoverHandler {
            cursorShape: button.enabled ? Qt.PointingHandCursor : Qt.ArrowCursor
        }
    }
}
