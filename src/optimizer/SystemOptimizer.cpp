#include "SystemOptimizer.h"

#include "GameRules.h"
#include "PingSummary.h"

#include <QCoro/QCoroSignal>
#include <QJSEngine>
#include <QPointer>
#include <QTimer>

#include <algorithm>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

using platform::PrivilegedOutcome;
using platform::RunningApplication;

// Diagnostics that have no place on screen: one line on standard output.
void printDiagnostic(const QString &line)
{
    std::fputs(qPrintable(line + u'\n'), stdout);
    std::fflush(stdout);
}

// The root helper's actions.
const QString reniceAction = QStringLiteral("renice");
const QString setDnsAction = QStringLiteral("set-dns");
const QString flushDnsAction = QStringLiteral("flush-dns");
const QString restoreDnsAction = QStringLiteral("restore-dns");
const QString dropCachesAction = QStringLiteral("drop-caches");

QString sizeText(QSize size)
{
    return QString::number(size.width()) + u'x' + QString::number(size.height());
}

} // namespace

const QHash<QString, QStringList> SystemOptimizer::dnsProviders{
    {QStringLiteral("Cloudflare"), {QStringLiteral("1.1.1.1"), QStringLiteral("1.0.0.1")}},
    {QStringLiteral("Google"), {QStringLiteral("8.8.8.8"), QStringLiteral("8.8.4.4")}},
    {QStringLiteral("OpenDNS"),
     {QStringLiteral("208.67.222.222"), QStringLiteral("208.67.220.220")}},
    {QStringLiteral("AdGuard"), {QStringLiteral("94.140.14.14"), QStringLiteral("94.140.15.15")}},
};

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
    // The HUD switch and the game list are current before the screen is first opened.
    checkMetalHUDState();
    refreshDetectedGames();
}

// ---- Game detection ------------------------------------------------------------------------

void SystemOptimizer::refreshDetectedGames()
{
    const QList<RunningAppInfo> games =
        GameRules::detectGames(m_platform.applications->applications());
    QMetaObject::invokeMethod(
        this,
        [this, games] {
            m_detectedGames = GameRules::sortedByName(games);
            Q_EMIT detectedGamesChanged();
        },
        Qt::QueuedConnection);
}

std::optional<RunningApplication>
SystemOptimizer::resolveTargetGame(std::optional<qint32> targetPID,
                                   const QList<RunningAppInfo> &knownGames,
                                   const QList<RunningApplication> &running)
{
    const auto runningWithPid = [&](qint32 pid) -> std::optional<RunningApplication> {
        for (const RunningApplication &application : running) {
            if (application.pid == pid) {
                return application;
            }
        }
        return std::nullopt;
    };
    if (targetPID) {
        // A pick from the screen need not be a detected game.
        if (auto picked = runningWithPid(*targetPID)) {
            return picked;
        }
    }
    refreshDetectedGames();
    // knownGames is the list published before this refresh lands.
    if (const std::optional<qint32> front = m_platform.applications->frontmostPid()) {
        const bool frontIsGame =
            std::any_of(knownGames.cbegin(), knownGames.cend(),
                        [&](const RunningAppInfo &game) { return game.id == *front; });
        if (frontIsGame) {
            if (auto frontmost = runningWithPid(*front)) {
                return frontmost;
            }
        }
    }
    if (knownGames.isEmpty()) {
        return std::nullopt;
    }
    return runningWithPid(knownGames.constFirst().id);
}

QCoro::Task<bool> SystemOptimizer::setPriority(qint32 pid, quint64 startTime, int nice)
{
    // Built before the await: GCC 12 cannot keep an initializer list's array in the frame.
    const QStringList arguments{QString::number(pid), QString::number(nice),
                                QString::number(startTime)};
    const PrivilegedOutcome outcome = co_await m_platform.privileged->run(reniceAction, arguments);
    co_return outcome.success;
}

// ---- Game Mode ------------------------------------------------------------------------------

void SystemOptimizer::enableGameMode(std::optional<qint32> targetPID, ActionsCompletion completion)
{
    runEnableGameMode(targetPID, std::move(completion));
}

void SystemOptimizer::disableGameMode(ActionsCompletion completion)
{
    runDisableGameMode(std::move(completion));
}

