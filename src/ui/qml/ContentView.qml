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
    // False while nothing of the window can be seen: the background stands still and the layouts
    // are hidden, so their charts are not painted (the models go on sampling).
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
        visible: active && root.animating
        Behavior on opacity {
            NumberAnimation {
                duration: root.stateManager.transitionDuration
                easing.type: Easing.InOutQuad
            }
        }
        // Each layout is loaded from its file when first shown, so that the window's first frame
        // does not wait for the types of screens it may never show.
        Component.onCompleted: welcome.setSource(Qt.resolvedUrl("screens/WelcomeView.qml"), {
            "stateManager": root.stateManager,
            "monitor": root.systemMonitor
        })
    }

    Loader {
        id: workingLayout

        objectName: "workingLayoutLoader"
        anchors.fill: parent
        opacity: root.showsWelcome ? 0 : 1
        active: root.ready && opacity > 0
        visible: active && root.animating
        Behavior on opacity {
            NumberAnimation {
                duration: root.stateManager.transitionDuration
                easing.type: Easing.InOutQuad
            }
        }
        Component.onCompleted: workingLayout.setSource(Qt.resolvedUrl("MainLayout.qml"), {
            "diskScanner": root.diskScanner,
            "sessionLogger": root.sessionLogger,
            "reportGenerator": root.reportGenerator,
            "settingsStore": root.settingsStore,
            "systemMonitor": root.systemMonitor,
            "networkMonitor": root.networkMonitor,
            "systemOptimizer": root.systemOptimizer,
            "selectedScreen": root.selectedScreen
        })
    }

    // The working layout shows the selected screen and reports the user's choice of another.
    Binding {
        target: workingLayout.item
        property: "selectedScreen"
        value: root.selectedScreen
        when: workingLayout.item !== null
    }

    Connections {
        target: workingLayout.item
        ignoreUnknownSignals: true

        function onScreenSelected(screen: int) {
            root.selectedScreen = screen;
        }
    }
}
