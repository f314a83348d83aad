#include "FakeNetwork.h"
#include "ManualClock.h"
#include "TestEnvironment.h"
#include "platform/linux/LinuxConnectionPath.h"
#include "platform/linux/NetlinkCounters.h"
#include "telemetry/NetworkMonitor.h"

#include <QCoreApplication>
#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

#include <arpa/inet.h>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/socket.h>
#include <thread>
#include <time.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using platform::InterfaceBytes;
using platform::PathStatus;

namespace {

/// Why the test cannot run here; empty when this process has a network namespace of its own.
QString g_unavailable;

constexpr quint16 port = 9999;
constexpr int headerBytes = 14 + 20 + 8; ///< Ethernet, IPv4, UDP: what the link counts per datagram

QString peerName()
{
    return u"kvpeer"_s + QString::number(::getpid());
}

bool run(const QStringList &arguments, bool quiet = false)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(u"ip"_s, arguments);
    if (!process.waitForFinished(10'000)) {
        return false;
    }
    const QString text = QString::fromUtf8(process.readAll());
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        if (quiet) {
            return false;
        }
        qWarning("ip %s: %s", qPrintable(arguments.join(u' ')), qPrintable(text));
        return false;
    }
    return true;
}

bool writeProc(const QString &path, const QByteArray &value)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(value) == value.size();
}

sockaddr_in address(const char *ip)
{
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_port = htons(port);
    ::inet_pton(AF_INET, ip, &result.sin_addr);
    return result;
}

/// A UDP socket bound to ip:port in the current network namespace of the calling thread.
int boundSocket(const char *ip)
{
    const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const sockaddr_in local = address(ip);
    if (fd < 0 || ::bind(fd, reinterpret_cast<const sockaddr *>(&local), sizeof local) != 0) {
        return -1;
    }
    // Large buffers: the receiving side is drained only now and then.
    const int size = 8 * 1024 * 1024;
    ::setsockopt(fd, SOL_SOCKET, SO_RCVBUFFORCE, &size, sizeof size);
    ::setsockopt(fd, SOL_SOCKET, SO_SNDBUFFORCE, &size, sizeof size);
    return fd;
}

