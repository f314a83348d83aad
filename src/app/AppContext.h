#pragma once

#include "platform/Clock.h"
#include "platform/ToolRunner.h"
#include "telemetry/NetworkMonitor.h"

#include <QObject>
#include <QString>

#include <memory>

class AppStateManager;
class DiskScanner;
class PDFReportGenerator;
class SessionLogger;
class SettingsStore;
class SystemMonitor;
class SystemOptimizer;
class QQmlEngine;
class QQuickWindow;
namespace platform {
class WindowOcclusion;
}

/// The composition root: owns the one instance of every model object, hands them to the window
/// and runs the one-time bootstrap that chooses between the welcome screen and the dashboard.
class AppContext : public QObject {
    Q_OBJECT

public:
    /// The real application: the application folder and the system clock.
    explicit AppContext(QObject *parent = nullptr);
    /// For tests: the models read and write the given folder and tell time by the given clock
    /// (the system monitor still reads this machine; the network monitor's parts are this
    /// system's).
    AppContext(const QString &appFolder, platform::Clock &clock, QObject *parent = nullptr);
    /// For tests: as above, with the given disk scanner (this system's when null) and network
    /// monitor parts (missing ones are this system's).
    AppContext(const QString &appFolder, platform::Clock &clock,
               std::unique_ptr<DiskScanner> diskScanner, NetworkMonitor::Parts networkParts = {},
               QObject *parent = nullptr);
    ~AppContext() override;

    [[nodiscard]] AppStateManager *stateManager() const { return m_stateManager.get(); }
    [[nodiscard]] DiskScanner *diskScanner() const { return m_diskScanner.get(); }
    [[nodiscard]] SessionLogger *sessionLogger() const { return m_sessionLogger.get(); }
    [[nodiscard]] PDFReportGenerator *reportGenerator() const { return m_reportGenerator.get(); }
    [[nodiscard]] SettingsStore *settingsStore() const { return m_settingsStore.get(); }
    [[nodiscard]] SystemMonitor *systemMonitor() const { return m_systemMonitor.get(); }
    [[nodiscard]] SystemOptimizer *systemOptimizer() const { return m_systemOptimizer.get(); }
    [[nodiscard]] NetworkMonitor *networkMonitor() const { return m_networkMonitor.get(); }

    /// Creates the (hidden) window from the QML module; its first frame runs bootstrap().
    /// Returns null (after Qt has reported why) when the QML cannot be loaded.
    QQuickWindow *createWindow(QQmlEngine &engine);

    /// Runs once: a returning user (a readable "config.json" with firstRunComplete true) goes
    /// straight to the dashboard and the monitors start; anyone else sees the welcome screen and
    /// nothing starts. Later calls do nothing.
    void bootstrap();
    [[nodiscard]] bool hasBootstrapped() const { return m_hasBootstrapped; }

private:
    void bootstrapWindow(QQuickWindow *window);

    QString m_appFolder;
    platform::Clock &m_clock;
    // Shared by the models that start system tools; outlives them all.
    std::unique_ptr<platform::ToolRunner> m_toolRunner;
    // Declared, and so constructed, in the order the object graph defines.
    std::unique_ptr<AppStateManager> m_stateManager;
    std::unique_ptr<SystemMonitor> m_systemMonitor;
    std::unique_ptr<SystemOptimizer> m_systemOptimizer;
    std::unique_ptr<DiskScanner> m_diskScanner;
    std::unique_ptr<SessionLogger> m_sessionLogger;
    std::unique_ptr<SettingsStore> m_settingsStore;
    std::unique_ptr<NetworkMonitor> m_networkMonitor;
    // Stateless: it renders whatever session card hands it.
    std::unique_ptr<PDFReportGenerator> m_reportGenerator;
    bool m_hasBootstrapped = false;
    QMetaObject::Connection m_firstFrame;
    std::unique_ptr<platform::Timer> m_bootstrapFallback;
    std::unique_ptr<platform::WindowOcclusion> m_occlusion;
};
