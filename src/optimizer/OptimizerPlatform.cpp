#include "OptimizerPlatform.h"

OptimizerPlatform OptimizerPlatform::system(platform::ToolRunner &runner)
{
    OptimizerPlatform parts;
    parts.privileged = platform::PrivilegedRunner::create(runner);
    parts.applications = platform::RunningApplications::create();
    parts.networkServices = platform::NetworkServices::create(runner);
    parts.latency = platform::LatencyProbe::create(runner);
    parts.memory = platform::MemoryCounters::create();
    parts.hud = platform::PerformanceHud::create();
    parts.displaySleep = platform::DisplaySleepInhibitor::create(runner);
    parts.audio = platform::AudioOutput::create(runner);
    parts.display = platform::DisplayResolution::create(runner);
    parts.schedulingGroups = platform::SchedulingGroups::create(*parts.privileged);
    return parts;
}
