import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Kestrelvanta

// The first-run screen: one button completes the first run and opens the dashboard.
Item {
    id: welcome

    required property AppStateManager stateManager
    required property SystemMonitor monitor

    ColumnLayout {
        anchors.centerIn: parent
        spacing: 24

        GradientText {
            Layout.alignment: Qt.AlignHCenter
            text: IconMap.glyph("gamecontroller.fill")
            font.family: IconMap.fontFamily
            font.pixelSize: 64
            colors: [AppColors.cyan, AppColors.purple]
            Accessible.ignored: true
        }

        GradientText {
            objectName: "welcomeTitle"
            Layout.alignment: Qt.AlignHCenter
            text: qsTr("Welcome to KESTRELVANTA")
            font.pixelSize: 28
            font.bold: true
            colors: [AppColors.cyan, AppColors.purple]
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }

        T.AbstractButton {
            id: getStarted

            objectName: "getStartedButton"
            Layout.alignment: Qt.AlignHCenter
            text: qsTr("Get Started")
            implicitWidth: implicitContentWidth + leftPadding + rightPadding
            implicitHeight: implicitContentHeight + topPadding + bottomPadding
            leftPadding: 32
            rightPadding: 32
            topPadding: 16
            bottomPadding: 16
            hoverEnabled: true
            focus: true

            contentItem: Text {
                text: getStarted.text
                font.pixelSize: 16
                font.weight: Font.DemiBold
                color: AppColors.textPrimary
                opacity: getStarted.down ? 0.8 : 1
            }

            background: DiagonalGradient {
                radius: 12
                colors: [AppColors.cyan, AppColors.purple]

                FocusRing {
                    radius: 14
                    shown: getStarted.visualFocus
                }
            }

            HoverHandler {
                cursorShape: Qt.PointingHandCursor
            }

            // The write's result is not shown: the dashboard opens either way. Only the system
            // monitor starts here; the network panel starts its own monitor when it appears.
            onClicked: {
                welcome.stateManager.completeSetup();
                welcome.stateManager.transitionTo(AppScreenState.Dashboard, true);
                welcome.monitor.startMonitoring();
            }
        }
    }
}
