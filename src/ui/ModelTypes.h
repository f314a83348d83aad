#pragma once

// Makes the model objects known to QML by their own names, so that the screens can declare typed
// properties for them; the models themselves stay free of QML.

#include "core/AppScreenState.h"
#include "core/AppStateManager.h"
#include "core/SettingsStore.h"
#include "network/NetworkMonitor.h"

#include <QtQml/qqmlregistration.h>

namespace AppScreenStateForeign {
Q_NAMESPACE
QML_FOREIGN_NAMESPACE(AppScreenState)
QML_NAMED_ELEMENT(AppScreenState)
} // namespace AppScreenStateForeign

struct AppStateManagerForeign {
    Q_GADGET
    QML_FOREIGN(AppStateManager)
    QML_NAMED_ELEMENT(AppStateManager)
    QML_UNCREATABLE("The application creates the one instance")
};

struct SettingsStoreForeign {
    Q_GADGET
    QML_FOREIGN(SettingsStore)
    QML_NAMED_ELEMENT(SettingsStore)
    QML_UNCREATABLE("The application creates the one instance")
};

struct NetworkMonitorForeign {
    Q_GADGET
    QML_FOREIGN(NetworkMonitor)
    QML_NAMED_ELEMENT(NetworkMonitor)
    QML_UNCREATABLE("The application creates the one instance")
};
