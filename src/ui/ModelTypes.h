#pragma once

// Makes the model objects known to QML by their own names, so that the screens can declare typed
// properties for them; the models themselves stay free of QML.

#include "cleaner/DiskScanner.h"
#include "core/AppScreenState.h"
#include "core/AppStateManager.h"
#include "core/SettingsStore.h"
#include "optimizer/SystemOptimizer.h"
#include "sessions/PDFReportGenerator.h"
#include "sessions/SessionLogger.h"
#include "telemetry/NetworkMonitor.h"
#include "telemetry/SystemMonitor.h"

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

struct DiskScannerForeign {
    Q_GADGET
    QML_FOREIGN(DiskScanner)
    QML_NAMED_ELEMENT(DiskScanner)
    QML_UNCREATABLE("The application creates the one instance")
};

struct PDFReportGeneratorForeign {
    Q_GADGET
    QML_FOREIGN(PDFReportGenerator)
    QML_NAMED_ELEMENT(PDFReportGenerator)
    QML_UNCREATABLE("The application creates the one instance")
};

struct SessionLoggerForeign {
    Q_GADGET
    QML_FOREIGN(SessionLogger)
    QML_NAMED_ELEMENT(SessionLogger)
    QML_UNCREATABLE("The application creates the one instance")
};

struct SettingsStoreForeign {
    Q_GADGET
    QML_FOREIGN(SettingsStore)
    QML_NAMED_ELEMENT(SettingsStore)
    QML_UNCREATABLE("The application creates the one instance")
};

struct SystemMonitorForeign {
    Q_GADGET
    QML_FOREIGN(SystemMonitor)
    QML_NAMED_ELEMENT(SystemMonitor)
    QML_UNCREATABLE("The application creates the one instance")
};

struct SystemOptimizerForeign {
    Q_GADGET
    QML_FOREIGN(SystemOptimizer)
    QML_NAMED_ELEMENT(SystemOptimizer)
    QML_UNCREATABLE("The application creates the one instance")
};

// The optimizer's records, read in QML as values (modelData.name, report.actions).
struct RunningAppInfoForeign {
    Q_GADGET
    QML_FOREIGN(RunningAppInfo)
    QML_VALUE_TYPE(runningAppInfo)
};

struct OptimizationReportForeign {
    Q_GADGET
    QML_FOREIGN(OptimizationReport)
    QML_VALUE_TYPE(optimizationReport)
};

// The monitors' records, read in QML as values (monitor.ramStats.used, modelData.battery).
struct RAMStatsForeign {
    Q_GADGET
    QML_FOREIGN(RAMStats)
    QML_VALUE_TYPE(ramStats)
};

struct GPUStatsForeign {
    Q_GADGET
    QML_FOREIGN(GPUStats)
    QML_VALUE_TYPE(gpuStats)
};

struct PeripheralBatteryForeign {
    Q_GADGET
    QML_FOREIGN(platform::PeripheralBattery)
    QML_VALUE_TYPE(peripheralBattery)
};
struct NetworkMonitorForeign {
    Q_GADGET
    QML_FOREIGN(NetworkMonitor)
    QML_NAMED_ELEMENT(NetworkMonitor)
    QML_UNCREATABLE("The application creates the one instance")
};
