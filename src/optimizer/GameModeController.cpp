#include "GameModeController.h"

#include "GameRules.h"
#include "SystemTools.h"

#include <QPointer>

#include <algorithm>

using namespace Qt::StringLiterals;

using platform::PrivilegedOutcome;
using platform::PrivilegedStep;
using platform::RunningApplication;
using platform::SchedulingGroupChange;
using platform::SchedulingGroups;

namespace {

// The root helper's action.
const QString reniceAction = QStringLiteral("renice");

} // namespace

GameModeController::GameModeController(platform::PrivilegedRunner &privileged,
                                       platform::RunningApplications &applications,
                                       platform::SchedulingGroups &groups, SystemTools &tools,
                                       OptimizerPublisher &publisher, QObject *parent)
    : QObject(parent)
    , m_privileged(privileged)
    , m_applications(applications)
    , m_groups(groups)
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

PrivilegedStep GameModeController::reniceStep(qint32 pid, quint64 startTime, int nice)
{
    return {reniceAction,
            {QString::number(pid), QString::number(nice), QString::number(startTime)},
            false};
}

QCoro::Task<QStringList> GameModeController::changeGroups(std::optional<RunningApplication> target,
                                                          QList<RunningApplication> background)
{
    const QPointer<GameModeController> self(this);
    QStringList lines;
    bool unavailableSaid = false;
    const auto lineFor = [&](const SchedulingGroupChange &change, const QString &name,
                             SchedulingGroups::Share share) {
        switch (change.result) {
        case SchedulingGroupChange::Result::Changed:
            lines.append((share == SchedulingGroups::Share::Raised
                              ? u"Raised processor share for "_s
                              : u"Lowered processor share for "_s) +
                         name);
            break;
        case SchedulingGroupChange::Result::Shared:
            lines.append(u"Left processor share for "_s + name +
                         u" unchanged: its group also holds the desktop or this program"_s);
            break;
        case SchedulingGroupChange::Result::Failed:
            lines.append(u"Could not change processor share for "_s + name + u": "_s +
                         change.reason);
            break;
        case SchedulingGroupChange::Result::Unavailable:
            if (!unavailableSaid) {
                lines.append(u"Processor share unchanged: no scheduling groups on this system"_s);
                unavailableSaid = true;
            }
            break;
        case SchedulingGroupChange::Result::Skipped:
            break;
        }
    };
    if (target) {
        const SchedulingGroupChange change = co_await m_groups.change(
            target->pid, target->startTime, SchedulingGroups::Share::Raised);
        if (!self) {
            co_return lines;
        }
        if (change.result == SchedulingGroupChange::Result::Changed) {
            m_raisedGroupPIDs.insert(target->pid);
        }
        lineFor(change, target->name.isEmpty() ? u"game"_s : target->name,
                SchedulingGroups::Share::Raised);
    }
    for (const RunningApplication &application : std::as_const(background)) {
        const SchedulingGroupChange change = co_await m_groups.change(
            application.pid, application.startTime, SchedulingGroups::Share::Lowered);
        if (!self) {
            co_return lines;
        }
        lineFor(change, application.name, SchedulingGroups::Share::Lowered);
    }
    co_return lines;
}

