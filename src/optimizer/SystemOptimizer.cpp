#include "SystemOptimizer.h"

#include "platform/NoSchedulingGroups.h"

#include <QJSEngine>

SystemOptimizer::SystemOptimizer(QObject *parent)
    : SystemOptimizer(platform::Clock::system(), platform::ToolRunner::create(), parent)
{
}

SystemOptimizer::SystemOptimizer(platform::Clock &clock,
                                 std::unique_ptr<platform::ToolRunner> runner, QObject *parent)
    : QObject(parent)
    , m_clock(clock)
    , m_runner(std::move(runner))
    , m_platform(OptimizerPlatform::system(*m_runner))
{
    initialize();
}

SystemOptimizer::SystemOptimizer(platform::Clock &clock, OptimizerPlatform parts, QObject *parent)
    : QObject(parent)
    , m_clock(clock)
    , m_platform(std::move(parts))
{
    initialize();
}

SystemOptimizer::~SystemOptimizer() = default;

void SystemOptimizer::initialize()
{
    connect(&m_gameModeActions, &ActionQueue::busyChanged, this,
            &SystemOptimizer::isBoostingChanged);
    connect(&m_toolActions, &ActionQueue::busyChanged, this,
            &SystemOptimizer::isRunningToolChanged);
    connect(&m_dnsActions, &ActionQueue::busyChanged, this, &SystemOptimizer::isChangingDNSChanged);
    OptimizerPublisher &publisher = *this;
    m_tools = std::make_unique<SystemTools>(
        m_clock,
        SystemTools::Parts{*m_platform.privileged, *m_platform.memory, *m_platform.hud,
                           *m_platform.displaySleep, *m_platform.audio, *m_platform.display},
        publisher);
    if (!m_platform.schedulingGroups) {
        m_platform.schedulingGroups = std::make_unique<platform::NoSchedulingGroups>();
    }
    m_gameMode =
        std::make_unique<GameModeController>(*m_platform.privileged, *m_platform.applications,
                                             *m_platform.schedulingGroups, *m_tools, publisher);
    m_dns = std::make_unique<DnsOptimizer>(*m_platform.privileged, *m_platform.networkServices,
                                           *m_platform.latency, publisher);

    // The HUD switch and the game list are current before the screen is first opened.
    m_metalHUDEnabled = m_tools->storedMetalHUDState();
    refreshDetectedGames();
}

// ---- Operations -----------------------------------------------------------------------------

void SystemOptimizer::refreshDetectedGames()
{
    m_gameMode->refreshDetectedGames();
}

void SystemOptimizer::enableGameMode(std::optional<qint32> targetPID, ActionsCompletion completion)
{
    m_gameModeActions.enqueue([this, targetPID, completion = std::move(completion)] {
        return m_gameMode->enableGameMode(targetPID, completion);
    });
}

void SystemOptimizer::disableGameMode(ActionsCompletion completion)
{
    m_gameModeActions.enqueue([this, completion = std::move(completion)] {
        return m_gameMode->disableGameMode(completion);
    });
}

double SystemOptimizer::availableMemoryGB() const
{
    return m_tools->availableMemoryGB();
}

void SystemOptimizer::purgeRAM(Completion completion)
{
    m_toolActions.enqueue(
        [this, completion = std::move(completion)] { return m_tools->purgeRAM(completion); });
}

void SystemOptimizer::toggleMetalHUD(bool enable, Completion completion)
{
    m_toolActions.enqueue([this, enable, completion = std::move(completion)] {
        return m_tools->toggleMetalHUD(enable, completion);
    });
}

void SystemOptimizer::toggleAntiShut(bool enable, std::optional<int> minutes)
{
    // A switch, not a task: the last request wins, also over an answer still on its way.
    if (enable) {
        m_tools->startAntiShut(minutes);
    } else {
        m_tools->stopAntiShut();
    }
}

void SystemOptimizer::toggleAntiShut(bool enable)
{
    toggleAntiShut(enable, std::nullopt);
}

void SystemOptimizer::toggleAntiShut(bool enable, int minutes)
{
    toggleAntiShut(enable, std::optional<int>(minutes));
}

void SystemOptimizer::toggleFocusMode(bool enable)
{
    m_tools->setFocusMode(enable);
}

void SystemOptimizer::changeResolution(int width, int height, Completion completion)
{
    m_toolActions.enqueue([this, width, height, completion = std::move(completion)] {
        return m_tools->changeResolution(QSize(width, height), completion);
    });
}

void SystemOptimizer::revertResolution(Completion completion)
{
    m_toolActions.enqueue([this, completion = std::move(completion)] {
        return m_tools->revertResolution(completion);
    });
}

void SystemOptimizer::setDNS(const QString &providerName, Completion completion)
{
    m_dnsActions.enqueue([this, providerName, completion = std::move(completion)] {
        return m_dns->setDNS(providerName, completion);
    });
}

