#pragma once

#include "PrivilegedRunner.h"

#include <QCoro/QCoroTask>
#include <QList>
#include <QString>

#include <memory>
#include <optional>
#include <utility>

namespace platform {

/// What became of one process's scheduling group.
struct SchedulingGroupChange {
    enum class Result {
        Changed,     ///< the group's share was changed (or, on restore, put back)
        Skipped,     ///< nothing to do: the process has gone, or its group was already changed
        Unavailable, ///< this system shares the processor by no group the program can change
        Shared,      ///< the group also holds this program or the desktop shell
        Failed,      ///< the change was refused; reason says why
    };

    qint32 pid = 0;
    Result result = Result::Skipped;
    QString group;  ///< the group's name ("app-steam.scope", "autogroup-54"); may be empty
    QString reason; ///< one line when the change failed

    friend bool operator==(const SchedulingGroupChange &, const SchedulingGroupChange &) = default;
};

/// The groups the machine shares the processor between (a process's unit under the user's
/// service manager, or its autogroup): nice values order threads only inside one group, so a
/// game's share of a busy processor moves only when its group's weight does.
class SchedulingGroups {
public:
    enum class Share { Raised, Lowered };

    virtual ~SchedulingGroups() = default;

    /// Raises or lowers the share of the group that governs pid (the process that started at
    /// startTime), remembering the group's original value first. A group changed before in this
    /// run is left as it is.
    virtual QCoro::Task<SchedulingGroupChange> change(qint32 pid, quint64 startTime,
                                                      Share share) = 0;
    /// Puts every changed group back to its original value, the latest change first, and
    /// forgets them; groups whose process has gone are skipped without a word.
    virtual QCoro::Task<QList<SchedulingGroupChange>> restore() = 0;

    /// The root helper's step change() would take for pid, worked out now without changing
    /// anything; none when the change needs no root or would not be made. A user's action runs
    /// such steps with its other privileged steps in one start of the helper (one password
    /// dialog) and hands the outcomes over through usePlannedOutcomes() before change().
    [[nodiscard]] virtual std::optional<PrivilegedStep> stepToChange(qint32 pid, quint64 startTime,
                                                                     Share share) const
    {
        Q_UNUSED(pid)
        Q_UNUSED(startTime)
        Q_UNUSED(share)
        return std::nullopt;
    }
    /// The root helper's steps restore() would take, in its order.
    [[nodiscard]] virtual QList<PrivilegedStep> stepsToRestore() const { return {}; }

    /// The outcomes of planned steps that have already run: a change or restore that needs one
    /// of these steps takes its outcome rather than starting the helper again. Replaces any
    /// handed over before; an empty list forgets them.
    void usePlannedOutcomes(QList<std::pair<PrivilegedStep, PrivilegedOutcome>> outcomes)
    {
        m_plannedOutcomes = std::move(outcomes);
    }

    /// The mechanism this machine has (systemd's user units on cgroup v2, else the kernel's
    /// autogroups, else none); the privileged runner must outlive it.
    static std::unique_ptr<SchedulingGroups> create(PrivilegedRunner &privileged);

protected:
    SchedulingGroups() = default;
    SchedulingGroups(const SchedulingGroups &) = default;
    SchedulingGroups &operator=(const SchedulingGroups &) = default;

    /// The outcome handed over for step, taken once; none when it was not planned and run.
    [[nodiscard]] std::optional<PrivilegedOutcome> takePlannedOutcome(const PrivilegedStep &step)
    {
        for (auto it = m_plannedOutcomes.begin(); it != m_plannedOutcomes.end(); ++it) {
            if (it->first == step) {
                PrivilegedOutcome outcome = it->second;
                m_plannedOutcomes.erase(it);
                return outcome;
            }
        }
        return std::nullopt;
    }

private:
    QList<std::pair<PrivilegedStep, PrivilegedOutcome>> m_plannedOutcomes;
};

} // namespace platform
