#include "FakeNetwork.h"
#include "FakePing.h"
#include "ManualClock.h"
#include "TestEnvironment.h"
#include "TestFiles.h"
#include "platform/linux/LinuxNetworkProbes.h"
#include "telemetry/NetworkMonitor.h"
#include "telemetry/PingOutput.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using platform::InterfaceBytes;
using platform::PathStatus;

namespace {

/// Tool outputs by program name, for the real Linux probes.
class FakeToolRunner final : public platform::ToolRunner {
public:
    QMutex lock;
    QHash<QString, platform::ToolResult> results; ///< by program; missing = failed to start
    QStringList calls;

    QCoro::Task<platform::ToolResult> run(platform::ToolRequest request) override
    {
        const QMutexLocker locker(&lock);
        calls.append(request.program + u' ' + request.arguments.join(u' '));
        co_return results.value(request.program);
    }
};

platform::ToolResult finished(const QByteArray &output)
{
    platform::ToolResult result;
    result.outcome = platform::ToolResult::Outcome::Finished;
    result.exitCode = 0;
    result.standardOutput = output;
    return result;
}

QByteArray iwFixture(const QString &name)
{
    return TestFiles::read(QStringLiteral(KV_SOURCE_DIR "/tests/fixtures/linux/iw/") + name);
}

using Bytes = std::pair<quint64, quint64>;

constexpr quint64 fiveGiB = 5ULL * 1024 * 1024 * 1024;

} // namespace

// NetworkMonitor with fake counters, path and tools on a clock the test moves.
class TestNetworkMonitor : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<ManualClock> m_clock;
    std::unique_ptr<FakeNetwork> m_fake;
    std::unique_ptr<NetworkMonitor> m_monitor;

    void create() { m_monitor = std::make_unique<NetworkMonitor>(m_fake->parts(), *m_clock); }

    static void settle()
    {
        for (int i = 0; i < 5; ++i) {
            QCoreApplication::processEvents();
        }
    }

    /// Sets the counters of one interface, moves the clock one second and lets the sample land.
    void sample(quint64 received, quint64 sent, const QString &name = u"eth0"_s)
    {
        m_fake->setLinks({{name, received, sent}});
        m_clock->advance(1000ms);
        settle();
    }

    void start(quint64 received = 0, quint64 sent = 0)
    {
        m_fake->setLinks({{u"eth0"_s, received, sent}});
        m_monitor->startMonitoring();
        settle();
    }