/// Sends count datagrams of payload bytes to ip:port; true when every one left whole.
bool sendDatagrams(int fd, const char *ip, int count, int payload)
{
    static const QByteArray bytes(65'000, 'n');
    const sockaddr_in to = address(ip);
    for (int i = 0; i < count; ++i) {
        ssize_t sent = -1;
        do {
            sent = ::sendto(fd, bytes.constData(), std::size_t(payload), 0,
                            reinterpret_cast<const sockaddr *>(&to), sizeof to);
        } while (sent < 0 && (errno == EINTR || errno == EAGAIN || errno == ENOBUFS));
        if (sent != payload) {
            return false;
        }
    }
    return true;
}

void drain(int fd)
{
    char buffer[65'536];
    while (::recv(fd, buffer, sizeof buffer, MSG_DONTWAIT) > 0) {
    }
}

} // namespace

// Counter accuracy for real: this process owns a network namespace with one end of a veth pair;
// the other end sits in a second namespace. IPv6 is off and neighbours are static, so the only
// traffic is what the test sends, and the monitor's counters and rates must match it.
class TestNetworkNamespace : public QObject {
    Q_OBJECT

private:
    int m_local = -1; ///< 10.77.0.1 in this namespace
    int m_peer = -1;  ///< 10.77.0.2 in the peer namespace
    int m_peerNamespace = -1;

    /// Creates a socket inside the peer namespace, on a thread that enters it for the purpose.
    int peerSocket()
    {
        int fd = -1;
        std::thread([&] {
            if (::setns(m_peerNamespace, CLONE_NEWNET) == 0) {
                fd = boundSocket("10.77.0.2");
            }
        }).join();
        return fd;
    }

    static platform::InterfaceBytes kv0()
    {
        platform::NetlinkCounters counters;
        const auto links = counters.links();
        for (const InterfaceBytes &link : links.interfaces) {
            if (link.name == u"kv0") {
                return link;
            }
        }
        return {};
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (!g_unavailable.isEmpty()) {
            QSKIP(qPrintable(u"network namespaces are unavailable here: "_s + g_unavailable));
        }
        const QString peer = peerName();
        QVERIFY(writeProc(u"/proc/sys/net/ipv6/conf/all/disable_ipv6"_s, "1"));
        QVERIFY(writeProc(u"/proc/sys/net/ipv6/conf/default/disable_ipv6"_s, "1"));
        run({u"netns"_s, u"del"_s, peer}, true);
        QVERIFY(run({u"netns"_s, u"add"_s, peer}));
        m_peerNamespace = ::open(qPrintable(u"/run/netns/"_s + peer), O_RDONLY | O_CLOEXEC);
        QVERIFY(m_peerNamespace >= 0);
        // Entering the namespace needs a private mount table, which a chroot cannot make.
        if (!run({u"netns"_s, u"exec"_s, peer, u"true"_s}, true)) {
            run({u"netns"_s, u"del"_s, peer}, true);
            QSKIP("network namespaces are unavailable here: ip netns exec cannot enter one");
        }
        for (const char *key : {"all", "default"}) {
            QVERIFY(run({u"netns"_s, u"exec"_s, peer, u"sh"_s, u"-c"_s,
                         u"echo 1 > /proc/sys/net/ipv6/conf/%1/disable_ipv6"_s.arg(
                             QLatin1StringView(key))}));
        }
        QVERIFY(
            run({u"link"_s, u"add"_s, u"kv0"_s, u"address"_s, u"02:00:00:00:77:01"_s, u"type"_s,
                 u"veth"_s, u"peer"_s, u"name"_s, u"kv1"_s, u"address"_s, u"02:00:00:00:77:02"_s}));
        QVERIFY(run({u"link"_s, u"set"_s, u"kv1"_s, u"netns"_s, peer}));
        QVERIFY(run({u"addr"_s, u"add"_s, u"10.77.0.1/24"_s, u"dev"_s, u"kv0"_s}));
        QVERIFY(run({u"neigh"_s, u"replace"_s, u"10.77.0.2"_s, u"lladdr"_s, u"02:00:00:00:77:02"_s,
                     u"dev"_s, u"kv0"_s, u"nud"_s, u"permanent"_s}));
        QVERIFY(run({u"-n"_s, peer, u"addr"_s, u"add"_s, u"10.77.0.2/24"_s, u"dev"_s, u"kv1"_s}));
        QVERIFY(run({u"-n"_s, peer, u"neigh"_s, u"replace"_s, u"10.77.0.1"_s, u"lladdr"_s,
                     u"02:00:00:00:77:01"_s, u"dev"_s, u"kv1"_s, u"nud"_s, u"permanent"_s}));
        QVERIFY(run({u"-n"_s, peer, u"link"_s, u"set"_s, u"kv1"_s, u"up"_s}));
        QVERIFY(run({u"link"_s, u"set"_s, u"kv0"_s, u"up"_s}));
        QTRY_VERIFY(!kv0().name.isEmpty());

        m_local = boundSocket("10.77.0.1");
        m_peer = peerSocket();
        QVERIFY(m_local >= 0);
        QVERIFY(m_peer >= 0);
    }

    void cleanupTestCase()
    {
        if (!g_unavailable.isEmpty()) {
            return;
        }
        for (int fd : {m_local, m_peer, m_peerNamespace}) {
            if (fd >= 0) {
                ::close(fd);
            }
        }
        // Deleting the peer namespace removes kv1 and with it kv0.
        run({u"netns"_s, u"del"_s, peerName()});
    }

    // Nothing moves on the link unless the test sends it.
    void theLinkIsQuiet()
    {
        const InterfaceBytes before = kv0();
        QTest::qWait(1500);
        QCOMPARE(kv0(), before);
    }

    // Known datagrams each way: the monitor's differences match to the byte, its rates exactly
    // over one second of its clock.
    void countersMatchTheBytesSent()
    {
        ManualClock clock;
        FakeNetwork fake;
        NetworkMonitor::Parts parts = fake.parts();
        parts.counters = std::make_unique<platform::NetlinkCounters>();
        NetworkMonitor monitor(std::move(parts), clock);
        monitor.startMonitoring();
        QCOMPARE(monitor.primaryInterface(), u"kv0"_s);
        const auto baseline = monitor.lastBytes();

        const int inCount = 1000, inPayload = 1200;
        const int outCount = 300, outPayload = 100;
        QVERIFY(sendDatagrams(m_peer, "10.77.0.1", inCount, inPayload));
        QVERIFY(sendDatagrams(m_local, "10.77.0.2", outCount, outPayload));
        const quint64 received = quint64(inCount) * (inPayload + headerBytes);
        const quint64 sent = quint64(outCount) * (outPayload + headerBytes);
        QTRY_COMPARE(kv0().received - baseline.first, received);

        clock.advance(1000ms);
        QTRY_COMPARE(monitor.downloadHistory().size(), 1);
        QCOMPARE(monitor.lastBytes().first - baseline.first, received);
        QCOMPARE(monitor.lastBytes().second - baseline.second, sent);
        QCOMPARE(monitor.downloadHistory().first(), double(received));
        QCOMPARE(monitor.uploadHistory().first(), double(sent));
        QCOMPARE(monitor.downloadSpeed(), double(received));

        // A quiet second reads zero.
        clock.advance(1000ms);
        QTRY_COMPARE(monitor.downloadHistory().size(), 2);
        QCOMPARE(monitor.downloadHistory().last(), 0.0);
        QCOMPARE(monitor.uploadHistory().last(), 0.0);
        drain(m_local);
        drain(m_peer);
    }

    // A steady 2,000,000 bytes per second paced on the real clock: each one-second sample of the
    // monitor on the real clock reads that rate within 2 %, and the total to the byte.
    void ratesOnTheRealClock()
    {
        FakeNetwork fake;
        NetworkMonitor::Parts parts = fake.parts();
        parts.counters = std::make_unique<platform::NetlinkCounters>();
        NetworkMonitor monitor(std::move(parts), platform::Clock::system());

        constexpr double rate = 2'000'000;
        constexpr int payload = 1000 - headerBytes; // 1000 bytes on the link per datagram
        std::atomic<bool> stop{false};
        std::atomic<qint64> frames{0};
        std::atomic<bool> failed{false};
        monitor.startMonitoring();
        const auto baseline = monitor.lastBytes();
        std::thread sender([&] {
            timespec start{};
            ::clock_gettime(CLOCK_MONOTONIC, &start);
            while (!stop) {
                timespec now{};
                ::clock_gettime(CLOCK_MONOTONIC, &now);
                const double elapsed =
                    double(now.tv_sec - start.tv_sec) + double(now.tv_nsec - start.tv_nsec) / 1e9;
                const auto due = qint64(elapsed * rate / 1000.0);
                const auto missing = int(due - frames.load());
                if (missing > 0) {
                    if (!sendDatagrams(m_peer, "10.77.0.1", missing, payload)) {
                        failed = true;
                        return;
                    }
                    frames += missing;
                }
                std::this_thread::sleep_for(2ms);
            }
        });
        QTRY_VERIFY_WITH_TIMEOUT(monitor.downloadHistory().size() >= 5, 10'000);
        stop = true;
        sender.join();
        QVERIFY(!failed);
        // The first sample began before the sender; the others cover whole paced seconds.
        const QList<double> history = monitor.downloadHistory();
        for (qsizetype i = 1; i < 5; ++i) {
            qInfo("sample %lld: %.0f bytes/s (%.2f %%)", qlonglong(i), history[i],
                  100.0 * (history[i] - rate) / rate);
            QVERIFY2(std::abs(history[i] - rate) <= rate * 0.02,
                     qPrintable(QString::number(history[i])));
        }
        QTRY_COMPARE(kv0().received - baseline.first, quint64(frames.load()) * 1000);
        drain(m_local);
    }

    // The watcher follows the default route through rtnetlink notifications.
    void pathWatcherFollowsTheDefaultRoute()
    {
        platform::LinuxConnectionPath path(u"/proc"_s, u"/sys"_s,
                                           platform::LinuxConnectionPath::Backend::NetlinkOnly);
        QSignalSpy updates(&path, &platform::ConnectionPath::pathUpdated);
        path.start();
        QCOMPARE(path.activeBackend(), u"netlink"_s);
        QCOMPARE(updates.size(), 1);
        QCOMPARE(updates.last().first().value<PathStatus>(), PathStatus{});

        QVERIFY(run(
            {u"route"_s, u"add"_s, u"default"_s, u"via"_s, u"10.77.0.2"_s, u"dev"_s, u"kv0"_s}));
        QTRY_COMPARE(updates.last().first().value<PathStatus>(),
                     (PathStatus{true, PathStatus::Medium::Other, u"kv0"_s}));

        // Every evaluation is reported, a change that leaves the path as it was too: each one
        // ends with the Wi-Fi probes.
        QTest::qWait(100);
        const qsizetype reported = updates.size();
        QVERIFY(run({u"link"_s, u"set"_s, u"kv0"_s, u"mtu"_s, u"1400"_s}));
        QTRY_VERIFY(updates.size() > reported);
        QCOMPARE(updates.last().first().value<PathStatus>(),
                 (PathStatus{true, PathStatus::Medium::Other, u"kv0"_s}));

        // The monitor prefers the default route's interface.
        ManualClock clock;
        FakeNetwork fake;
        NetworkMonitor::Parts parts = fake.parts();
        parts.counters = std::make_unique<platform::NetlinkCounters>();
        NetworkMonitor monitor(std::move(parts), clock);
        QVERIFY(monitor.getNetworkBytesFromPrimaryInterface().first > 0);
        QCOMPARE(monitor.primaryInterface(), u"kv0"_s);

        QVERIFY(run({u"link"_s, u"set"_s, u"kv0"_s, u"down"_s}));
        QTRY_COMPARE(updates.last().first().value<PathStatus>().satisfied, false);
        QVERIFY(run({u"link"_s, u"set"_s, u"kv0"_s, u"up"_s}));
        QVERIFY(run({u"route"_s, u"replace"_s, u"default"_s, u"via"_s, u"10.77.0.2"_s, u"dev"_s,
                     u"kv0"_s}));
        QTRY_COMPARE(updates.last().first().value<PathStatus>().satisfied, true);
        QVERIFY(run({u"route"_s, u"del"_s, u"default"_s}));
        QTRY_COMPARE(updates.last().first().value<PathStatus>(), PathStatus{});
    }

    // Interfaces that vanish between samples: the chosen one goes, the sample goes on.
    void anInterfaceVanishingBetweenSamples()
    {
        QVERIFY(run(
            {u"link"_s, u"add"_s, u"kv2"_s, u"type"_s, u"veth"_s, u"peer"_s, u"name"_s, u"kv3"_s}));
        QVERIFY(run({u"link"_s, u"set"_s, u"kv2"_s, u"up"_s}));
        QVERIFY(run({u"link"_s, u"set"_s, u"kv3"_s, u"up"_s}));
        ManualClock clock;
        FakeNetwork fake;
        NetworkMonitor::Parts parts = fake.parts();
        parts.counters = std::make_unique<platform::NetlinkCounters>();
        NetworkMonitor monitor(std::move(parts), clock);
        monitor.startMonitoring();
        QVERIFY(run({u"link"_s, u"del"_s, u"kv2"_s}));
        clock.advance(1000ms);
        QTRY_COMPARE(monitor.downloadHistory().size(), 1);
        QVERIFY(std::isfinite(monitor.downloadHistory().first()));
        QVERIFY(!monitor.debugInterfaceData().isEmpty());
        for (const InterfaceBytes &link : monitor.debugInterfaceData()) {
            QVERIFY(link.name != u"kv2" && link.name != u"kv3");
        }
    }
};

int main(int argc, char *argv[])
{
    // Before any thread exists: the whole process, and every tool it starts, moves into a
    // network namespace of its own.
    if (::unshare(CLONE_NEWNET) != 0) {
        g_unavailable =
            u"unshare(CLONE_NEWNET) failed: "_s + QString::fromLocal8Bit(std::strerror(errno));
    } else if (QStandardPaths::findExecutable(u"ip"_s).isEmpty()) {
        g_unavailable = u"the ip tool (iproute2) is not installed"_s;
    }
    TestEnvironment environment;
    QGuiApplication app(argc, argv);
    QStandardPaths::setTestModeEnabled(true);
    TestNetworkNamespace test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}

#include "tst_networknamespace.moc"
