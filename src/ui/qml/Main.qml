import QtQuick
import QtQuick.Window
import Kestrelvanta

// The one window. It is shown, raised and activated by the application once created.
Window {
    id: window

    required property AppStateManager stateManager
    required property DiskScanner diskScanner
    required property SessionLogger sessionLogger
    required property PDFReportGenerator reportGenerator
    required property SettingsStore settingsStore
    required property SystemMonitor systemMonitor
    required property NetworkMonitor networkMonitor
    required property SystemOptimizer systemOptimizer
    // Set once the application has decided between the welcome screen and the dashboard; until
    // then only the background shows, so a returning user never glimpses the welcome screen.
    property bool bootstrapped: false
    // Set by the application while other windows cover this one entirely, where the window
    // system tells.
    property bool covered: false

    width: 1000
    height: 650
    minimumWidth: 1000
    minimumHeight: 650
    title: qsTr("Kestrelvanta")
    color: AppColors.deepNavy

    ContentView {
        objectName: "contentView"
        anchors.fill: parent
        stateManager: window.stateManager
        diskScanner: window.diskScanner
        sessionLogger: window.sessionLogger
        reportGenerator: window.reportGenerator
        settingsStore: window.settingsStore
        systemMonitor: window.systemMonitor
        networkMonitor: window.networkMonitor
        systemOptimizer: window.systemOptimizer
        ready: window.bootstrapped
        // Nothing moves, and nothing is painted, while nobody can see it.
        animating: window.visibility !== Window.Minimized && window.visibility !== Window.Hidden &&
                   !window.covered
    }
}