QCoro::Task<QStringList> GameModeController::restoreGroups()
{
    const QPointer<GameModeController> self(this);
    const QList<SchedulingGroupChange> restored = co_await m_groups.restore();
    QStringList lines;
    if (!self) {
        co_return lines;
    }
    for (const SchedulingGroupChange &change : restored) {
        const bool game = m_raisedGroupPIDs.count(change.pid) > 0;
        if (change.result == SchedulingGroupChange::Result::Changed) {
            lines.append(game ? u"Restored game processor share"_s
                              : u"Restored background processor share"_s);
        } else if (change.result == SchedulingGroupChange::Result::Failed) {
            lines.append(u"Could not restore processor share: "_s + change.reason);
        }
    }
    m_raisedGroupPIDs.clear();
    co_return lines;
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
    QList<RunningApplication> background;
    for (const RunningApplication &application : running) {
        if (!GameRules::isBackgroundApp(application.name) || application.pid <= 0 ||
            (target && application.pid == target->pid)) {
            continue;
        }
        background.append(application);
    }

    // Every step that needs root runs in one start of the helper, so that enabling asks for the
    // password once: the priorities, then the groups that only root may raise (nice values only
    // order threads inside one scheduling group; the groups share the processor by their own
    // weights), then the purge. Their lines are written afterwards in the same order.
    QList<PrivilegedStep> steps;
    if (target) {
        steps.append(reniceStep(target->pid, target->startTime, gameBoostNice));
    }
    for (const RunningApplication &application : std::as_const(background)) {
        steps.append(reniceStep(application.pid, application.startTime, backgroundNice));
    }
    QList<PrivilegedStep> groupSteps;
    if (target) {
        if (auto step = m_groups.stepToChange(target->pid, target->startTime,
                                              SchedulingGroups::Share::Raised)) {
            groupSteps.append(*step);
        }
    }
    for (const RunningApplication &application : std::as_const(background)) {
        if (auto step = m_groups.stepToChange(application.pid, application.startTime,
                                              SchedulingGroups::Share::Lowered)) {
            groupSteps.append(*step);
        }
    }
    steps.append(groupSteps);
    steps.append(SystemTools::dropCachesStep());
    const QList<PrivilegedOutcome> outcomes = co_await m_privileged.runSteps(steps);
    if (!self) {
        co_return;
    }
    qsizetype next = 0;
    const auto nextOutcome = [&] {
        return outcomes.value(next++, PrivilegedOutcome{false, QStringLiteral("Unknown error")});
    };

    if (target && nextOutcome().success) {
        m_boostedPIDs.insert(target->pid);
        m_startTimes[target->pid] = target->startTime;
        actions.append(u"Raised priority for "_s +
                       (target->name.isEmpty() ? QStringLiteral("game") : target->name));
    }
    for (const RunningApplication &application : std::as_const(background)) {
        if (nextOutcome().success) {
            m_throttledPIDs.insert(application.pid);
            m_startTimes[application.pid] = application.startTime;
            actions.append(u"Lowered priority for "_s + application.name);
        }
    }
    QList<std::pair<PrivilegedStep, PrivilegedOutcome>> groupOutcomes;
    for (const PrivilegedStep &step : std::as_const(groupSteps)) {
        groupOutcomes.append({step, nextOutcome()});
    }
    const PrivilegedOutcome purge = nextOutcome();

    m_groups.usePlannedOutcomes(groupOutcomes);
    const QStringList groupLines = co_await changeGroups(target, background);
    if (!self) {
        co_return;
    }
    m_groups.usePlannedOutcomes({});

    if (purge.success) {
        actions.append(QStringLiteral("Purged inactive RAM cache"));
    }
    actions.append(groupLines);
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
    // Undone in the reverse order of enabling, the groups before the nice values. The steps that
    // need root run in one start of the helper, so disabling asks for the password once: the
    // groups only root may put back go first in it, the others are put back right after it (a
    // group's share and a process's nice are independent, so the end state is the same).
    const QList<PrivilegedStep> groupSteps = m_groups.stepsToRestore();
    QList<PrivilegedStep> steps = groupSteps;
    for (const qint32 pid : boosted) {
        steps.append(reniceStep(pid, startOf(pid), restoredNice));
    }
    for (const qint32 pid : throttled) {
        steps.append(reniceStep(pid, startOf(pid), restoredNice));
    }
    const QList<PrivilegedOutcome> outcomes = co_await m_privileged.runSteps(steps);
    if (!self) {
        co_return;
    }
    qsizetype next = 0;
    const auto nextOutcome = [&] {
        return outcomes.value(next++, PrivilegedOutcome{false, QStringLiteral("Unknown error")});
    };
    QList<std::pair<PrivilegedStep, PrivilegedOutcome>> groupOutcomes;
    for (const PrivilegedStep &step : groupSteps) {
        groupOutcomes.append({step, nextOutcome()});
    }
    m_groups.usePlannedOutcomes(groupOutcomes);
    const QStringList groupLines = co_await restoreGroups();
    if (!self) {
        co_return;
    }
    m_groups.usePlannedOutcomes({});
    for (std::size_t i = 0; i < boosted.size(); ++i) {
        if (nextOutcome().success) {
            actions.append(QStringLiteral("Restored game process priority"));
        }
    }
    for (std::size_t i = 0; i < throttled.size(); ++i) {
        if (nextOutcome().success) {
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
    actions.append(groupLines);

    OptimizationReport report;
    report.title = QStringLiteral("Game Mode disabled");
    report.actions = actions;
    m_publisher.publishReport(std::move(report));
    if (completion) {
        completion(true, actions);
    }
}
