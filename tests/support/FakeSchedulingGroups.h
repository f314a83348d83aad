#pragma once

#include "platform/SchedulingGroups.h"

#include <QList>

#include <functional>

/// Scheduling groups that record each change and answer as the test decides. With rootFor set,
/// the changes it names need the root helper, as raising an autogroup does: they are planned as
/// "autogroup PID -10 START" steps and end as the planned step's outcome says.
class FakeSchedulingGroups final : public platform::SchedulingGroups {
public:
    struct Call {
        qint32 pid;
        Share share;
    };
    QList<Call> changes;
    int restores = 0;
    /// How a change ends; by default every process is found to need none.
    std::function<platform::SchedulingGroupChange::Result(qint32 pid)> answer = [](qint32) {
        return platform::SchedulingGroupChange::Result::Skipped;
    };
    QString reason = QStringLiteral("Access denied");
    std::function<bool(qint32 pid, Share share)> rootFor = [](qint32, Share) { return false; };
    /// Changes that needed root but found no planned outcome (they would start the helper).
    int unplannedRootChanges = 0;

    static platform::PrivilegedStep rootStep(qint32 pid, quint64 startTime)
    {
        return {QStringLiteral("autogroup"),
                {QString::number(pid), QStringLiteral("-10"), QString::number(startTime)},
                false};
    }

    std::optional<platform::PrivilegedStep> stepToChange(qint32 pid, quint64 startTime,
                                                         Share share) const override
    {
        return rootFor(pid, share) ? std::optional(rootStep(pid, startTime)) : std::nullopt;
    }

    QCoro::Task<platform::SchedulingGroupChange> change(qint32 pid, quint64 startTime,
                                                        Share share) override
    {
        changes.append({pid, share});
        if (rootFor(pid, share)) {
            const auto outcome = takePlannedOutcome(rootStep(pid, startTime));
            if (!outcome) {
                ++unplannedRootChanges;
            }
            const bool changed = outcome && outcome->success;
            if (changed) {
                m_changed.prepend(pid);
            }
            co_return platform::SchedulingGroupChange{
                pid,
                changed ? platform::SchedulingGroupChange::Result::Changed
                        : platform::SchedulingGroupChange::Result::Failed,
                QStringLiteral("autogroup-%1").arg(pid),
                changed ? QString() : (outcome ? outcome->message : QStringLiteral("unplanned"))};
        }
        const auto result = answer(pid);
        if (result == platform::SchedulingGroupChange::Result::Changed) {
            m_changed.prepend(pid);
        }
        co_return platform::SchedulingGroupChange{
            pid, result, QStringLiteral("app-%1.scope").arg(pid),
            result == platform::SchedulingGroupChange::Result::Failed ? reason : QString()};
    }

    QCoro::Task<QList<platform::SchedulingGroupChange>> restore() override
    {
        ++restores;
        QList<platform::SchedulingGroupChange> results;
        for (const qint32 pid : std::exchange(m_changed, {})) {
            results.append({pid,
                            platform::SchedulingGroupChange::Result::Changed,
                            QStringLiteral("app-%1.scope").arg(pid),
                            {}});
        }
        co_return results;
    }

private:
    QList<qint32> m_changed;
};