private Q_SLOTS:
    void init()
    {
        m_clock = std::make_unique<ManualClock>();
        m_fake = std::make_unique<FakeNetwork>();
        m_fake->probes->pingOutput = QByteArray();
    }

    void cleanup()
    {
        settle();
        m_monitor.reset();
        m_fake.reset();
        m_clock.reset();
    }

    void startsWithThePartsInitialValues()
    {
        create();
        QCOMPARE(m_monitor->downloadSpeed(), 0.0);
        QCOMPARE(m_monitor->uploadSpeed(), 0.0);
        QVERIFY(!m_monitor->latency());
        QVERIFY(!m_monitor->latencyValue().isValid());
        QVERIFY(m_monitor->downloadHistory().isEmpty());
        QVERIFY(m_monitor->uploadHistory().isEmpty());
        QCOMPARE(m_monitor->isConnected(), true);
        QCOMPARE(m_monitor->connectionType(), u"Unknown"_s);
        QCOMPARE(m_monitor->connectionName(), u"Not Connected"_s);
        QCOMPARE(m_monitor->wifiStandard(), QString());
        QCOMPARE(m_monitor->activeInterface(), QString());
        QCOMPARE(m_monitor->isRunningSpeedTest(), false);
        QCOMPARE(m_monitor->speedTestDownloadMbps(), 0.0);
        QCOMPARE(m_monitor->speedTestUploadMbps(), 0.0);
        QCOMPARE(m_monitor->speedTestProgress(), 0.0);
        QCOMPARE(m_monitor->ispName(), QString());
        QCOMPARE(m_monitor->publicIP(), QString());
        QCOMPARE(m_monitor->primaryInterface(), u"en0"_s);
        QCOMPARE(m_monitor->sampleCount(), 0);
        QCOMPARE(m_monitor->queueLabels(),
                 QStringList({u"NetworkMonitor.speed"_s, u"NetworkMonitor.ssid"_s,
                              u"NetworkMonitor.speedtest"_s}));
    }

    // Construction builds the watcher and queues but starts nothing.
    void constructionStartsNothing()
    {
        create();
        m_clock->advance(5000ms);
        settle();
        QCOMPARE(m_fake->path->started(), false);
        QCOMPARE(m_fake->counters->linkCalls, 0);
        QCOMPARE(m_monitor->sampleCount(), 0);
        QVERIFY(m_fake->probes->takeCalls().isEmpty());
    }

    void startTakesTheBaselineAndStartsThePathWatcher()
    {
        create();
        start(1234, 567);
        QCOMPARE(m_monitor->lastBytes(), Bytes(1234, 567));
        QTRY_VERIFY(m_fake->path->started());
        QVERIFY(m_monitor->downloadHistory().isEmpty());
    }

    void theFirstPublishedSpeedIsTheRawRate()
    {
        create();
        start(1000, 2000);
        sample(1000 + 5000, 2000 + 300);
        QCOMPARE(m_monitor->downloadSpeed(), 5000.0);
        QCOMPARE(m_monitor->uploadSpeed(), 300.0);
        QCOMPARE(m_monitor->downloadHistory(), QList<double>({5000.0}));
        QCOMPARE(m_monitor->uploadHistory(), QList<double>({300.0}));
        QCOMPARE(m_monitor->sampleCount(), 1);
    }

    // With [a, b, c, d] and raw r the published speed is (b + c + d + r) / 4; the history keeps r.
    void publishedSpeedsAreSmoothedWhileHistoriesStayRaw()
    {
        create();
        start();
        quint64 total = 0;
        for (quint64 rate : {100, 200, 400, 800, 1600}) {
            total += rate;
            sample(total, 0);
        }
        QCOMPARE(m_monitor->downloadHistory(), QList<double>({100, 200, 400, 800, 1600}));
        QCOMPARE(m_monitor->downloadSpeed(), (200.0 + 400.0 + 800.0 + 1600.0) / 4.0);
    }

    void movingAverage_data()
    {
        QTest::addColumn<double>("current");
        QTest::addColumn<QList<double>>("history");
        QTest::addColumn<double>("expected");
        QTest::newRow("empty history") << 7.0 << QList<double>{} << 7.0;
        QTest::newRow("one value") << 4.0 << QList<double>{2} << 3.0;
        QTest::newRow("two values") << 6.0 << QList<double>{3, 3} << 4.0;
        QTest::newRow("four values, last three used") << 8.0 << QList<double>{100, 2, 4, 6} << 5.0;
    }

    void movingAverage()
    {
        QFETCH(double, current);
        QFETCH(QList<double>, history);
        QFETCH(double, expected);
        QCOMPARE(NetworkMonitor::applyMovingAverage(current, history, 3), expected);
    }

    void aFullHistoryLosesItsOldestEntry()
    {
        create();
        start();
        quint64 total = 0;
        for (int i = 1; i <= 61; ++i) {
            total += quint64(i);
            sample(total, total);
        }
        QCOMPARE(m_monitor->downloadHistory().size(), 60);
        QCOMPARE(m_monitor->uploadHistory().size(), 60);
        QCOMPARE(m_monitor->downloadHistory().first(), 2.0);
        QCOMPARE(m_monitor->downloadHistory().last(), 61.0);
    }

    void primaryInterface_data()
    {
        QTest::addColumn<QList<InterfaceBytes>>("interfaces");
        QTest::addColumn<QString>("defaultRoute");
        QTest::addColumn<QString>("expected");
        QTest::newRow("en0 idle, en1 busy")
            << QList<InterfaceBytes>{{u"en0"_s, 0, 0}, {u"en1"_s, 10, 0}, {u"eth9"_s, 99, 99}}
            << QString() << u"en1"_s;
        QTest::newRow("en0 first of the preferred")
            << QList<InterfaceBytes>{{u"en1"_s, 10, 0}, {u"en0"_s, 0, 1}} << QString() << u"en0"_s;
        QTest::newRow("no enN: largest total")
            << QList<InterfaceBytes>{{u"eth0"_s, 5, 5}, {u"wlan0"_s, 20, 1}, {u"tun0"_s, 1, 1}}
            << QString() << u"wlan0"_s;
        QTest::newRow("equal totals keep the first")
            << QList<InterfaceBytes>{{u"eth0"_s, 5, 5}, {u"wlan0"_s, 9, 1}, {u"tun0"_s, 0, 10}}
            << QString() << u"eth0"_s;
        QTest::newRow("all idle: the first")
            << QList<InterfaceBytes>{{u"eth0"_s, 0, 0}, {u"wlan0"_s, 0, 0}} << QString()
            << u"eth0"_s;
        QTest::newRow("default route wins over en0")
            << QList<InterfaceBytes>{{u"en0"_s, 50, 50}, {u"wlan0"_s, 1, 0}} << u"wlan0"_s
            << u"wlan0"_s;
        QTest::newRow("idle default route falls through to enN")
            << QList<InterfaceBytes>{{u"en0"_s, 50, 50}, {u"wlan0"_s, 0, 0}} << u"wlan0"_s
            << u"en0"_s;
        QTest::newRow("vanished default route")
            << QList<InterfaceBytes>{{u"eth0"_s, 3, 3}} << u"wlan0"_s << u"eth0"_s;
    }

    void primaryInterface()
    {
        QFETCH(QList<InterfaceBytes>, interfaces);
        QFETCH(QString, defaultRoute);
        QFETCH(QString, expected);
        const auto chosen = NetworkMonitor::findPrimaryInterface(interfaces, defaultRoute);
        QVERIFY(chosen);
        QCOMPARE(chosen->name, expected);
    }

    void noInterfacesGiveZeroAndKeepThePrimaryName()
    {
        QVERIFY(!NetworkMonitor::findPrimaryInterface({}, u"eth0"_s));
        create();
        m_fake->setLinks({{u"wlan0"_s, 7, 8}});
        QCOMPARE(m_monitor->getNetworkBytesFromPrimaryInterface(), Bytes(7, 8));
        QCOMPARE(m_monitor->primaryInterface(), u"wlan0"_s);
        QCOMPARE(m_monitor->debugInterfaceData(), QList<InterfaceBytes>({{u"wlan0"_s, 7, 8}}));
        m_fake->setLinks({});
        QCOMPARE(m_monitor->getNetworkBytesFromPrimaryInterface(), Bytes(0, 0));
        QCOMPARE(m_monitor->primaryInterface(), u"wlan0"_s);
        QVERIFY(m_monitor->debugInterfaceData().isEmpty());
    }

    // A counter that goes backwards yields the new value as the difference.
    void aCounterGoingBackwardsCountsAsAReset()
    {
        create();
        start(10'000, 20'000);
        QTest::ignoreMessage(QtWarningMsg, "Counter wraparound or reset detected for received");
        QTest::ignoreMessage(QtWarningMsg, "Counter wraparound or reset detected for sent");
        sample(400, 300);
        QCOMPARE(m_monitor->downloadHistory(), QList<double>({400.0}));
        QCOMPARE(m_monitor->uploadHistory(), QList<double>({300.0}));
    }

    // The 64-bit counters pass 4 GiB without wrapping.
    void sixtyFourBitCountersDoNotWrap()
    {
        create();
        start(fiveGiB, fiveGiB);
        sample(fiveGiB + 1000, fiveGiB + 10);
        QCOMPARE(m_monitor->downloadHistory(), QList<double>({1000.0}));
        QCOMPARE(m_monitor->uploadHistory(), QList<double>({10.0}));
    }

    // The getifaddrs fallback has 32-bit counters: past 2^32 they wrap, and the reset rule
    // takes the small new value as the difference.
    void thirtyTwoBitFallbackWraps()
    {
        create();
        m_fake->counters->links = {false, EMFILE, u"socket"_s, {}};
        m_fake->counters->fallback = {true, 4'294'967'000, 100, true};
        QTest::ignoreMessage(QtWarningMsg, "Netlink socket failed: errno=24");
        QTest::ignoreMessage(QtWarningMsg, "Falling back to getifaddrs");
        m_monitor->startMonitoring();
        settle();
        QCOMPARE(m_monitor->lastBytes(), Bytes(4'294'967'000, 100));

        // 1000 bytes later the 32-bit counter reads (4294967000 + 1000) mod 2^32 = 704.
        m_fake->counters->fallback = {true, 704, 100, true};
        QTest::ignoreMessage(QtWarningMsg, "Netlink socket failed: errno=24");
        QTest::ignoreMessage(QtWarningMsg, "Falling back to getifaddrs");
        QTest::ignoreMessage(QtWarningMsg, "Counter wraparound or reset detected for received");
        m_clock->advance(1000ms);
        settle();
        QCOMPARE(m_monitor->downloadHistory(), QList<double>({704.0}));
        QCOMPARE(m_monitor->primaryInterface(), u"en0"_s);
    }

    // Neither source answers: (0, 0), which the next good sample treats as a reset.
    void totalCounterFailureGivesZero()
    {
        create();
        m_fake->counters->links = {false, EACCES, u"socket"_s, {}};
        m_fake->counters->fallback = {};
        QTest::ignoreMessage(QtWarningMsg, "Netlink socket failed: errno=13");
        QTest::ignoreMessage(QtWarningMsg, "Falling back to getifaddrs");
        QTest::ignoreMessage(QtWarningMsg, "getifaddrs failed");
        QCOMPARE(m_monitor->getNetworkBytesFromPrimaryInterface(), Bytes(0, 0));
    }

    // Interfaces that come and go between samples change the chosen interface: each change takes
    // a new baseline, so no second shows the difference of two interfaces' totals.
    void interfacesAppearingAndVanishing()
    {
        create();
        start(5000, 5000);
        m_fake->setLinks({{u"wlan0"_s, 100, 100}});
        m_clock->advance(1000ms);
        settle();
        m_fake->setLinks({});
        m_clock->advance(1000ms);
        settle();
        m_fake->setLinks({{u"eth0"_s, 900, 900}, {u"wlan0"_s, 200, 200}});
        m_clock->advance(1000ms);
        settle();
        QVERIFY(m_monitor->downloadHistory().isEmpty());
        QCOMPARE(m_monitor->lastBytes(), Bytes(900, 900));
        sample(1900, 1000);
        QCOMPARE(m_monitor->downloadHistory(), QList<double>({1000.0}));
        QCOMPARE(m_monitor->uploadHistory(), QList<double>({100.0}));
    }

    // A full-tunnel VPN coming up moves the counted interface from the Wi-Fi link (5 GiB so far)
    // to the tunnel (a few bytes): that second is a new baseline, not a spike or a reset, and
    // the latency probe still runs.
    void aChangedInterfaceTakesANewBaseline()
    {
        create();
        m_fake->counters->defaultRoute = u"wlan0"_s;
        m_fake->setLinks({{u"wlan0"_s, fiveGiB, fiveGiB}});
        m_monitor->startMonitoring();
        settle();
        sample(fiveGiB + 2000, fiveGiB + 1000, u"wlan0"_s);
        QCOMPARE(m_monitor->downloadHistory(), QList<double>({2000.0}));
        m_fake->probes->takeCalls();

        m_fake->counters->defaultRoute = u"wg0"_s;
        m_fake->setLinks({{u"wlan0"_s, fiveGiB + 3000, fiveGiB + 1500}, {u"wg0"_s, 300, 200}});
        m_clock->advance(1000ms);
        settle();
        QCOMPARE(m_monitor->downloadHistory(), QList<double>({2000.0}));
        QCOMPARE(m_monitor->uploadHistory(), QList<double>({1000.0}));
        QCOMPARE(m_monitor->downloadSpeed(), 2000.0);
        QCOMPARE(m_monitor->primaryInterface(), u"wg0"_s);
        QCOMPARE(m_fake->probes->takeCalls().count(u"ping"_s), 1);

        m_fake->setLinks({{u"wlan0"_s, fiveGiB + 4000, fiveGiB + 2000}, {u"wg0"_s, 800, 400}});
        m_clock->advance(1000ms);
        settle();
        QCOMPARE(m_monitor->downloadHistory(), QList<double>({2000.0, 500.0}));
        QCOMPARE(m_monitor->uploadHistory(), QList<double>({1000.0, 200.0}));

        // And back: the tunnel goes down, the Wi-Fi link is counted again.
        m_fake->counters->defaultRoute = u"wlan0"_s;
        m_fake->setLinks({{u"wlan0"_s, fiveGiB + 5000, fiveGiB + 2500}});
        m_clock->advance(1000ms);
        settle();
        QCOMPARE(m_monitor->downloadHistory().size(), 2);
        for (double rate : m_monitor->downloadHistory() + m_monitor->uploadHistory()) {
            QVERIFY(rate < 1e6);
        }
    }

    // Each extra start adds one more sampling stream (and one more latency probe) per second.
    void aRepeatedStartAddsASamplingStream()
    {
        create();
        start();
        m_clock->advance(500ms);
        settle();
        m_monitor->startMonitoring();
        settle();
        m_fake->probes->takeCalls();
        quint64 total = 0;
        for (int second = 0; second < 3; ++second) {
            for (int half = 0; half < 2; ++half) {
                total += 100;
                m_fake->setLinks({{u"eth0"_s, total, 0}});
                m_clock->advance(500ms);
                settle();
            }
        }
        QCOMPARE(m_monitor->sampleCount(), 6);
        QCOMPARE(m_monitor->downloadHistory().size(), 6);
        QCOMPARE(m_fake->probes->takeCalls().count(u"ping"_s), 6);
    }

    // Two timers due at the same instant: the second finds dt = 0 and does nothing.
    void noTimeElapsedMeansNoSample()
    {
        create();
        start();
        m_monitor->startMonitoring();
        settle();
        m_fake->probes->takeCalls();
        sample(100, 0);
        QCOMPARE(m_monitor->sampleCount(), 1);
        QCOMPARE(m_fake->probes->takeCalls().count(u"ping"_s), 1);
    }

    // A slow network never piles echoes up: one in flight per sampling stream, however many
    // seconds it takes to answer.
    void oneEchoInFlightPerSamplingStream()
    {
        FakePing held;
        held.holdReplies = true;
        held.output = "64 bytes from 1.1.1.1: icmp_seq=1 ttl=57 time=31.5 ms\n";
        m_fake->probes->echo = [&held] { return held.echoOnce(u"1.1.1.1"_s); };
        create();
        start();
        for (quint64 second = 1; second <= 5; ++second) {
            sample(second * 100, 0);
        }
        QCOMPARE(m_monitor->sampleCount(), 5);
        QCOMPARE(held.inFlight, 1);
        QCOMPARE(m_fake->probes->takeCalls().count(u"ping"_s), 1);

        // A second stream half a second out of step (in step, its samples would find no time
        // elapsed and send nothing).
        m_clock->advance(500ms);
        settle();
        m_monitor->startMonitoring();
        settle();
        for (quint64 half = 12; half <= 17; ++half) {
            m_fake->setLinks({{u"eth0"_s, half * 50, 0}});
            m_clock->advance(500ms);
            settle();
        }
        QCOMPARE(held.inFlight, 2);
        QCOMPARE(m_fake->probes->takeCalls().count(u"ping"_s), 1);

        held.release();
        QTRY_COMPARE(held.inFlight, 0);
        QTRY_VERIFY(m_monitor->latency());
        QCOMPARE(*m_monitor->latency(), 31.5);
        // Answered: the next tick of each stream sends again.
        held.holdReplies = false;
        for (quint64 half = 18; half <= 19; ++half) {
            m_fake->setLinks({{u"eth0"_s, half * 50, 0}});
            m_clock->advance(500ms);
            settle();
        }
        QCOMPARE(m_fake->probes->takeCalls().count(u"ping"_s), 2);
        m_fake->probes->echo = nullptr;
    }

    void pingTime_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<double>("expected"); // -1: nothing
        QTest::newRow("macOS") << QByteArray("64 bytes from 1.1.1.1: icmp_seq=0 ttl=57 "
                                             "time=14.237 ms\n")
                               << 14.237;
        QTest::newRow("six characters only")
            << QByteArray("64 bytes from 1.1.1.1: icmp_seq=0 ttl=57 time=1234.567 ms\n") << 1234.5;
        QTest::newRow("Linux") << QByteArray("PING 1.1.1.1 (1.1.1.1) 56(84) bytes of data.\n"
                                             "64 bytes from 1.1.1.1: icmp_seq=1 ttl=57 "
                                             "time=9.81 ms\n")
                               << 9.81;
        QTest::newRow("no time") << QByteArray("1 packets transmitted, 0 received, 100% packet "
                                               "loss, time 0ms\n")
                                 << -1.0;
        QTest::newRow("empty") << QByteArray() << -1.0;
        QTest::newRow("not a number") << QByteArray("time=abc") << -1.0;
        QTest::newRow("invalid UTF-8") << QByteArray("time=12.5 \xff\xfe") << -1.0;
    }

    void pingTime()
    {
        QFETCH(QByteArray, output);
        QFETCH(double, expected);
        const std::optional<double> time = PingOutput::firstRoundTripTime(output);
        if (expected < 0) {
            QVERIFY(!time);
        } else {
            QVERIFY(time);
            QCOMPARE(*time, expected);
        }
    }

    // The latency follows each sample; a reply without "time=" leaves the previous value.
    void latencyKeepsItsValueWithoutATime()
    {
        create();
        start();
        m_fake->probes->pingOutput = "64 bytes from 1.1.1.1: icmp_seq=1 ttl=57 time=14.2 ms\n";
        sample(10, 10);
        QTRY_VERIFY(m_monitor->latency());
        QCOMPARE(*m_monitor->latency(), 14.2);
        m_fake->probes->pingOutput = "1 packets transmitted, 0 received, 100% packet loss\n";
        sample(20, 20);
        m_fake->probes->pingOutput = std::nullopt; // ping missing
        sample(30, 30);
        QCOMPARE(*m_monitor->latency(), 14.2);
        QCOMPARE(m_monitor->latencyValue().toDouble(), 14.2);
    }

    void pathChangesSetTypeAndInterface_data()
    {
        QTest::addColumn<int>("medium");
        QTest::addColumn<bool>("satisfied");
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("active");
        QTest::newRow("Wi-Fi") << int(PathStatus::Medium::WiFi) << true << u"WiFi"_s << u"wlan0"_s;
        QTest::newRow("Ethernet") << int(PathStatus::Medium::Ethernet) << true << u"Ethernet"_s
                                  << u"wlan0"_s;
        QTest::newRow("cellular") << int(PathStatus::Medium::Cellular) << true << u"Cellular"_s
                                  << u"wlan0"_s;
        // Unknown keeps the previous active interface (empty here).
        QTest::newRow("other, unsatisfied")
            << int(PathStatus::Medium::Other) << false << u"Unknown"_s << QString();
    }

    void pathChangesSetTypeAndInterface()
    {
        QFETCH(int, medium);
        QFETCH(bool, satisfied);
        QFETCH(QString, type);
        QFETCH(QString, active);
        create();
        start();
        m_fake->path->report({satisfied, PathStatus::Medium(medium), u"wlan0"_s});
        QTRY_COMPARE(m_monitor->primaryInterface(), u"wlan0"_s);
        QCOMPARE(m_monitor->connectionType(), type);
        QCOMPARE(m_monitor->isConnected(), satisfied);
        QCOMPARE(m_monitor->activeInterface(), active);
        QCOMPARE(m_monitor->primaryInterface(), u"wlan0"_s);
    }

    // With an Ethernet path no Wi-Fi tool runs and the name stays.
    void ethernetRunsNoWifiTool()
    {
        create();
        start();
        m_fake->path->report({true, PathStatus::Medium::Ethernet, u"eth0"_s});
        QTRY_COMPARE(m_monitor->connectionType(), u"Ethernet"_s);
        m_clock->advance(3000ms);
        settle();
        QTest::qWait(50);
        const QStringList calls = m_fake->probes->takeCalls();
        QVERIFY2(!calls.join(u' ').contains(u"name") && !calls.join(u' ').contains(u"standard"),
                 qPrintable(calls.join(u", ")));
        QCOMPARE(m_monitor->connectionName(), u"Not Connected"_s);
    }

    // The name probe runs 2.0 s after the path change, the standard 0.5 s after the name.
    void wifiProbesAreScheduledLikeThePart()
    {
        m_fake->probes->wifiName = u"HomeNet"_s;
        m_fake->probes->wifiStandard = u"802.11ax"_s;
        create();
        start();
        m_fake->path->report({true, PathStatus::Medium::WiFi, u"wlan0"_s});
        QTRY_COMPARE(m_monitor->connectionType(), u"WiFi"_s);
        m_fake->probes->takeCalls();

        m_clock->advance(1900ms);
        settle();
        QTest::qWait(20);
        QVERIFY(!m_fake->probes->takeCalls().contains(u"name wlan0"_s));
        m_clock->advance(100ms);
        QTRY_COMPARE(m_monitor->connectionName(), u"HomeNet"_s);
        QCOMPARE(m_monitor->wifiStandard(), QString());
        m_clock->advance(400ms);
        settle();
        QTest::qWait(20);
        QCOMPARE(m_monitor->wifiStandard(), QString());
        m_clock->advance(100ms);
        QTRY_COMPARE(m_monitor->wifiStandard(), u"802.11ax"_s);
        const QStringList calls = m_fake->probes->takeCalls();
        QVERIFY(calls.contains(u"name wlan0"_s));
        QVERIFY(calls.contains(u"standard wlan0"_s));
    }

    // Through a full-tunnel VPN the path's medium is the carrying link's, the active interface
    // the tunnel, and the Wi-Fi probes ask the Wi-Fi interface, not the tunnel.
    void aVpnOverWifiNamesTheWifiNetwork()
    {
        m_fake->probes->wifiName = u"HomeNet"_s;
        m_fake->probes->wifiStandard = u"802.11ac"_s;
        create();
        start();
        m_fake->path->report({true, PathStatus::Medium::WiFi, u"wg0"_s, u"wlan0"_s});
        QTRY_COMPARE(m_monitor->connectionType(), u"WiFi"_s);
        QCOMPARE(m_monitor->activeInterface(), u"wg0"_s);
        m_fake->probes->takeCalls();
        m_clock->advance(2000ms);
        QTRY_COMPARE(m_monitor->connectionName(), u"HomeNet"_s);
        m_clock->advance(500ms);
        QTRY_COMPARE(m_monitor->wifiStandard(), u"802.11ac"_s);
        const QStringList calls = m_fake->probes->takeCalls();
        QVERIFY2(calls.contains(u"name wlan0"_s), qPrintable(calls.join(u", ")));
        QVERIFY(calls.contains(u"standard wlan0"_s));
        QVERIFY(!calls.join(u' ').contains(u"wg0"));
    }

    // The real Linux probes on iw output: the SSID, "WiFi" without an SSID line or without iw,
    // and a standard that stays when the output names none.
    void wifiNameAndStandardThroughIw_data()
    {
        QTest::addColumn<QString>("fixture"); // empty: iw missing
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("standard");
        QTest::newRow("HT") << u"ht.txt"_s << u"HomeNet"_s << u"802.11n"_s;
        QTest::newRow("VHT") << u"vht.txt"_s << u"Café 5G"_s << u"802.11ac"_s;
        QTest::newRow("HE") << u"he.txt"_s << u"Lab AX"_s << u"802.11ax"_s;
        QTest::newRow("EHT") << u"eht.txt"_s << u"Studio BE"_s << u"802.11be"_s;
        QTest::newRow("not connected") << u"not-connected.txt"_s << u"WiFi"_s << u"previous"_s;
        QTest::newRow("iw missing") << QString() << u"WiFi"_s << u"previous"_s;
    }

    void wifiNameAndStandardThroughIw()
    {
        QFETCH(QString, fixture);
        QFETCH(QString, name);
        QFETCH(QString, standard);
        auto runner = std::make_shared<FakeToolRunner>();
        if (!fixture.isEmpty()) {
            runner->results.insert(platform::LinuxNetworkProbes::iwPath.toString(),
                                   finished(iwFixture(fixture)));
        }
        NetworkMonitor::Parts parts = m_fake->parts();
        parts.probes = std::make_unique<platform::LinuxNetworkProbes>(*runner, std::nullopt);
        m_monitor = std::make_unique<NetworkMonitor>(std::move(parts), *m_clock);
        start();

        // A first connection names a standard, so that "keeps the previous" can be seen.
        const QByteArray previous = iwFixture(u"ht.txt"_s);
        {
            const QMutexLocker locker(&runner->lock);
            runner->results.insert(platform::LinuxNetworkProbes::iwPath.toString(),
                                   finished(previous));
        }
        m_fake->path->report({true, PathStatus::Medium::WiFi, u"wlan0"_s});
        QTRY_COMPARE(m_monitor->connectionType(), u"WiFi"_s);
        m_clock->advance(2500ms);
        QTRY_COMPARE(m_monitor->wifiStandard(), u"802.11n"_s);

        {
            const QMutexLocker locker(&runner->lock);
            runner->results.remove(platform::LinuxNetworkProbes::iwPath.toString());
            if (!fixture.isEmpty()) {
                runner->results.insert(platform::LinuxNetworkProbes::iwPath.toString(),
                                       finished(iwFixture(fixture)));
            }
            runner->calls.clear();
        }
        m_fake->path->report({true, PathStatus::Medium::WiFi, u"wlp3s0"_s});
        QTRY_COMPARE(m_monitor->activeInterface(), u"wlp3s0"_s);
        m_clock->advance(2000ms);
        QTRY_COMPARE(m_monitor->connectionName(), name);
        m_clock->advance(500ms);
        QTRY_VERIFY(runner->calls.size() >= 2);
        QTest::qWait(20);
        settle();
        QCOMPARE(m_monitor->wifiStandard(), standard == u"previous" ? u"802.11n"_s : standard);
        QVERIFY(runner->calls.contains(u"/usr/sbin/iw dev wlp3s0 link"_s));
        settle();
        m_monitor.reset();
    }

    void formatSpeed_data()
    {
        QTest::addColumn<double>("bytesPerSecond");
        QTest::addColumn<QString>("text");
        QTest::newRow("0") << 0.0 << u"0 B/s"_s;
        QTest::newRow("1023") << 1023.0 << u"1023 B/s"_s;
        QTest::newRow("1024") << 1024.0 << u"1.0 KB/s"_s;
        QTest::newRow("1536") << 1536.0 << u"1.5 KB/s"_s;
        QTest::newRow("just under 1 MiB") << 1'048'575.0 << u"1024.0 KB/s"_s;
        QTest::newRow("1 MiB") << 1'048'576.0 << u"1.0 MB/s"_s;
        QTest::newRow("5,000,000") << 5'000'000.0 << u"4.8 MB/s"_s;
    }

    void formatSpeed()
    {
        QFETCH(double, bytesPerSecond);
        QFETCH(QString, text);
        QCOMPARE(NetworkMonitor::formatSpeed(bytesPerSecond), text);
    }

    void formatMbps_data()
    {
        QTest::addColumn<double>("mbps");
        QTest::addColumn<QString>("text");
        QTest::newRow("0") << 0.0 << u"0 Kbps"_s;
        QTest::newRow("0.5") << 0.5 << u"500 Kbps"_s;
        QTest::newRow("1") << 1.0 << u"1.0 Mbps"_s;
        QTest::newRow("40") << 40.0 << u"40.0 Mbps"_s;
        QTest::newRow("999.9") << 999.9 << u"999.9 Mbps"_s;
        QTest::newRow("1000") << 1000.0 << u"1 Gbps"_s;
        QTest::newRow("2400") << 2400.0 << u"2 Gbps"_s;
    }

    void formatMbps()
    {
        QFETCH(double, mbps);
        QFETCH(QString, text);
        QCOMPARE(NetworkMonitor::formatMbps(mbps), text);
    }
};

KV_TEST_MAIN(TestNetworkMonitor)
#include "tst_networkmonitor.moc"
