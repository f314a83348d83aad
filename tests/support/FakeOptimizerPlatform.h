#pragma once

#include "FakeAudioOutput.h"
#include "FakeDisplayResolution.h"
#include "FakeDisplaySleepInhibitor.h"
#include "FakeLatencyProbe.h"
#include "FakeMemoryCounters.h"
#include "FakeNetworkServices.h"
#include "FakePerformanceHud.h"
#include "FakePrivilegedRunner.h"
#include "FakeRunningApplications.h"
#include "FakeSchedulingGroups.h"
#include "optimizer/OptimizerPlatform.h"

/// An optimizer's system parts, every one a fake, with handles to those a screen's test drives.
struct FakeOptimizerPlatform {
    FakePrivilegedRunner *privileged = nullptr;
    FakeRunningApplications *applications = nullptr;
    FakeLatencyProbe *latency = nullptr;
    FakeDisplayResolution *display = nullptr;
    FakeSchedulingGroups *groups = nullptr;

    /// The parts, with these applications running; the handles point into them from then on.
    OptimizerPlatform parts(QList<platform::RunningApplication> running = {})
    {
        OptimizerPlatform parts;
        auto runner = std::make_unique<FakePrivilegedRunner>();
        auto apps = std::make_unique<FakeRunningApplications>();
        auto probe = std::make_unique<FakeLatencyProbe>();
        auto resolution = std::make_unique<FakeDisplayResolution>();
        privileged = runner.get();
        applications = apps.get();
        latency = probe.get();
        display = resolution.get();
        auto schedulingGroups = std::make_unique<FakeSchedulingGroups>();
        groups = schedulingGroups.get();
        parts.schedulingGroups = std::move(schedulingGroups);
        applications->running = std::move(running);
        parts.privileged = std::move(runner);
        parts.applications = std::move(apps);
        parts.networkServices = std::make_unique<FakeNetworkServices>();
        parts.latency = std::move(probe);
        parts.memory = std::make_unique<FakeMemoryCounters>();
        parts.hud = std::make_unique<FakePerformanceHud>();
        parts.displaySleep = std::make_unique<FakeDisplaySleepInhibitor>();
        parts.audio = std::make_unique<FakeAudioOutput>();
        parts.display = std::move(resolution);
        return parts;
    }
};
