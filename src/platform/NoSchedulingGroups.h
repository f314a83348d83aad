#pragma once

#include "SchedulingGroups.h"

namespace platform {

/// A machine whose processor is shared by no group the program can change: every change says
/// so, and nothing is ever restored.
class NoSchedulingGroups final : public SchedulingGroups {
public:
    QCoro::Task<SchedulingGroupChange> change(qint32 pid, quint64, Share) override
    {
        co_return SchedulingGroupChange{pid, SchedulingGroupChange::Result::Unavailable, {}, {}};
    }
    QCoro::Task<QList<SchedulingGroupChange>> restore() override { co_return {}; }
};

} // namespace platform