QCoro::Task<> SystemOptimizer::runEnableGameMode(std::optional<qint32> targetPID,
                                                 ActionsCompletion completion)
{
    const QPointer<SystemOptimizer> self(this);
    // The target is chosen from the list as it was published before this call: the refreshes
    // below land later.
    const QList<RunningAppInfo> knownGames = m_detectedGames;
    refreshDetectedGames();
    const double before = availableMemoryGB();

    co_await startAntiShut(std::nullopt);
    if (!self) {
        co_return;
    }
    setGameModeEnabled(true);
    // Written whether or not the display could be kept awake.
    QStringList actions{QStringLiteral("Prevented display sleep during gameplay")};

    co_await runToggleFocusMode(true);
    if (!self) {
        co_return;
    }
    actions.append(QStringLiteral("Muted system output for focus mode"));

    const QList<RunningApplication> running = m_platform.applications->applications();
    const std::optional<RunningApplication> target =
        resolveTargetGame(targetPID, knownGames, running);
    if (target) {
        const bool raised = co_await setPriority(target->pid, target->startTime, gameBoostNice);
        if (!self) {
            co_return;
        }
        if (raised) {
            m_boostedPIDs.insert(target->pid);
            m_startTimes[target->pid] = target->startTime;
            actions.append(u"Raised priority for "_s +
                           (target->name.isEmpty() ? QStringLiteral("game") : target->name));
        }
    }

    for (const RunningApplication &application : running) {
        if (!GameRules::isBackgroundApp(application.name) || application.pid <= 0 ||
            (target && application.pid == target->pid)) {
            continue;
        }
        const bool lowered =
            co_await setPriority(application.pid, application.startTime, backgroundNice);
        if (!self) {
            co_return;
        }
        if (lowered) {
            m_throttledPIDs.insert(application.pid);
            m_startTimes[application.pid] = application.startTime;
            actions.append(u"Lowered priority for "_s + application.name);
        }
    }

    const PrivilegedOutcome purge = co_await m_platform.privileged->run(dropCachesAction, {});
    if (!self) {
        co_return;
    }
    if (purge.success) {
        actions.append(QStringLiteral("Purged inactive RAM cache"));
    }
    // Measured at once: only the stand-alone purge waits for the counters to settle.
    const double reclaimed = std::max(0.0, availableMemoryGB() - before);

    OptimizationReport report;
    report.title = QStringLiteral("Game Mode enabled");
    report.actions = actions;
    report.reclaimedRAMGB = reclaimed;
    publishReport(std::move(report));
    if (completion) {
        completion(!actions.isEmpty(), actions);
    }
}

QCoro::Task<> SystemOptimizer::runDisableGameMode(ActionsCompletion completion)
{
    const QPointer<SystemOptimizer> self(this);
    QStringList actions;
    const std::set<qint32> boosted = m_boostedPIDs;
    const std::set<qint32> throttled = m_throttledPIDs;
    const std::map<qint32, quint64> startTimes = m_startTimes;
    const auto startOf = [&](qint32 pid) {
        const auto found = startTimes.find(pid);
        return found == startTimes.end() ? quint64(0) : found->second;
    };
    for (const qint32 pid : boosted) {
        const bool restored = co_await setPriority(pid, startOf(pid), restoredNice);
        if (!self) {
            co_return;
        }
        if (restored) {
            actions.append(QStringLiteral("Restored game process priority"));
        }
    }
    for (const qint32 pid : throttled) {
        const bool restored = co_await setPriority(pid, startOf(pid), restoredNice);
        if (!self) {
            co_return;
        }
        if (restored) {
            actions.append(QStringLiteral("Restored background process priority"));
        }
    }
    // Forgotten whether or not they could be restored.
    m_boostedPIDs.clear();
    m_throttledPIDs.clear();
    m_startTimes.clear();

    co_await stopAntiShut();
    if (!self) {
        co_return;
    }
    co_await runToggleFocusMode(false);
    if (!self) {
        co_return;
    }
    setGameModeEnabled(false);
    actions.append(QStringLiteral("Game Mode disabled"));

    OptimizationReport report;
    report.title = QStringLiteral("Game Mode disabled");
    report.actions = actions;
    publishReport(std::move(report));
    if (completion) {
        completion(true, actions);
    }
}

// ---- RAM purge ----------------------------------------------------------------------------

double SystemOptimizer::availableMemoryGB() const
{
    const platform::MemoryCounters::Sample sample = m_platform.memory->sample();
    return double(sample.freeBytes + sample.inactiveBytes) * bytesToGiB;
}

void SystemOptimizer::purgeRAM(Completion completion)
{
    runPurgeRAM(std::move(completion));
}

QCoro::Task<> SystemOptimizer::wait(std::chrono::milliseconds span)
{
    const std::unique_ptr<platform::Timer> timer = m_clock.createTimer();
    timer->setSingleShot(true);
    timer->start(span);
    co_await qCoro(timer.get(), &platform::Timer::timeout);
}

