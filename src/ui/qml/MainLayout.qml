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

    // A screen is loaded from its file when it is selected, so screens never opened cost
    // neither the time to load their types nor the memory to keep them.
    Loader {
        id: screen

        objectName: "screenLoader"
        Layout.fillWidth: true
        Layout.fillHeight: true

        function show(selected: int) {
            switch (selected) {
            case AppScreen.Dashboard:
                screen.setSource(Qt.resolvedUrl("screens/DashboardView.qml"), {
                    "monitor": layout.systemMonitor,
                    "networkMonitor": layout.networkMonitor,
                    "sessionLogger": layout.sessionLogger,
                    "reportGenerator": layout.reportGenerator
                });
                break;
            case AppScreen.Optimizers:
                screen.setSource(Qt.resolvedUrl("screens/OptimizersView.qml"), {
                    "optimizer": layout.systemOptimizer
                });
                break;
            case AppScreen.Cleaner:
                screen.setSource(Qt.resolvedUrl("screens/CleanerView.qml"), {
                    "scanner": layout.diskScanner
                });
                break;
            case AppScreen.Settings:
                screen.setSource(Qt.resolvedUrl("screens/SettingsView.qml"), {
                    "settingsStore": layout.settingsStore
                });
                break;
            default:
                screen.source = "";
            }
        }

        Component.onCompleted: screen.show(layout.selectedScreen)
    }

    Connections {
        target: layout

        function onSelectedScreenChanged() {
            screen.show(layout.selectedScreen);
        }
    }
}
