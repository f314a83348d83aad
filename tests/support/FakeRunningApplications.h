#pragma once

#include "platform/RunningApplications.h"

/// Running applications and a frontmost one chosen by the test.
class FakeRunningApplications final : public platform::RunningApplications {
public:
    QList<platform::RunningApplication> running;
    std::optional<qint32> frontmost;
    int scans = 0;

    QList<platform::RunningApplication> applications() override
    {
        ++scans;
        return running;
    }
    std::optional<qint32> frontmostPid() override { return frontmost; }
};