QCoro::Task<> SystemOptimizer::runPurgeRAM(Completion completion)
{
    const QPointer<SystemOptimizer> self(this);
    const double before = availableMemoryGB();
    const PrivilegedOutcome outcome = co_await m_platform.privileged->run(dropCachesAction, {});
    if (!self) {
        co_return;
    }
    // The counters take a moment to show the freed memory.
    co_await wait(purgeSettleTime);
    if (!self) {
        co_return;
    }
    const double reclaimed = std::max(0.0, availableMemoryGB() - before);
    const QString failure =
        outcome.message.isEmpty() ? QStringLiteral("Failed to clear RAM") : outcome.message;

    OptimizationReport report;
    report.title =
        outcome.success ? QStringLiteral("RAM purged") : QStringLiteral("RAM purge failed");
    report.actions = {outcome.success ? QStringLiteral("Cleared inactive file cache with purge")
                                      : failure};
    report.reclaimedRAMGB = reclaimed;
    publishReport(std::move(report));
    if (completion) {
        completion(outcome.success,
                   outcome.success
                       ? QString::asprintf("RAM cache cleared. Reclaimed %.2f GB", reclaimed)
                       : failure);
    }
}

// ---- Performance HUD ----------------------------------------------------------------------

void SystemOptimizer::checkMetalHUDState()
{
    const std::optional<QString> stored = m_platform.hud->storedValue();
    const QString value = stored ? stored->trimmed().toLower() : QString();
    m_metalHUDEnabled = value == u"1" || value == u"yes";
}

void SystemOptimizer::toggleMetalHUD(bool enable, Completion completion)
{
    if (!m_platform.hud->write(enable)) {
        if (completion) {
            completion(false, QStringLiteral("Failed to toggle Metal HUD. Try running manually: "
                                             "defaults write -g MetalForceHudEnabled -bool YES"));
        }
        return;
    }
    QMetaObject::invokeMethod(
        this,
        [this, enable] {
            m_metalHUDEnabled = enable;
            Q_EMIT metalHUDEnabledChanged();
        },
        Qt::QueuedConnection);
    if (completion) {
        completion(true, enable ? QStringLiteral("Metal HUD enabled. Please RESTART your game to "
                                                 "see the HUD in the top right corner.")
                                : QStringLiteral("Metal HUD disabled. Please restart any running "
                                                 "games."));
    }
}

// ---- Anti-sleep and focus mode ------------------------------------------------------------

void SystemOptimizer::toggleAntiShut(bool enable, std::optional<int> minutes)
{
    runToggleAntiShut(enable, minutes);
}

void SystemOptimizer::toggleAntiShut(bool enable)
{
    toggleAntiShut(enable, std::nullopt);
}

void SystemOptimizer::toggleAntiShut(bool enable, int minutes)
{
    toggleAntiShut(enable, std::optional<int>(minutes));
}

QCoro::Task<> SystemOptimizer::runToggleAntiShut(bool enable, std::optional<int> minutes)
{
    if (enable) {
        co_await startAntiShut(minutes);
    } else {
        co_await stopAntiShut();
    }
}

QCoro::Task<> SystemOptimizer::startAntiShut(std::optional<int> minutes)
{
    const QPointer<SystemOptimizer> self(this);
    // One inhibition at a time, counting one that is still being asked for.
    if (!m_platform.displaySleep->isHeld() && !m_antiShutStarting) {
        m_antiShutStarting = true;
        const QString error = co_await m_platform.displaySleep->inhibit();
        if (!self) {
            co_return;
        }
        m_antiShutStarting = false;
        if (error.isEmpty()) {
            setAntiShutEnabled(true);
        } else {
            printDiagnostic(u"Failed to start idle inhibition: "_s + error);
        }
    }
    // Scheduled even when the inhibition failed.
    if (minutes && *minutes >= 1) {
        if (m_caffeinateTimer) {
            m_caffeinateTimer->stop();
        }
        m_caffeinateTimer = m_clock.createTimer();
        m_caffeinateTimer->setSingleShot(true);
        connect(m_caffeinateTimer.get(), &platform::Timer::timeout, this,
                [this] { toggleAntiShut(false, std::nullopt); });
        m_caffeinateTimer->start(std::chrono::minutes(*minutes));
    }
}

QCoro::Task<> SystemOptimizer::stopAntiShut()
{
    const QPointer<SystemOptimizer> self(this);
    if (m_caffeinateTimer) {
        // This may run inside the timer's own signal: let it finish before it goes.
        m_caffeinateTimer->stop();
        m_caffeinateTimer.release()->deleteLater();
    }
    co_await m_platform.displaySleep->release();
    if (!self) {
        co_return;
    }
    setAntiShutEnabled(false);
}

