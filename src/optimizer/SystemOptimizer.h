#pragma once

#include "OptimizationReport.h"
#include "OptimizerPlatform.h"
#include "RunningAppInfo.h"
#include "platform/Clock.h"
#include "platform/ToolRunner.h"

#include <QCoro/QCoroTask>
#include <QHash>
#include <QJSValue>
#include <QList>
#include <QObject>
#include <QSize>
#include <QStringList>
#include <QVariant>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>

/// Every action that changes the system for a game: Game Mode (display awake, output muted,
/// the game's priority raised and background applications' lowered, memory purged), DNS
/// providers with benchmarking, the performance HUD, and a temporary display resolution. Each
/// action that does real work publishes a report of what it did.
///
/// Actions that need root go through the platform's elevation one step at a time, so a
/// password dialog may appear per step; cancelling one only drops that step. Multi-step
/// actions await each step in turn and never block the event loop. Published properties change
/// on the main thread only.
class SystemOptimizer : public QObject {
    Q_OBJECT

    /// Games found by the last detection, sorted by name.
    Q_PROPERTY(QList<RunningAppInfo> detectedGames READ detectedGames NOTIFY detectedGamesChanged)
    Q_PROPERTY(bool gameModeEnabled READ gameModeEnabled NOTIFY gameModeEnabledChanged)
    Q_PROPERTY(bool antiShutEnabled READ antiShutEnabled NOTIFY antiShutEnabledChanged)
    Q_PROPERTY(bool focusModeEnabled READ focusModeEnabled NOTIFY focusModeEnabledChanged)
    Q_PROPERTY(bool metalHUDEnabled READ metalHUDEnabled NOTIFY metalHUDEnabledChanged)
    /// The servers this program last applied (not read back from the system).
    Q_PROPERTY(QStringList currentDNS READ currentDNS NOTIFY currentDNSChanged)
    /// An OptimizationReport, or undefined before the first action.
    Q_PROPERTY(QVariant lastOptimizationReport READ lastOptimizationReportValue NOTIFY
                   lastOptimizationReportChanged)
    /// The resolution before the first change (a size), or undefined.
    Q_PROPERTY(
        QVariant originalResolution READ originalResolutionValue NOTIFY originalResolutionChanged)
    /// The providers' names, in no particular order.
    Q_PROPERTY(QStringList dnsProviderNames READ dnsProviderNames CONSTANT)

public:
    using Completion = std::function<void(bool success, const QString &message)>;
    using ActionsCompletion = std::function<void(bool success, const QStringList &actions)>;

    static constexpr int gameBoostNice = -10;
    static constexpr int backgroundNice = 10;
    static constexpr int restoredNice = 0;
    static constexpr double bytesToGiB = 1.0 / 1073741824.0;
    static constexpr std::chrono::milliseconds purgeSettleTime{1000};
    static inline const QString baselineHost = QStringLiteral("1.1.1.1");
    static inline const QString fallbackService = QStringLiteral("Wi-Fi");
    /// Why DNS cannot change while no connection was found.
    static inline const QString noConnectionText = QStringLiteral("No network connection found");

    /// The public resolvers, primary first.
    static const QHash<QString, QStringList> dnsProviders;

    /// The real machine and the system clock.
    explicit SystemOptimizer(QObject *parent = nullptr);
    /// The given clock and system parts. Like the real one, it reads the HUD switch and runs
    /// one game detection before returning.
    SystemOptimizer(platform::Clock &clock, OptimizerPlatform parts, QObject *parent = nullptr);
    ~SystemOptimizer() override;

    [[nodiscard]] QList<RunningAppInfo> detectedGames() const { return m_detectedGames; }
    [[nodiscard]] bool gameModeEnabled() const { return m_gameModeEnabled; }
    [[nodiscard]] bool antiShutEnabled() const { return m_antiShutEnabled; }
    [[nodiscard]] bool focusModeEnabled() const { return m_focusModeEnabled; }
    [[nodiscard]] bool metalHUDEnabled() const { return m_metalHUDEnabled; }
    [[nodiscard]] QStringList currentDNS() const { return m_currentDNS; }
    [[nodiscard]] std::optional<OptimizationReport> lastOptimizationReport() const
    {
        return m_lastReport;
    }
    [[nodiscard]] std::optional<QSize> originalResolution() const { return m_originalResolution; }
    [[nodiscard]] QStringList dnsProviderNames() const { return dnsProviders.keys(); }
    [[nodiscard]] std::set<qint32> boostedPIDs() const { return m_boostedPIDs; }
    [[nodiscard]] std::set<qint32> throttledPIDs() const { return m_throttledPIDs; }
    /// The one-shot timer that ends anti-sleep, while one is scheduled.
    [[nodiscard]] const platform::Timer *caffeinateTimer() const { return m_caffeinateTimer.get(); }

    /// Scans the running applications now and publishes the games on the next turn of the event
    /// loop: a read in the same turn still sees the previous list.
    Q_INVOKABLE void refreshDetectedGames();

