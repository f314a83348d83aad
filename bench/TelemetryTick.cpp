// One sampling tick of the system monitor (read and parse /proc/meminfo and the zram devices,
// publish the figures and both histories), timed over many ticks on this machine. The ping that
// follows each sample is replaced by one that answers at once: its cost is the child process,
// which runs asynchronously and is not part of the tick.

#include "HandClock.h"
#include "platform/MemoryCounters.h"
#include "platform/Ping.h"
#include "telemetry/SystemMonitor.h"

#include <QCoreApplication>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

namespace {

class SilentPing final : public platform::Ping {
public:
    QCoro::Task<std::optional<QByteArray>> echoOnce(QString) override { co_return std::nullopt; }
};

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const int ticks = argc > 1 ? std::max(1, std::atoi(argv[1])) : 10000;

    HandClock clock;
    SystemMonitor monitor(clock, platform::MemoryCounters::create(), std::make_unique<SilentPing>(),
                          nullptr);
    monitor.startMonitoring();

    std::vector<double> microseconds;
    microseconds.reserve(std::size_t(ticks));
    for (int i = 0; i < ticks; ++i) {
        const auto start = std::chrono::steady_clock::now();
        Q_EMIT clock.last->timeout();
        const auto end = std::chrono::steady_clock::now();
        microseconds.push_back(std::chrono::duration<double, std::micro>(end - start).count());
    }
    std::sort(microseconds.begin(), microseconds.end());
    const auto at = [&](double q) { return microseconds[std::size_t(q * (ticks - 1))]; };
    std::printf("system monitor tick over %d ticks: median %.1f us, p90 %.1f us, max %.1f us\n",
                ticks, at(0.5), at(0.9), microseconds.back());
    std::printf("last sample: %.2f of %.2f GiB in use\n", monitor.ramStats().used,
                monitor.ramStats().total);
    return 0;
}
