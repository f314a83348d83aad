import QtQuick
import QtQuick.Layouts
import Kestrelvanta

// The working layout: the tab bar across the top and the selected screen below it.
ColumnLayout {
    id: layout

    required property DiskScanner diskScanner
    required property SessionLogger sessionLogger
    required property PDFReportGenerator reportGenerator
    required property SettingsStore settingsStore
    required property NetworkMonitor networkMonitor
    required property SystemMonitor systemMonitor
    required property SystemOptimizer systemOptimizer
    property int selectedScreen: AppScreen.Dashboard

    signal screenSelected(int screen)

    spacing: 0

    ScreenTabBar {
        objectName: "screenTabBar"
        Layout.fillWidth: true
        selectedScreen: layout.selectedScreen
        onScreenSelected: screen => layout.screenSelected(screen)
    }

    Loader {
        objectName: "screenLoader"
        Layout.fillWidth: true
        Layout.fillHeight: true
        sourceComponent: {
            switch (layout.selectedScreen) {
            case AppScreen.Dashboard:
                return dashboard;
            case AppScreen.Optimizers:
                return optimizers;
            case AppScreen.Cleaner:
                return cleaner;
            case AppScreen.Settings:
                return settings;
            }
            return null;
        }
    }

    // As in ContentView: Qt 6.4's Loader cannot create components bound to their context.
    // qmllint disable unqualified
    Component {
        id: dashboard
        DashboardView {
            monitor: layout.systemMonitor
            networkMonitor: layout.networkMonitor
            sessionLogger: layout.sessionLogger
            reportGenerator: layout.reportGenerator
        }
    }
    Component {
        id: optimizers
        OptimizersView {
            optimizer: layout.systemOptimizer
        }
    }
    Component {
        id: cleaner
        CleanerView {
            scanner: layout.diskScanner
        }
    }
    Component {
        id: settings
        SettingsView {
            settingsStore: layout.settingsStore
        }
    }
    // qmllint enable unqualified
}
