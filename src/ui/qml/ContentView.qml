import QtQuick
import Kestrelvanta

// The root view: the animated background and, in front of it, the welcome screen or the working
// layout, cross-fading when the top-level state changes.
Item {
    id: root

    required property AppStateManager stateManager
    required property DiskScanner diskScanner
    required property SessionLogger sessionLogger
    required property PDFReportGenerator reportGenerator
    required property SettingsStore settingsStore
    required property SystemMonitor systemMonitor
    required property NetworkMonitor networkMonitor
    required property SystemOptimizer systemOptimizer
    property bool animating: true
    // False until the start-up state is known; only the background is drawn before.
    property bool ready: true
    property int selectedScreen: AppScreen.Dashboard

    readonly property bool showsWelcome: root.stateManager.currentState === AppScreenState.Setup

    AnimatedBackground {
        anchors.fill: parent
        running: root.animating
    }

    Loader {
        id: welcome

        objectName: "welcomeLoader"
        anchors.fill: parent
        opacity: root.showsWelcome ? 1 : 0
        active: root.ready && opacity > 0
        visible: active
        Behavior on opacity {
            NumberAnimation {
                duration: root.stateManager.transitionDuration
                easing.type: Easing.InOutQuad
            }
        }
        sourceComponent: welcomeComponent
    }

    Loader {
        id: workingLayout

        objectName: "workingLayoutLoader"
        anchors.fill: parent
        opacity: root.showsWelcome ? 0 : 1
        active: root.ready && opacity > 0
        visible: active
        Behavior on opacity {
            NumberAnimation {
                duration: root.stateManager.transitionDuration
                easing.type: Easing.InOutQuad
            }
        }
        sourceComponent: workingLayoutComponent
    }

    // The loaded views reach the root's properties by id. Qt 6.4's Loader cannot create
    // components bound to their context, so the linter's check for that is off here.
    // qmllint disable unqualified
    Component {
        id: welcomeComponent

        WelcomeView {
            stateManager: root.stateManager
            monitor: root.systemMonitor
        }
    }

    Component {
        id: workingLayoutComponent

        MainLayout {
            diskScanner: root.diskScanner
            sessionLogger: root.sessionLogger
            reportGenerator: root.reportGenerator
            settingsStore: root.settingsStore
            systemMonitor: root.systemMonitor
            networkMonitor: root.networkMonitor
            systemOptimizer: root.systemOptimizer
            selectedScreen: root.selectedScreen
            onScreenSelected: screen => root.selectedScreen = screen
        }
    }
    // qmllint enable unqualified
}