void SystemOptimizer::toggleFocusMode(bool enable)
{
    runToggleFocusMode(enable);
}

QCoro::Task<> SystemOptimizer::runToggleFocusMode(bool enable)
{
    // The flag follows the request, whether or not the sound system took it.
    QMetaObject::invokeMethod(
        this,
        [this, enable] {
            m_focusModeEnabled = enable;
            Q_EMIT focusModeEnabledChanged();
        },
        Qt::QueuedConnection);
    co_await m_platform.audio->setMuted(enable);
}

// ---- Display resolution -------------------------------------------------------------------

QCoro::Task<std::optional<QSize>> SystemOptimizer::getCurrentResolution()
{
    const platform::DisplayResolution::Query query = co_await m_platform.display->current();
    if (!query.size && !query.error.isEmpty()) {
        printDiagnostic(u"Resolution fetch error: "_s + query.error);
    }
    co_return query.size;
}

void SystemOptimizer::changeResolution(int width, int height, Completion completion)
{
    runChangeResolution(QSize(width, height), false, std::move(completion));
}

void SystemOptimizer::revertResolution(Completion completion)
{
    if (!m_originalResolution) {
        return;
    }
    runChangeResolution(*m_originalResolution, true, std::move(completion));
}

QCoro::Task<> SystemOptimizer::runChangeResolution(QSize size, bool reverting,
                                                   Completion completion)
{
    const QPointer<SystemOptimizer> self(this);
    // Captured once, before the first change: later changes revert to the same mode.
    if (!m_originalResolution) {
        const std::optional<QSize> current = co_await getCurrentResolution();
        if (!self) {
            co_return;
        }
        if (current && !m_originalResolution) {
            m_originalResolution = current;
            Q_EMIT originalResolutionChanged();
        }
    }
    const bool changed = co_await m_platform.display->change(size);
    if (!self) {
        co_return;
    }
    if (changed && reverting) {
        m_originalResolution.reset();
        Q_EMIT originalResolutionChanged();
    }
    if (completion) {
        completion(changed,
                   (changed ? u"Resolution changed to "_s : u"Resolution failed to change to "_s) +
                       sizeText(size));
    }
}

// ---- DNS ----------------------------------------------------------------------------------

QCoro::Task<std::optional<double>> SystemOptimizer::measureLatency(QString host)
{
    const std::optional<QByteArray> output = co_await m_platform.latency->measure(host);
    co_return output ? PingSummary::averageMilliseconds(*output) : std::nullopt;
}

QCoro::Task<std::optional<QString>> SystemOptimizer::getActiveNetworkInterface()
{
    const platform::NetworkServices::ActiveService service =
        co_await m_platform.networkServices->activeService();
    if (!service.target.isEmpty()) {
        co_return service.target;
    }
    if (!service.fetchError.isEmpty()) {
        printDiagnostic(u"Interface fetch error: "_s + service.fetchError);
    }
    co_return std::nullopt;
}

QCoro::Task<PrivilegedOutcome> SystemOptimizer::applyProvider(QString providerName)
{
    const QPointer<SystemOptimizer> self(this);
    const auto provider = dnsProviders.constFind(providerName);
    if (provider == dnsProviders.cend()) {
        co_return PrivilegedOutcome{false, QStringLiteral("Unknown provider")};
    }
    const std::optional<QString> service = co_await getActiveNetworkInterface();
    if (!self) {
        co_return PrivilegedOutcome{false, {}};
    }
    if (!service) {
        // The placeholder fallbackService names no connection here: asked to set DNS for it,
        // the only thing the helper could change is the whole machine's resolv.conf.
        co_return PrivilegedOutcome{false, noConnectionText};
    }
    const QStringList arguments = QStringList{*service} + *provider;
    const PrivilegedOutcome outcome = co_await m_platform.privileged->run(setDnsAction, arguments);
    if (self && outcome.success) {
        m_currentDNS = *provider;
        Q_EMIT currentDNSChanged();
    }
    co_return outcome;
}

void SystemOptimizer::setDNS(const QString &providerName, Completion completion)
{
    runSetDNS(providerName, std::move(completion));
}

QCoro::Task<> SystemOptimizer::runSetDNS(QString providerName, Completion completion)
{
    const QPointer<SystemOptimizer> self(this);
    const PrivilegedOutcome outcome = co_await applyProvider(providerName);
    if (self && completion) {
        completion(outcome.success,
                   outcome.success ? u"DNS set to "_s + providerName : outcome.message);
    }
}

