import QtQuick
import QtQuick.Window
import Kestrelvanta

// The one window. It is shown, raised and activated by the application once created.
Window {
    id: window

    required property AppStateManager stateManager
    required property SettingsStore settingsStore

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
        settingsStore: window.settingsStore
        // Nothing moves while nobody can see it.
        animating: window.visibility !== Window.Minimized && window.visibility !== Window.Hidden
    }
}
