// Network benchmark (issue 4), printed, not asserted:
//  1. One counter sample (netlink dump, parse, default route, choice) in a network namespace of
//     this process: with one veth pair and an IPv4 default route, then with 50 interfaces (25 veth
//     pairs) and none, so that the IPv6 table is read too: the median of many, and of its parts.
//  2. The speed test against a local server paced at 10, 100 and 1,000 Mbit/s: the measured rate
//     against the true one.
// Needs root (or CAP_SYS_ADMIN) for the namespace. Usage: kv_bench_network [SAMPLES]

#include "FakeNetwork.h"
#include "LocalHttpServer.h"
#include "platform/linux/NetlinkCounters.h"
#include "telemetry/NetworkMonitor.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QTimer>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sched.h>
#include <vector>

namespace {

bool ip(const QStringList &arguments)
{
    QProcess process;
    process.start(QStringLiteral("ip"), arguments);
    return process.waitForFinished(10'000) && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
}

double percentile(std::vector<double> values, double p)
{
    std::sort(values.begin(), values.end());
    return values[std::size_t(p * double(values.size() - 1))];
}

// Creates the veth pairs bench<first>a/b … bench<last>a/b, up, with one batch of ip commands.
bool createPairs(int first, int last, const QString &extra = {})
{
    QString batch;
    for (int i = first; i <= last; ++i) {
        batch += QStringLiteral("link add bench%1a type veth peer name bench%1b\n"
                                "link set bench%1a up\nlink set bench%1b up\n")
                     .arg(i);
    }
    batch += extra;
    QFile file(QStringLiteral("/tmp/kv-bench-links-%1").arg(QCoreApplication::applicationPid()));
    if (!file.open(QIODevice::WriteOnly) || file.write(batch.toUtf8()) < 0) {
        std::printf("counter sample: cannot write the ip batch\n");
        return false;
    }
    file.close();
    const bool created = ip({QStringLiteral("-batch"), file.fileName()});
    file.remove();
    if (!created) {
        std::printf("counter sample: ip could not create the veth pairs\n");
    }
    return created;
}

template <typename Sample>
std::vector<double> timed(int samples, Sample sample)
{
    QElapsedTimer clock;
    std::vector<double> microseconds;
    microseconds.reserve(std::size_t(samples));
    for (int i = 0; i < samples + 100; ++i) {
        clock.start();
        sample();
        const double elapsed = double(clock.nsecsElapsed()) / 1000.0;
        if (i >= 100) { // the first ones warm the caches
            microseconds.push_back(elapsed);
        }
    }
    return microseconds;
}

void measure(int samples, const char *setting)
{
    FakeNetwork fake;
    NetworkMonitor::Parts parts = fake.parts();
    parts.counters = std::make_unique<platform::NetlinkCounters>();
    NetworkMonitor monitor(std::move(parts), platform::Clock::system());
    const std::vector<double> whole =
        timed(samples, [&] { Q_UNUSED(monitor.getNetworkBytesFromPrimaryInterface()) });
    std::printf("counter sample with %lld interfaces up (%s): median %.1f us, p90 %.1f us, "
                "max %.1f us (%d samples)\n",
                qlonglong(monitor.debugInterfaceData().size()), setting, percentile(whole, 0.5),
                percentile(whole, 0.9), percentile(whole, 1.0), samples);
    // Its two parts: the kernel's interface list, and the default route's interface.
    platform::NetlinkCounters counters;
    const std::vector<double> links = timed(samples, [&] { Q_UNUSED(counters.links()) });
    const std::vector<double> route =
        timed(samples, [&] { Q_UNUSED(counters.defaultRouteInterface()) });
    std::printf("  of which the netlink dump and its parsing: median %.1f us; the default route: "
                "median %.1f us\n",
                percentile(links, 0.5), percentile(route, 0.5));
}

void counterSample(int samples)
{
    if (::unshare(CLONE_NEWNET) != 0) {
        std::printf("counter sample: skipped, no network namespace (%s)\n", std::strerror(errno));
        return;
    }
    // A desktop's usual set: one link with an IPv4 default route (and the loopback).
    if (!createPairs(0, 0,
                     QStringLiteral("address add 10.200.0.1/24 dev bench0a\n"
                                    "route add default via 10.200.0.2 dev bench0a\n"))) {
        return;
    }
    measure(samples, "an IPv4 default route");
    // Many links and no IPv4 default route: the IPv6 table is read too.
    if (!createPairs(1, 24, QStringLiteral("route del default\n"))) {
        return;
    }
    measure(samples, "no IPv4 default route");
}

double speedTest(const QUrl &base)
{
    FakeNetwork fake;
    NetworkMonitor monitor(fake.parts(base, base), platform::Clock::system());
    QEventLoop loop;
    QObject::connect(&monitor, &NetworkMonitor::isRunningSpeedTestChanged, &loop, [&] {
        if (!monitor.isRunningSpeedTest()) {
            loop.quit();
        }
    });
    QTimer::singleShot(60'000, &loop, &QEventLoop::quit);
    monitor.runSpeedTest();
    loop.exec();
    return monitor.speedTestDownloadMbps();
}

void speedTests()
{
    for (const double mbps : {10.0, 100.0, 1000.0}) {
        LocalHttpServer server([mbps](const QByteArray &) {
            LocalHttpServer::Response response;
            response.generatedBytes = NetworkMonitor::speedTestBytes;
            response.bytesPerSecond = mbps * 125'000.0;
            return response;
        });
        std::vector<double> errors;
        QString runs;
        for (int run = 0; run < 3; ++run) {
            const double measured = speedTest(server.url());
            errors.push_back(100.0 * (measured - mbps) / mbps);
            runs += QStringLiteral(" %1").arg(measured, 0, 'f', 2);
        }
        std::printf("speed test at %6.0f Mbit/s: measured%s Mbit/s, median error %+.2f %%\n", mbps,
                    qPrintable(runs), percentile(errors, 0.5));
    }
}

} // namespace

int main(int argc, char *argv[])
{
    const int samples = argc > 1 ? std::max(1, std::atoi(argv[1])) : 2000;
    // The speed tests first, on the machine's own loopback; then into the namespace.
    QCoreApplication app(argc, argv);
    speedTests();
    counterSample(samples);
    return 0;
}
