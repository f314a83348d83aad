// Game Mode on and off with every system part answering at once: how long the UI thread stays
// busy in one go. The call itself is one slice; every pass of the event loop until the
// completion arrives is another. A frame lasts 16 ms, so the longest slice is the figure.

#include "FakeAudioOutput.h"
#include "FakeDisplayResolution.h"
#include "FakeDisplaySleepInhibitor.h"
#include "FakeLatencyProbe.h"
#include "FakeMemoryCounters.h"
#include "FakeNetworkServices.h"
#include "FakePerformanceHud.h"
#include "FakePrivilegedRunner.h"
#include "FakeRunningApplications.h"
#include "HandClock.h"
#include "optimizer/GameRules.h"
#include "optimizer/SystemOptimizer.h"

#include <QCoreApplication>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

namespace {

using Steady = std::chrono::steady_clock;

double milliseconds(Steady::duration duration)
{
    return std::chrono::duration<double, std::milli>(duration).count();
}

struct Slices {
    double longest = 0;
    double total = 0;
    int count = 0;

    void add(Steady::duration duration)
    {
        const double ms = milliseconds(duration);
        longest = std::max(longest, ms);
        total += ms;
        ++count;
    }
};

// Runs one operation and the event loop until it completes, timing each slice.
template <typename Start>
Slices measure(Start start)
{
    bool done = false;
    Slices slices;
    const auto begin = Steady::now();
    start([&done](bool, const QStringList &) { done = true; });
    slices.add(Steady::now() - begin);
    while (!done) {
        const auto pass = Steady::now();
        QCoreApplication::processEvents();
        slices.add(Steady::now() - pass);
    }
    return slices;
}

void report(const char *name, std::vector<Slices> runs)
{
    std::vector<double> longest;
    double total = 0;
    int count = 0;
    for (const Slices &run : runs) {
        longest.push_back(run.longest);
        total += run.total;
        count += run.count;
    }
    std::sort(longest.begin(), longest.end());
    const auto at = [&](double q) { return longest[std::size_t(q * double(longest.size() - 1))]; };
    std::printf("%-8s over %zu runs: longest UI-thread slice median %.3f ms, p90 %.3f ms, "
                "max %.3f ms; %.1f slices and %.3f ms busy per operation\n",
                name, runs.size(), at(0.5), at(0.9), longest.back(), double(count) / runs.size(),
                total / runs.size());
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 500;
    const int background = argc > 2 ? std::max(0, std::atoi(argv[2])) : 40;

    // One game in front and a desktop's worth of other applications to lower.
    QList<platform::RunningApplication> running;
    running.append({1000, QStringLiteral("Racer Game"), QStringLiteral("org.example.Racer"), true});
    // Named like the applications Game Mode lowers, so that each one costs a priority change.
    const QStringList &names = GameRules::backgroundAppNames;
    for (int i = 0; i < background; ++i) {
        running.append({2000 + i, names.at(i % names.size()),
                        QStringLiteral("org.example.App%1").arg(i), true});
    }

    HandClock clock;
    OptimizerPlatform parts;
    auto applications = std::make_unique<FakeRunningApplications>();
    applications->running = running;
    applications->frontmost = 1000;
    auto memory = std::make_unique<FakeMemoryCounters>();
    memory->next.freeBytes = 2ULL << 30;
    parts.privileged = std::make_unique<FakePrivilegedRunner>();
    parts.applications = std::move(applications);
    parts.networkServices = std::make_unique<FakeNetworkServices>();
    parts.latency = std::make_unique<FakeLatencyProbe>();
    parts.memory = std::move(memory);
    parts.hud = std::make_unique<FakePerformanceHud>();
    parts.displaySleep = std::make_unique<FakeDisplaySleepInhibitor>();
    parts.audio = std::make_unique<FakeAudioOutput>();
    parts.display = std::make_unique<FakeDisplayResolution>();
    SystemOptimizer optimizer(clock, std::move(parts));
    QCoreApplication::processEvents();

    std::vector<Slices> enables;
    std::vector<Slices> disables;
    for (int i = 0; i < runs; ++i) {
        enables.push_back(measure([&](SystemOptimizer::ActionsCompletion done) {
            optimizer.enableGameMode(std::nullopt, std::move(done));
        }));
        disables.push_back(measure(
            [&](SystemOptimizer::ActionsCompletion done) { optimizer.disableGameMode(done); }));
    }
    std::printf("Game Mode with 1 game and %d background applications, every step answered at "
                "once\n",
                background);
    report("enable", std::move(enables));
    report("disable", std::move(disables));
    return optimizer.gameModeEnabled() ? 1 : 0;
}
