#pragma once

#include "ActionQueue.h"
#include "DnsOptimizer.h"
#include "GameModeController.h"
#include "OptimizationReport.h"
#include "OptimizerCompletion.h"
#include "OptimizerPlatform.h"
#include "OptimizerPublisher.h"
#include "RunningAppInfo.h"
#include "SystemTools.h"
#include "platform/Clock.h"
#include "platform/ToolRunner.h"

#include <QHash>
#include <QJSValue>
#include <QList>
#include <QObject>
#include <QSize>
#include <QStringList>
#include <QVariant>

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
///
/// The actions come in three families (Game Mode; the system tools' tasks; DNS), each run one
/// at a time: an action asked for while another of its family runs starts when that one has
/// finished, and each family publishes whether it is busy. The anti-sleep and focus switches
/// are not queued: the last request wins.
///
/// This object holds the published state and takes the screens' calls; the work is done by
/// GameModeController, SystemTools and DnsOptimizer, which publish through it.
class SystemOptimizer : public QObject, private OptimizerPublisher {
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
    /// Game Mode is being switched on or off.
    Q_PROPERTY(bool isBoosting READ isBoosting NOTIFY isBoostingChanged)
    /// A system tool's task (HUD, purge, DNS flush, resolution) is at work.
    Q_PROPERTY(bool isRunningTool READ isRunningTool NOTIFY isRunningToolChanged)
    /// DNS is being set, restored or tuned.
    Q_PROPERTY(bool isChangingDNS READ isChangingDNS NOTIFY isChangingDNSChanged)

public:
    using Completion = OptimizerCompletion;
    using ActionsCompletion = OptimizerActionsCompletion;

    static constexpr int gameBoostNice = GameModeController::gameBoostNice;
    static constexpr int backgroundNice = GameModeController::backgroundNice;
    static constexpr int restoredNice = GameModeController::restoredNice;
    static constexpr double bytesToGiB = SystemTools::bytesToGiB;
    static constexpr std::chrono::milliseconds purgeSettleTime = SystemTools::purgeSettleTime;
    static inline const QString &baselineHost = DnsOptimizer::baselineHost;
    static inline const QString &fallbackService = DnsOptimizer::fallbackService;
    /// Why DNS cannot change while no connection was found.
    static inline const QString &noConnectionText = DnsOptimizer::noConnectionText;

    /// The public resolvers, primary first.
    static inline const QHash<QString, QStringList> &dnsProviders = DnsOptimizer::providers;

    /// The real machine and the system clock.
    explicit SystemOptimizer(QObject *parent = nullptr);
    /// The given clock and system parts. Like the real one, it reads the HUD switch and runs
    /// one game detection before returning.
    SystemOptimizer(platform::Clock &clock, OptimizerPlatform parts, QObject *parent = nullptr);
    ~SystemOptimizer() override;

    [[nodiscard]] QList<RunningAppInfo> detectedGames() const override { return m_detectedGames; }
    [[nodiscard]] bool gameModeEnabled() const { return m_gameModeEnabled; }
    [[nodiscard]] bool antiShutEnabled() const { return m_antiShutEnabled; }
    [[nodiscard]] bool focusModeEnabled() const { return m_focusModeEnabled; }
    [[nodiscard]] bool metalHUDEnabled() const { return m_metalHUDEnabled; }
    [[nodiscard]] QStringList currentDNS() const override { return m_currentDNS; }
    [[nodiscard]] std::optional<OptimizationReport> lastOptimizationReport() const
    {
        return m_lastReport;
    }
    [[nodiscard]] std::optional<QSize> originalResolution() const override
    {
        return m_originalResolution;
    }
    [[nodiscard]] QStringList dnsProviderNames() const { return dnsProviders.keys(); }
    [[nodiscard]] bool isBoosting() const { return m_gameModeActions.isBusy(); }
    [[nodiscard]] bool isRunningTool() const { return m_toolActions.isBusy(); }
    [[nodiscard]] bool isChangingDNS() const { return m_dnsActions.isBusy(); }
    [[nodiscard]] std::set<qint32> boostedPIDs() const { return m_gameMode->boostedPIDs(); }
    [[nodiscard]] std::set<qint32> throttledPIDs() const { return m_gameMode->throttledPIDs(); }
    /// The one-shot timer that ends anti-sleep, while one is scheduled.
    [[nodiscard]] const platform::Timer *caffeinateTimer() const
    {
        return m_tools->caffeinateTimer();
    }

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
    void isBoostingChanged();
    void isRunningToolChanged();
    void isChangingDNSChanged();

private:
    SystemOptimizer(platform::Clock &clock, std::unique_ptr<platform::ToolRunner> runner,
                    QObject *parent);
    void initialize();

    void publishReport(OptimizationReport report) override;
    void publishDetectedGames(const QList<RunningAppInfo> &games) override;
    void publishGameModeEnabled(bool enabled) override;
    void publishAntiShutEnabled(bool enabled) override;
    void publishFocusModeEnabled(bool enabled) override;
    void publishMetalHUDEnabled(bool enabled) override;
    void publishCurrentDNS(const QStringList &servers) override;
    void publishOriginalResolution(std::optional<QSize> size) override;
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
    bool m_focusModeEnabled = false;
    bool m_metalHUDEnabled = false;
    QStringList m_currentDNS;
    std::optional<OptimizationReport> m_lastReport;
    std::optional<QSize> m_originalResolution;

    ActionQueue m_gameModeActions;
    ActionQueue m_toolActions;
    ActionQueue m_dnsActions;

    // Declared last, so destroyed first: they use the parts and the state above.
    std::unique_ptr<SystemTools> m_tools;
    std::unique_ptr<GameModeController> m_gameMode;
    std::unique_ptr<DnsOptimizer> m_dns;
};
