#pragma once

#include "platform/AudioOutput.h"
#include "platform/DisplayResolution.h"
#include "platform/DisplaySleepInhibitor.h"
#include "platform/LatencyProbe.h"
#include "platform/MemoryCounters.h"
#include "platform/NetworkServices.h"
#include "platform/PerformanceHud.h"
#include "platform/PrivilegedRunner.h"
#include "platform/RunningApplications.h"
#include "platform/SchedulingGroups.h"

#include <memory>

namespace platform {
class ToolRunner;
}

/// Everything of the system the optimizer reads or changes, one part per mechanism.
struct OptimizerPlatform {
    std::unique_ptr<platform::PrivilegedRunner> privileged;
    std::unique_ptr<platform::RunningApplications> applications;
    std::unique_ptr<platform::NetworkServices> networkServices;
    std::unique_ptr<platform::LatencyProbe> latency;
    std::unique_ptr<platform::MemoryCounters> memory;
    std::unique_ptr<platform::PerformanceHud> hud;
    std::unique_ptr<platform::DisplaySleepInhibitor> displaySleep;
    std::unique_ptr<platform::AudioOutput> audio;
    std::unique_ptr<platform::DisplayResolution> display;
    /// Missing parts (a test that leaves it out) change no group.
    std::unique_ptr<platform::SchedulingGroups> schedulingGroups;

    /// The real machine's parts; those that start tools use the runner, which must outlive them.
    static OptimizerPlatform system(platform::ToolRunner &runner);
};
