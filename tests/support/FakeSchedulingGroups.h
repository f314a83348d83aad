#pragma once

#include "platform/SchedulingGroups.h"

#include <QList>

#include <functional>

/// Scheduling groups that record each change and answer as the test decides.
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

    QCoro::Task<platform::SchedulingGroupChange> change(qint32 pid, quint64, Share share) override
    {
        changes.append({pid, share});
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
