#include "GameModeController.h"

#include "GameRules.h"
#include "SystemTools.h"

#include <QPointer>

#include <algorithm>

using namespace Qt::StringLiterals;

using platform::PrivilegedOutcome;
using platform::RunningApplication;

namespace {

// The root helper's action.
const QString reniceAction = QStringLiteral("renice");

} // namespace

GameModeController::GameModeController(platform::PrivilegedRunner &privileged,
                                       platform::RunningApplications &applications,
                                       SystemTools &tools, OptimizerPublisher &publisher,
                                       QObject *parent)
    : QObject(parent)
    , m_privileged(privileged)
    , m_applications(applications)
    , m_tools(tools)
    , m_publisher(publisher)
{
}

// ---- Game detection ------------------------------------------------------------------------

void GameModeController::refreshDetectedGames()
{
    const QList<RunningAppInfo> games = GameRules::detectGames(m_applications.applications());
    QMetaObject::invokeMethod(
        this, [this, games] { m_publisher.publishDetectedGames(GameRules::sortedByName(games)); },
        Qt::QueuedConnection);
}

std::optional<RunningApplication>
GameModeController::resolveTargetGame(std::optional<qint32> targetPID,
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
    if (const std::optional<qint32> front = m_applications.frontmostPid()) {
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

QCoro::Task<bool> GameModeController::setPriority(qint32 pid, quint64 startTime, int nice)
{
    // Built before the await: GCC 12 cannot keep an initializer list's array in the frame.
    const QStringList arguments{QString::number(pid), QString::number(nice),
                                QString::number(startTime)};
    const PrivilegedOutcome outcome = co_await m_privileged.run(reniceAction, arguments);
    co_return outcome.success;
}

// ---- Game Mode ------------------------------------------------------------------------------

QCoro::Task<> GameModeController::enableGameMode(std::optional<qint32> targetPID,
                                                 OptimizerActionsCompletion completion)
{
    const QPointer<GameModeController> self(this);
    // The target is chosen from the list as it was published before this call: the refreshes
    // below land later.
    const QList<RunningAppInfo> knownGames = m_publisher.detectedGames();
    refreshDetectedGames();
    const double before = m_tools.availableMemoryGB();

    co_await m_tools.startAntiShut(std::nullopt);
    if (!self) {
        co_return;
    }
    m_publisher.publishGameModeEnabled(true);
    // Written whether or not the display could be kept awake.
    QStringList actions{QStringLiteral("Prevented display sleep during gameplay")};

    co_await m_tools.setFocusMode(true);
    if (!self) {
        co_return;
    }
    actions.append(QStringLiteral("Muted system output for focus mode"));

    const QList<RunningApplication> running = m_applications.applications();
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

    const PrivilegedOutcome purge = co_await m_tools.dropCaches();
    if (!self) {
        co_return;
    }
    if (purge.success) {
        actions.append(QStringLiteral("Purged inactive RAM cache"));
    }
    // Measured at once: only the stand-alone purge waits for the counters to settle.
    const double reclaimed = std::max(0.0, m_tools.availableMemoryGB() - before);

    OptimizationReport report;
    report.title = QStringLiteral("Game Mode enabled");
    report.actions = actions;
    report.reclaimedRAMGB = reclaimed;
    m_publisher.publishReport(std::move(report));
    if (completion) {
        completion(!actions.isEmpty(), actions);
    }
}

QCoro::Task<> GameModeController::disableGameMode(OptimizerActionsCompletion completion)
{
    const QPointer<GameModeController> self(this);
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

    co_await m_tools.stopAntiShut();
    if (!self) {
        co_return;
    }
    co_await m_tools.setFocusMode(false);
    if (!self) {
        co_return;
    }
    m_publisher.publishGameModeEnabled(false);
    actions.append(QStringLiteral("Game Mode disabled"));

    OptimizationReport report;
    report.title = QStringLiteral("Game Mode disabled");
    report.actions = actions;
    m_publisher.publishReport(std::move(report));
    if (completion) {
        completion(true, actions);
    }
}