void SystemOptimizer::flushDNS(Completion completion)
{
    runFlushDNS(std::move(completion));
}

QCoro::Task<> SystemOptimizer::runFlushDNS(Completion completion)
{
    const QPointer<SystemOptimizer> self(this);
    const PrivilegedOutcome outcome = co_await m_platform.privileged->run(flushDnsAction, {});
    // The runner's own text is not shown here.
    if (self && completion) {
        completion(outcome.success, outcome.success ? QStringLiteral("DNS cache flushed")
                                                    : QStringLiteral("Failed to flush DNS"));
    }
}

void SystemOptimizer::restoreAutomaticDNS(Completion completion)
{
    runRestoreAutomaticDNS(std::move(completion));
}

QCoro::Task<> SystemOptimizer::runRestoreAutomaticDNS(Completion completion)
{
    const QPointer<SystemOptimizer> self(this);
    const std::optional<QString> service = co_await getActiveNetworkInterface();
    if (!self) {
        co_return;
    }
    PrivilegedOutcome outcome{false, noConnectionText};
    if (service) {
        const QStringList arguments{*service};
        outcome = co_await m_platform.privileged->run(restoreDnsAction, arguments);
        if (!self) {
            co_return;
        }
    }
    if (outcome.success && !m_currentDNS.isEmpty()) {
        m_currentDNS.clear();
        Q_EMIT currentDNSChanged();
    }
    if (completion) {
        completion(outcome.success,
                   outcome.success ? QStringLiteral("Automatic DNS restored") : outcome.message);
    }
}

void SystemOptimizer::autoTuneNetwork(Completion completion)
{
    // Returns at once; the benchmark starts on the next turn of the event loop.
    QTimer::singleShot(0, this, [this, completion = std::move(completion)]() mutable {
        runAutoTuneNetwork(std::move(completion));
    });
}

QCoro::Task<> SystemOptimizer::runAutoTuneNetwork(Completion completion)
{
    const QPointer<SystemOptimizer> self(this);
    const std::optional<double> before = co_await measureLatency(baselineHost);
    if (!self) {
        co_return;
    }
    QList<std::pair<QString, double>> answered;
    for (auto provider = dnsProviders.cbegin(); provider != dnsProviders.cend(); ++provider) {
        if (provider->isEmpty()) {
            continue;
        }
        const std::optional<double> latency = co_await measureLatency(provider->constFirst());
        if (!self) {
            co_return;
        }
        if (latency) {
            answered.append({provider.key(), *latency});
        }
    }
    std::stable_sort(answered.begin(), answered.end(),
                     [](const auto &a, const auto &b) { return a.second < b.second; });
    if (answered.isEmpty()) {
        if (completion) {
            completion(false, QStringLiteral("Could not benchmark DNS providers"));
        }
        co_return;
    }

    const QString name = answered.constFirst().first;
    const PrivilegedOutcome applied = co_await applyProvider(name);
    if (!self) {
        co_return;
    }
    if (!applied.success) {
        if (completion) {
            completion(false, applied.message);
        }
        co_return;
    }
    // Tuning carries on whether or not the flush worked.
    co_await m_platform.privileged->run(flushDnsAction, {});
    if (!self) {
        co_return;
    }
    const QStringList servers = dnsProviders.value(name);
    const std::optional<double> after =
        co_await measureLatency(servers.isEmpty() ? baselineHost : servers.constFirst());
    if (!self) {
        co_return;
    }

    OptimizationReport report;
    report.title = QStringLiteral("Network tuned");
    // The flush line is written even when the flush failed.
    report.actions = {u"Selected fastest DNS: "_s + name, QStringLiteral("Flushed DNS cache")};
    report.selectedDNSProvider = name;
    report.latencyBeforeMS = before;
    report.latencyAfterMS = after;
    publishReport(std::move(report));
    if (completion) {
        completion(true, u"Network tuned with "_s + name);
    }
}

// ---- Published state ----------------------------------------------------------------------

void SystemOptimizer::publishReport(OptimizationReport report)
{
    m_lastReport = std::move(report);
    Q_EMIT lastOptimizationReportChanged();
}

void SystemOptimizer::setGameModeEnabled(bool enabled)
{
    if (m_gameModeEnabled != enabled) {
        m_gameModeEnabled = enabled;
        Q_EMIT gameModeEnabledChanged();
    }
}

void SystemOptimizer::setAntiShutEnabled(bool enabled)
{
    if (m_antiShutEnabled != enabled) {
        m_antiShutEnabled = enabled;
        Q_EMIT antiShutEnabledChanged();
    }
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
