// Game Mode on and off with every system part answering at once: how long the UI thread stays
// busy in one go. The call itself is one slice; every pass of the event loop until the
// completion arrives is another. A frame lasts 16 ms, so the longest slice is the figure.
//
// "share HELPER" measures what Game Mode is for instead: a busy "game" and a busy background
// application on one core, each in a session (and, under a systemd user manager, a scope) of its
// own, and the game's share of that core over 5 s with Game Mode off, with the renices alone,
// with the whole Game Mode, and after it is switched off again. It needs root: the helper (the
// build's, run directly) changes the priorities. The page cache is left alone.

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
#include "platform/NoSchedulingGroups.h"
#include "platform/ToolRunner.h"
#include "platform/linux/PkexecPrivilegedRunner.h"
#include "platform/linux/ProcessIdentity.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <sched.h>
#include <thread>
#include <unistd.h>
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

// The helper for real, except for dropping the page cache, which would slow the whole machine.
class SparingPrivilegedRunner final : public platform::PrivilegedRunner {
public:
    explicit SparingPrivilegedRunner(std::unique_ptr<platform::PrivilegedRunner> real)
        : m_real(std::move(real))
    {
    }
    QCoro::Task<platform::PrivilegedOutcome> run(QString verb, QStringList arguments) override
    {
        if (verb == QLatin1String("drop-caches")) {
            co_return platform::PrivilegedOutcome{true, {}};
        }
        co_return co_await m_real->run(verb, arguments);
    }
    QCoro::Task<QList<platform::PrivilegedOutcome>>
    runSteps(QList<platform::PrivilegedStep> steps) override
    {
        QList<platform::PrivilegedStep> real;
        for (const platform::PrivilegedStep &step : std::as_const(steps)) {
            if (step.verb != QLatin1String("drop-caches")) {
                real.append(step);
            }
        }
        const QList<platform::PrivilegedOutcome> realOutcomes = co_await m_real->runSteps(real);
        QList<platform::PrivilegedOutcome> outcomes;
        qsizetype next = 0;
        for (const platform::PrivilegedStep &step : std::as_const(steps)) {
            outcomes.append(step.verb == QLatin1String("drop-caches")
                                ? platform::PrivilegedOutcome{true, {}}
                                : realOutcomes.value(next++));
        }
        co_return outcomes;
    }

private:
    std::unique_ptr<platform::PrivilegedRunner> m_real;
};

// User and system ticks of a process so far.
quint64 ticksOf(qint64 pid)
{
    QFile file(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!file.open(QIODevice::ReadOnly)) {
        return 0;
    }
    const QByteArray stat = file.readAll();
    const QList<QByteArray> fields = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
    // utime and stime are fields 14 and 15; the list starts at field 3.
    return fields.size() > 12 ? fields.at(11).toULongLong() + fields.at(12).toULongLong() : 0;
}

double gameShare(qint64 game, qint64 other)
{
    const quint64 game0 = ticksOf(game);
    const quint64 other0 = ticksOf(other);
    std::this_thread::sleep_for(std::chrono::seconds(5));
    const double gameTicks = double(ticksOf(game) - game0);
    const double otherTicks = double(ticksOf(other) - other0);
    return gameTicks + otherTicks > 0 ? 100.0 * gameTicks / (gameTicks + otherTicks) : 0;
}

// A busy process on the last core, in a session of its own (and a scope where a systemd user
// manager runs).
std::unique_ptr<QProcess> startSpinner(const QString &self)
{
    auto process = std::make_unique<QProcess>();
    process->setChildProcessModifier([] {
        ::setsid();
        cpu_set_t cpus;
        CPU_ZERO(&cpus);
        CPU_SET(std::max(0L, sysconf(_SC_NPROCESSORS_ONLN) - 1), &cpus);
        sched_setaffinity(0, sizeof cpus, &cpus);
    });
    const bool scoped =
        QFileInfo::exists(QStringLiteral("/sys/fs/cgroup/cgroup.controllers")) &&
        QProcess::execute(QStringLiteral("systemctl"),
                          {QStringLiteral("--user"), QStringLiteral("show-environment")}) == 0;
    if (scoped) {
        process->start(QStringLiteral("systemd-run"),
                       {QStringLiteral("--user"), QStringLiteral("--scope"),
                        QStringLiteral("--quiet"), QStringLiteral("--"), self,
                        QStringLiteral("spin")});
    } else {
        process->start(self, {QStringLiteral("spin")});
    }
    process->waitForStarted();
    return process;
}

