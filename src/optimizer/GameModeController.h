#pragma once

#include "OptimizerCompletion.h"
#include "OptimizerPublisher.h"
#include "RunningAppInfo.h"
#include "platform/PrivilegedRunner.h"
#include "platform/RunningApplications.h"
#include "platform/SchedulingGroups.h"

#include <QCoro/QCoroTask>
#include <QList>
#include <QObject>

#include <map>
#include <optional>
#include <set>

class SystemTools;

/// Game detection and Game Mode: finds the running games, and while Game Mode is on keeps the
/// display awake, mutes the output, raises the chosen game and lowers the listed background
/// applications, drops the page cache; switching it off restores every process it changed.
class GameModeController : public QObject {
    Q_OBJECT

public:
    static constexpr int gameBoostNice = -10;
    static constexpr int backgroundNice = 10;
    static constexpr int restoredNice = 0;

    /// The parts must outlive the controller.
    GameModeController(platform::PrivilegedRunner &privileged,
                       platform::RunningApplications &applications,
                       platform::SchedulingGroups &groups, SystemTools &tools,
                       OptimizerPublisher &publisher, QObject *parent = nullptr);

    [[nodiscard]] std::set<qint32> boostedPIDs() const { return m_boostedPIDs; }
    [[nodiscard]] std::set<qint32> throttledPIDs() const { return m_throttledPIDs; }

    /// Scans the running applications now and publishes the games on the next turn of the event
    /// loop: a read in the same turn still sees the previous list.
    void refreshDetectedGames();
    QCoro::Task<> enableGameMode(std::optional<qint32> targetPID,
                                 OptimizerActionsCompletion completion);
    QCoro::Task<> disableGameMode(OptimizerActionsCompletion completion);

private:
    /// Changes the group of each process, the game first, and gives the report's lines for
    /// what was done and what was not.
    QCoro::Task<QStringList> changeGroups(std::optional<platform::RunningApplication> target,
                                          QList<platform::RunningApplication> background);
    QCoro::Task<QStringList> restoreGroups();
    /// The helper's step that sets the nice of pid, the process that started at startTime.
    [[nodiscard]] static platform::PrivilegedStep reniceStep(qint32 pid, quint64 startTime,
                                                             int nice);
    std::optional<platform::RunningApplication>
    resolveTargetGame(std::optional<qint32> targetPID, const QList<RunningAppInfo> &knownGames,
                      const QList<platform::RunningApplication> &running);

    platform::PrivilegedRunner &m_privileged;
    platform::RunningApplications &m_applications;
    platform::SchedulingGroups &m_groups;
    SystemTools &m_tools;
    OptimizerPublisher &m_publisher;

    std::set<qint32> m_boostedPIDs;
    std::set<qint32> m_throttledPIDs;
    /// When each changed process started, as detection saw it: the helper changes a pid only
    /// while it still names that process.
    std::map<qint32, quint64> m_startTimes;
    /// The processes whose group was raised, for the restore's report.
    std::set<qint32> m_raisedGroupPIDs;
};
