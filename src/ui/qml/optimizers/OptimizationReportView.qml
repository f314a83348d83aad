import QtQuick
import QtQuick.Layouts
import Kestrelvanta

// The last optimizer action's summary: its title, its first five actions and, when the action
// measured them, the memory it freed, the DNS provider it chose and the latency before and after.
ColumnLayout {
    id: view

    required property optimizationReport report

    readonly property string latencyLine: OptimizerFormat.latencyText(view.report.latencyBeforeMS,
                                                                      view.report.latencyAfterMS)

    spacing: 4

    Text {
        objectName: "reportTitle"
        text: view.report.title
        textFormat: Text.PlainText
        font.pixelSize: 12
        font.weight: Font.DemiBold
        color: AppColors.textPrimary
    }

    Repeater {
        model: OptimizerFormat.reportRows(view.report.actions)

        delegate: RowLayout {
            id: row

            required property string modelData

            objectName: "reportRow"
            spacing: 6

            Icon {
                symbol: "checkmark.circle.fill"
                size: 9
                color: AppColors.neonGreen
            }

            Text {
                objectName: "reportAction"
                Layout.fillWidth: true
                text: row.modelData
                textFormat: Text.PlainText
                elide: Text.ElideRight
                font.pixelSize: 10
                color: AppColors.textSecondary
            }
        }
    }

    Text {
        objectName: "reclaimedLine"
        visible: text.length > 0
        text: OptimizerFormat.reclaimedText(view.report.reclaimedRAMGB)
        textFormat: Text.PlainText
        font.pixelSize: 10
        color: AppColors.neonGreen
    }

    Text {
        objectName: "providerLine"
        visible: text.length > 0
        text: OptimizerFormat.providerText(view.report.selectedDNSProvider)
        textFormat: Text.PlainText
        font.pixelSize: 10
        color: AppColors.textSecondary
    }

    Text {
        objectName: "latencyLine"
        visible: text.length > 0
        text: view.latencyLine
        textFormat: Text.PlainText
        font.pixelSize: 10
        color: OptimizerFormat.latencyColor(view.report.latencyBeforeMS, view.report.latencyAfterMS)
    }
}