void SystemOptimizer::flushDNS(Completion completion)
{
    // The Flush DNS tile is one of the system tools.
    m_toolActions.enqueue(
        [this, completion = std::move(completion)] { return m_dns->flushDNS(completion); });
}

void SystemOptimizer::restoreAutomaticDNS(Completion completion)
{
    m_dnsActions.enqueue([this, completion = std::move(completion)] {
        return m_dns->restoreAutomaticDNS(completion);
    });
}

void SystemOptimizer::autoTuneNetwork(Completion completion)
{
    m_dnsActions.enqueue(
        [this, completion = std::move(completion)] { return m_dns->autoTuneNetwork(completion); });
}

// ---- Published state ----------------------------------------------------------------------

void SystemOptimizer::publishReport(OptimizationReport report)
{
    m_lastReport = std::move(report);
    Q_EMIT lastOptimizationReportChanged();
}

void SystemOptimizer::publishDetectedGames(const QList<RunningAppInfo> &games)
{
    m_detectedGames = games;
    Q_EMIT detectedGamesChanged();
}

void SystemOptimizer::publishGameModeEnabled(bool enabled)
{
    if (m_gameModeEnabled != enabled) {
        m_gameModeEnabled = enabled;
        Q_EMIT gameModeEnabledChanged();
    }
}

void SystemOptimizer::publishAntiShutEnabled(bool enabled)
{
    if (m_antiShutEnabled != enabled) {
        m_antiShutEnabled = enabled;
        Q_EMIT antiShutEnabledChanged();
    }
}

void SystemOptimizer::publishFocusModeEnabled(bool enabled)
{
    m_focusModeEnabled = enabled;
    Q_EMIT focusModeEnabledChanged();
}

void SystemOptimizer::publishMetalHUDEnabled(bool enabled)
{
    m_metalHUDEnabled = enabled;
    Q_EMIT metalHUDEnabledChanged();
}

void SystemOptimizer::publishCurrentDNS(const QStringList &servers)
{
    m_currentDNS = servers;
    Q_EMIT currentDNSChanged();
}

void SystemOptimizer::publishOriginalResolution(std::optional<QSize> size)
{
    m_originalResolution = size;
    Q_EMIT originalResolutionChanged();
}

QVariant SystemOptimizer::lastOptimizationReportValue() const
{
    return m_lastReport ? QVariant::fromValue(*m_lastReport) : QVariant();
}

QVariant SystemOptimizer::originalResolutionValue() const
{
    return m_originalResolution ? QVariant(*m_originalResolution) : QVariant();
}

// ---- The screens' entry points --------------------------------------------------------------

SystemOptimizer::Completion SystemOptimizer::scriptCompletion(const QJSValue &callback)
{
    return [callback](bool success, const QString &message) {
        if (callback.isCallable()) {
            callback.call({QJSValue(success), QJSValue(message)});
        }
    };
}

SystemOptimizer::ActionsCompletion
SystemOptimizer::scriptActionsCompletion(const QJSValue &callback)
{
    return [this, callback](bool success, const QStringList &actions) {
        QJSEngine *engine = qjsEngine(this);
        if (callback.isCallable() && engine) {
            callback.call({QJSValue(success), engine->toScriptValue(actions)});
        }
    };
}

void SystemOptimizer::enableGameMode(int targetPID, const QJSValue &completion)
{
    enableGameMode(targetPID > 0 ? std::optional<qint32>(targetPID) : std::nullopt,
                   scriptActionsCompletion(completion));
}

void SystemOptimizer::disableGameMode(const QJSValue &completion)
{
    disableGameMode(scriptActionsCompletion(completion));
}

void SystemOptimizer::purgeRAM(const QJSValue &completion)
{
    purgeRAM(scriptCompletion(completion));
}

void SystemOptimizer::toggleMetalHUD(bool enable, const QJSValue &completion)
{
    toggleMetalHUD(enable, scriptCompletion(completion));
}

void SystemOptimizer::changeResolution(int width, int height, const QJSValue &completion)
{
    changeResolution(width, height, scriptCompletion(completion));
}

void SystemOptimizer::revertResolution(const QJSValue &completion)
{
    revertResolution(scriptCompletion(completion));
}

void SystemOptimizer::setDNS(const QString &providerName, const QJSValue &completion)
{
    setDNS(providerName, scriptCompletion(completion));
}

void SystemOptimizer::flushDNS(const QJSValue &completion)
{
    flushDNS(scriptCompletion(completion));
}

void SystemOptimizer::restoreAutomaticDNS(const QJSValue &completion)
{
    restoreAutomaticDNS(scriptCompletion(completion));
}

void SystemOptimizer::autoTuneNetwork(const QJSValue &completion)
{
    autoTuneNetwork(scriptCompletion(completion));
}