void switchGameMode(SystemOptimizer &optimizer, bool on)
{
    bool done = false;
    auto completion = [&done](bool, const QStringList &actions) {
        for (const QString &line : actions) {
            std::printf("    %s\n", qPrintable(line));
        }
        done = true;
    };
    if (on) {
        optimizer.enableGameMode(std::nullopt, completion);
    } else {
        optimizer.disableGameMode(completion);
    }
    while (!done) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    }
}

int measureShares(const QString &helper)
{
    if (geteuid() != 0) {
        std::fprintf(stderr, "the share benchmark runs the helper directly and needs root\n");
        return 77;
    }
    const QString self = QCoreApplication::applicationFilePath();
    auto game = startSpinner(self);
    auto other = startSpinner(self);
    const auto start = [](const QProcess &process) {
        const auto identity =
            platform::ProcessIdentity::read(QStringLiteral("/proc"), qint32(process.processId()));
        return identity ? identity->startTime : 0;
    };
    const QList<platform::RunningApplication> running{
        {qint32(game->processId()), QStringLiteral("Racer Game"),
         QStringLiteral("org.example.Racer"), true, start(*game)},
        {qint32(other->processId()), QStringLiteral("Discord"),
         QStringLiteral("com.discordapp.Discord"), true, start(*other)}};

    const auto runner = platform::ToolRunner::create();
    const auto optimizer = [&](bool groups) {
        HandClock clock;
        OptimizerPlatform parts;
        auto applications = std::make_unique<FakeRunningApplications>();
        applications->running = running;
        applications->frontmost = running.first().pid;
        parts.privileged = std::make_unique<SparingPrivilegedRunner>(
            std::make_unique<platform::PkexecPrivilegedRunner>(*runner, helper, true));
        parts.schedulingGroups = groups ? platform::SchedulingGroups::create(*parts.privileged)
                                        : std::make_unique<platform::NoSchedulingGroups>();
        parts.applications = std::move(applications);
        parts.networkServices = std::make_unique<FakeNetworkServices>();
        parts.latency = std::make_unique<FakeLatencyProbe>();
        parts.memory = std::make_unique<FakeMemoryCounters>();
        parts.hud = std::make_unique<FakePerformanceHud>();
        parts.displaySleep = std::make_unique<FakeDisplaySleepInhibitor>();
        parts.audio = std::make_unique<FakeAudioOutput>();
        parts.display = std::make_unique<FakeDisplayResolution>();
        return std::make_unique<SystemOptimizer>(clock, std::move(parts));
    };

    std::printf("the game's share of one contended core over 5 s\n");
    std::printf("  Game Mode off:        %5.1f %%\n",
                gameShare(game->processId(), other->processId()));
    {
        auto renicesOnly = optimizer(false);
        QCoreApplication::processEvents();
        switchGameMode(*renicesOnly, true);
        std::printf("  renices alone:        %5.1f %%\n",
                    gameShare(game->processId(), other->processId()));
        switchGameMode(*renicesOnly, false);
    }
    auto whole = optimizer(true);
    QCoreApplication::processEvents();
    switchGameMode(*whole, true);
    std::printf("  whole Game Mode:      %5.1f %%\n",
                gameShare(game->processId(), other->processId()));
    switchGameMode(*whole, false);
    std::printf("  after switching off:  %5.1f %%\n",
                gameShare(game->processId(), other->processId()));
    game->kill();
    other->kill();
    game->waitForFinished();
    other->waitForFinished();
    return 0;
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc > 1 && std::string_view(argv[1]) == "spin") {
        volatile unsigned long spins = 0;
        for (;;) {
            spins = spins + 1;
        }
    }
    QCoreApplication app(argc, argv);
    if (argc > 2 && std::string_view(argv[1]) == "share") {
        return measureShares(QFileInfo(QString::fromLocal8Bit(argv[2])).absoluteFilePath());
    }
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
