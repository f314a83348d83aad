import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Kestrelvanta

// Starts and stops a session recording; stopping writes the PDF report to the Desktop and
// offers to show it in the file manager.
GlassPanel {
    id: card

    required property SessionLogger sessionLogger
    required property SystemMonitor monitor
    required property PDFReportGenerator reportGenerator

    SessionCardController {
        id: controller

        objectName: "sessionController"
        sessionLogger: card.sessionLogger
        monitor: card.monitor
        reportGenerator: card.reportGenerator
        onShowPDFAlertChanged: {
            if (showPDFAlert)
                alert.open();
        }
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 10

        RowLayout {
            Layout.fillWidth: true
            spacing: 8

            Icon {
                symbol: "chart.bar.xaxis"
                size: 16
                color: AppColors.cyan
            }

            Text {
                text: qsTr("Session Recording")
                font.pixelSize: 14
                font.weight: Font.DemiBold
                color: AppColors.textPrimary
            }

            Item {
                Layout.fillWidth: true
            }

            GlassTextButton {
                objectName: "toggleButton"
                text: controller.isLogging ? qsTr("Stop") : qsTr("Start")
                textColor: controller.isLogging ? AppColors.systemRed : AppColors.cyan
                fontSize: 12
                topPadding: 6
                bottomPadding: 6
                onClicked: controller.toggleSession()
            }
        }

        RowLayout {
            objectName: "recordingRow"
            visible: controller.isLogging
            spacing: 8

            Rectangle {
                implicitWidth: 8
                implicitHeight: 8
                radius: 4
                color: AppColors.neonGreen
            }

            Text {
                text: qsTr("Recording performance data...")
                font.pixelSize: 12
                color: AppColors.textSecondary
            }
        }

        Text {
            objectName: "hintText"
            visible: !controller.isLogging
            text: qsTr("Start recording to track FPS and performance")
            font.pixelSize: 12
            color: AppColors.textTertiary
        }

        Text {
            objectName: "statusText"
            visible: controller.statusMessage.length > 0
            text: controller.statusMessage
            textFormat: Text.PlainText
            font.pixelSize: 11
            color: AppColors.neonGreen
        }
    }

    Popup {
        id: alert

        objectName: "pdfAlert"
        parent: Overlay.overlay
        anchors.centerIn: parent
        width: 340
        modal: true
        focus: true
        padding: 20
        closePolicy: Popup.CloseOnEscape
        onClosed: controller.showPDFAlert = false

        background: Rectangle {
            radius: 14
            color: AppColors.midNavy
            border.color: AppColors.glassPanelBorder
            border.width: 1
        }

        contentItem: ColumnLayout {
            spacing: 12

            Text {
                objectName: "alertTitle"
                Layout.fillWidth: true
                horizontalAlignment: Text.AlignHCenter
                text: qsTr("PDF Report Generated")
                font.pixelSize: 15
                font.weight: Font.DemiBold
                color: AppColors.textPrimary
            }

            Text {
                objectName: "alertMessage"
                Layout.fillWidth: true
                visible: text.length > 0
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
                text: controller.alertMessage
                textFormat: Text.PlainText
                font.pixelSize: 12
                color: AppColors.textSecondary
            }

            RowLayout {
                Layout.fillWidth: true
                Layout.topMargin: 4
                spacing: 10

                GlassTextButton {
                    objectName: "revealButton"
                    Layout.fillWidth: true
                    // Only a written report can be shown.
                    visible: controller.alertMessage.length > 0
                    text: qsTr("Open in Finder")
                    textColor: AppColors.cyan
                    onClicked: {
                        controller.revealReport();
                        alert.close();
                    }
                }

                GlassTextButton {
                    objectName: "okButton"
                    Layout.fillWidth: true
                    text: qsTr("OK")
                    focus: true
                    onClicked: alert.close()
                }
            }
        }
    }
}