    void enableGameMode(std::optional<qint32> targetPID, ActionsCompletion completion);
    void disableGameMode(ActionsCompletion completion);
    void purgeRAM(Completion completion);
    void toggleMetalHUD(bool enable, Completion completion);
    /// With minutes of 1 or more, anti-sleep switches itself off after that long.
    void toggleAntiShut(bool enable, std::optional<int> minutes);
    Q_INVOKABLE void toggleAntiShut(bool enable);
    Q_INVOKABLE void toggleFocusMode(bool enable);
    void changeResolution(int width, int height, Completion completion);
    /// Does nothing (and never completes) when no change was made before.
    void revertResolution(Completion completion);
    void setDNS(const QString &providerName, Completion completion);
    void flushDNS(Completion completion);
    /// Gives the active connection back the DNS servers its network hands out, undoing setDNS.
    void restoreAutomaticDNS(Completion completion);
    void autoTuneNetwork(Completion completion);

    // The same operations for the screens: the callback receives (success, message) or
    // (success, actions); a targetPID of 0 or less means automatic choice.
    Q_INVOKABLE void enableGameMode(int targetPID, const QJSValue &completion);
    Q_INVOKABLE void disableGameMode(const QJSValue &completion);
    Q_INVOKABLE void purgeRAM(const QJSValue &completion);
    Q_INVOKABLE void toggleMetalHUD(bool enable, const QJSValue &completion);
    Q_INVOKABLE void toggleAntiShut(bool enable, int minutes);
    Q_INVOKABLE void changeResolution(int width, int height, const QJSValue &completion);
    Q_INVOKABLE void revertResolution(const QJSValue &completion);
    Q_INVOKABLE void setDNS(const QString &providerName, const QJSValue &completion);
    Q_INVOKABLE void flushDNS(const QJSValue &completion);
    Q_INVOKABLE void restoreAutomaticDNS(const QJSValue &completion);
    Q_INVOKABLE void autoTuneNetwork(const QJSValue &completion);

    /// Memory the kernel can hand out without swapping: free plus inactive, in GiB; 0 when the
    /// counters cannot be read.
    [[nodiscard]] double availableMemoryGB() const;

Q_SIGNALS:
    void detectedGamesChanged();
    void gameModeEnabledChanged();
    void antiShutEnabledChanged();
    void focusModeEnabledChanged();
    void metalHUDEnabledChanged();
    void currentDNSChanged();
    void lastOptimizationReportChanged();
    void originalResolutionChanged();

private:
    SystemOptimizer(platform::Clock &clock, std::unique_ptr<platform::ToolRunner> runner,
                    QObject *parent);
    void initialize();

    QCoro::Task<> runEnableGameMode(std::optional<qint32> targetPID, ActionsCompletion completion);
    QCoro::Task<> runDisableGameMode(ActionsCompletion completion);
    QCoro::Task<> runPurgeRAM(Completion completion);
    QCoro::Task<> runToggleAntiShut(bool enable, std::optional<int> minutes);
    QCoro::Task<> runToggleFocusMode(bool enable);
    QCoro::Task<> runChangeResolution(QSize size, bool reverting, Completion completion);
    QCoro::Task<> runSetDNS(QString providerName, Completion completion);
    QCoro::Task<> runFlushDNS(Completion completion);
    QCoro::Task<> runRestoreAutomaticDNS(Completion completion);
    QCoro::Task<> runAutoTuneNetwork(Completion completion);

    // The steps the operations share; each completes on the main thread.
    QCoro::Task<bool> setPriority(qint32 pid, quint64 startTime, int nice);
    QCoro::Task<platform::PrivilegedOutcome> applyProvider(QString providerName);
    QCoro::Task<std::optional<double>> measureLatency(QString host);
    /// The connection to configure; nothing when none was found, where the placeholder
    /// fallbackService would stand for it (and must reach no system change).
    QCoro::Task<std::optional<QString>> getActiveNetworkInterface();
    QCoro::Task<std::optional<QSize>> getCurrentResolution();
    QCoro::Task<> startAntiShut(std::optional<int> minutes);
    QCoro::Task<> stopAntiShut();
    QCoro::Task<> wait(std::chrono::milliseconds span);
    std::optional<platform::RunningApplication>
    resolveTargetGame(std::optional<qint32> targetPID, const QList<RunningAppInfo> &knownGames,
                      const QList<platform::RunningApplication> &running);
    void checkMetalHUDState();
    void publishReport(OptimizationReport report);
    void setGameModeEnabled(bool enabled);
    void setAntiShutEnabled(bool enabled);
    [[nodiscard]] QVariant lastOptimizationReportValue() const;
    [[nodiscard]] QVariant originalResolutionValue() const;
    Completion scriptCompletion(const QJSValue &callback);
    ActionsCompletion scriptActionsCompletion(const QJSValue &callback);

    platform::Clock &m_clock;
    std::unique_ptr<platform::ToolRunner> m_runner;
    OptimizerPlatform m_platform;

    QList<RunningAppInfo> m_detectedGames;
    bool m_gameModeEnabled = false;
    bool m_antiShutEnabled = false;
    bool m_antiShutStarting = false;
    bool m_focusModeEnabled = false;
    bool m_metalHUDEnabled = false;
    QStringList m_currentDNS;
    std::optional<OptimizationReport> m_lastReport;
    std::optional<QSize> m_originalResolution;
    std::set<qint32> m_boostedPIDs;
    std::set<qint32> m_throttledPIDs;
    /// When each changed process started, as detection saw it: the helper changes a pid only
    /// while it still names that process.
    std::map<qint32, quint64> m_startTimes;
    std::unique_ptr<platform::Timer> m_caffeinateTimer;
};
