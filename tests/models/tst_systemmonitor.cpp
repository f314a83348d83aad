#include "FakeAccessoryBatteries.h"
#include "FakeMemoryCounters.h"
#include "FakePing.h"
#include "ManualClock.h"
#include "TestEnvironment.h"
#include "TestFiles.h"
#include "telemetry/SystemMonitor.h"

#include <QGuiApplication>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

#include <cmath>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr quint64 GiB = 1024ULL * 1024 * 1024;

// Hands the echo to a ping the test owns, so that it can outlive the monitor.
class ForwardingPing final : public platform::Ping {
public:
    explicit ForwardingPing(FakePing &target)
        : m_target(target)
    {
    }

    QCoro::Task<std::optional<QByteArray>> echoOnce(QString host) override
    {
        return m_target.echoOnce(std::move(host));
    }

private:
    FakePing &m_target;
};

} // namespace

class TestSystemMonitor : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<ManualClock> m_clock;
    FakeMemoryCounters *m_memory = nullptr;
    FakePing *m_ping = nullptr;
    FakeAccessoryBatteries *m_batteries = nullptr;
    std::unique_ptr<SystemMonitor> m_monitor;

    void tick(int times = 1) { m_clock->advance(times * 1000ms); }

private Q_SLOTS:
    void init()
    {
        m_clock = std::make_unique<ManualClock>();
        auto memory = std::make_unique<FakeMemoryCounters>();
        auto ping = std::make_unique<FakePing>();
        auto batteries = std::make_unique<FakeAccessoryBatteries>();
        m_memory = memory.get();
        m_ping = ping.get();
        m_batteries = batteries.get();
        m_memory->next = {16 * GiB, 4 * GiB, 2 * GiB, 1 * GiB, 5 * GiB, 3 * GiB};
        m_ping->output = TestFiles::read(QStringLiteral(KV_FIXTURES_DIR "/linux/ping/reply.txt"));
        m_monitor = std::make_unique<SystemMonitor>(*m_clock, std::move(memory), std::move(ping),
                                                    std::move(batteries));
    }

    void cleanup()
    {
        m_monitor.reset();
        m_clock.reset();
    }

    void startsWithNothing()
    {
        QCOMPARE(m_monitor->ramStats(), RAMStats{});
        QCOMPARE(m_monitor->gpuStats(), (GPUStats{u"Apple Silicon"_s, 0}));
        QVERIFY(!m_monitor->pingLatency());
        QVERIFY(!m_monitor->property("pingLatency").isValid());
        QVERIFY(m_monitor->peripheralBatteries().isEmpty());
        QVERIFY(m_monitor->cpuHistory().isEmpty());
        QVERIFY(m_monitor->ramHistory().isEmpty());
        QCOMPARE(m_monitor->monitorTimer(), nullptr);
        // Nothing runs until asked.
        tick(5);
        QCOMPARE(m_memory->reads, 0);
        QVERIFY(m_ping->hosts.isEmpty());
    }

    void startSamplesAtOnceThenEverySecond()
    {
        m_monitor->startMonitoring();
        QCOMPARE(m_memory->reads, 1);
        QCOMPARE(m_monitor->ramHistory().size(), 1);
        QCOMPARE(m_monitor->cpuHistory().size(), 1);
        QVERIFY(m_ping->hosts.isEmpty());
        QVERIFY(m_monitor->monitorTimer());
        QVERIFY(m_monitor->monitorTimer()->isActive());

        m_clock->advance(999ms);
        QCOMPARE(m_memory->reads, 1);
        m_clock->advance(1ms);
        QCOMPARE(m_memory->reads, 2);
        QCOMPARE(m_ping->hosts, QStringList{u"1.1.1.1"_s});
        QCOMPARE(*m_monitor->pingLatency(), 14.237);
        QCOMPARE(m_monitor->property("pingLatency").toDouble(), 14.237);
    }

    void sampleFigures()
    {
        m_monitor->startMonitoring();
        const RAMStats stats = m_monitor->ramStats();
        QCOMPARE(stats.total, 16.0);
        QCOMPARE(stats.active, 4.0);
        QCOMPARE(stats.wired, 2.0);
        QCOMPARE(stats.compressed, 1.0);
        QCOMPARE(stats.used, 7.0);
        // Free (5 GiB) and inactive (3 GiB) memory are not subtracted again.
        QCOMPARE(stats.available, 16.0 - (4.0 + 2.0 + 1.0));
        QCOMPARE(stats.percent, 7.0 / 16.0 * 100);
        QCOMPARE(m_monitor->ramHistory().constLast(), stats.percent);
    }

    // The 31st sample leaves both histories at 30 with the first sample gone.
    void historiesKeepThirty()
    {
        m_memory->stepBytes = GiB; // total and active grow by 1 GiB a sample
        m_monitor->startMonitoring();
        const double first = m_monitor->ramHistory().constFirst();
        tick(29);
        QCOMPARE(m_monitor->ramHistory().size(), 30);
        QCOMPARE(m_monitor->cpuHistory().size(), 30);
        QCOMPARE(m_monitor->ramHistory().constFirst(), first);
        const double second = m_monitor->ramHistory().at(1);
        const QList<double> cpuBefore = m_monitor->cpuHistory();

        tick(); // the 31st sample
        QCOMPARE(m_memory->reads, 31);
        QCOMPARE(m_monitor->ramHistory().size(), SystemMonitor::maxHistory);
        QCOMPARE(m_monitor->cpuHistory().size(), SystemMonitor::maxHistory);
        QCOMPARE(m_monitor->ramHistory().constFirst(), second);
        QCOMPARE(m_monitor->cpuHistory().mid(0, 29), cpuBefore.mid(1));
        const double expectedLast = (4.0 + 30 + 2 + 1) / (16.0 + 30) * 100;
        QVERIFY(qFuzzyCompare(m_monitor->ramHistory().constLast(), expectedLast));

        tick(100);
        QCOMPARE(m_monitor->ramHistory().size(), 30);
        QCOMPARE(m_monitor->cpuHistory().size(), 30);
    }

    // The processor series is synthetic: uniform in 20 … 60, never outside.
    void processorSeriesStaysInRange()
    {
        m_monitor->startMonitoring();
        double lowest = 100;
        double highest = 0;
        for (int i = 0; i < 2000; ++i) {
            tick();
            const double value = m_monitor->cpuHistory().constLast();
            QVERIFY2(value >= 20.0 && value <= 60.0, qPrintable(QString::number(value)));
            lowest = std::min(lowest, value);
            highest = std::max(highest, value);
        }
        // Spread over the range rather than stuck at one value.
        QVERIFY(lowest < 25);
        QVERIFY(highest > 55);
    }

    // The draw covers the closed range: the lowest draw gives 20.0, the highest 60.0 exactly.
    void processorLoadFromTheDraw_data()
    {
        QTest::addColumn<quint64>("bits");
        QTest::addColumn<double>("load");
        QTest::newRow("lowest") << quint64(0) << 20.0;
        QTest::newRow("below the used bits") << quint64(0x7ff) << 20.0;
        QTest::newRow("highest") << ~quint64(0) << 60.0;
        QTest::newRow("highest used bits") << (~quint64(0) << 11) << 60.0;
        QTest::newRow("one step below") << (~quint64(0) << 12) << 60.0 - 40.0 / 9007199254740991.0;
        QTest::newRow("middle") << (quint64(1) << 63) << 40.0;
        QTest::newRow("quarter") << (quint64(1) << 62) << 30.0;
    }

    void processorLoadFromTheDraw()
    {
        QFETCH(quint64, bits);
        QFETCH(double, load);
        const double drawn = SystemMonitor::syntheticProcessorLoad(bits);
        if (load == 20.0 || load == 60.0) {
            QCOMPARE(drawn, load); // exact: the ends belong to the range
        } else {
            QVERIFY2(std::abs(drawn - load) < 1e-12, qPrintable(QString::number(drawn, 'g', 17)));
            QVERIFY(drawn > 20.0 && drawn < 60.0);
        }
        QVERIFY(drawn >= 20.0 && drawn <= 60.0);
    }

    // A second start adds a second timer; the first keeps firing.
    void secondStartDoublesTheRate()
    {
        m_monitor->startMonitoring();
        const platform::Timer *first = m_monitor->monitorTimer();
        m_clock->advance(500ms);
        m_monitor->startMonitoring();
        const platform::Timer *second = m_monitor->monitorTimer();
        QVERIFY(second != first);
        QVERIFY(first->isActive());
        QVERIFY(second->isActive());
        QCOMPARE(m_memory->reads, 2);

        tick(10);
        // Two immediate samples, then two per second.
        QCOMPARE(m_memory->reads, 2 + 20);
        QCOMPARE(m_ping->hosts.size(), 20);
    }

    // Each tick samples memory first, then pings.
    void memoryBeforePing()
    {
        QStringList order;
        connect(m_monitor.get(), &SystemMonitor::ramStatsChanged, this,
                [&] { order.append(u"memory"_s); });
        connect(m_monitor.get(), &SystemMonitor::pingLatencyChanged, this,
                [&] { order.append(u"ping"_s); });
        m_monitor->startMonitoring();
        tick(2);
        QCOMPARE(order, (QStringList{u"memory"_s, u"memory"_s, u"ping"_s, u"memory"_s, u"ping"_s}));
    }

    void failedPingKeepsThePreviousLatency_data()
    {
        QTest::addColumn<std::optional<QByteArray>>("output");
        QTest::newRow("no reply") << std::optional(
            TestFiles::read(QStringLiteral(KV_FIXTURES_DIR "/linux/ping/no-reply.txt")));
        QTest::newRow("unreachable") << std::optional(TestFiles::read(
            QStringLiteral(KV_FIXTURES_DIR "/linux/ping/destination-unreachable.txt")));
        QTest::newRow("tool missing") << std::optional<QByteArray>();
        QTest::newRow("garbage") << std::optional(QByteArray("\xff\xfe time=\xff"));
    }

    void failedPingKeepsThePreviousLatency()
    {
        QFETCH(std::optional<QByteArray>, output);
        m_monitor->startMonitoring();
        tick();
        QCOMPARE(*m_monitor->pingLatency(), 14.237);
        QSignalSpy changed(m_monitor.get(), &SystemMonitor::pingLatencyChanged);
        m_ping->output = output;
        tick(3);
        QCOMPARE(*m_monitor->pingLatency(), 14.237);
        QCOMPARE(changed.size(), 0);
        // Sampling goes on regardless.
        QCOMPARE(m_monitor->ramHistory().size(), 5);
    }

    void failedPingBeforeAnyAnswerLeavesItAbsent()
    {
        m_ping->output.reset();
        m_monitor->startMonitoring();
        tick(3);
        QVERIFY(!m_monitor->pingLatency());
    }

    // A slow answer never piles probes up behind it: one in flight per sampling timer.
    void onePingInFlightPerTimer()
    {
        m_ping->holdReplies = true;
        m_monitor->startMonitoring();
        tick(5);
        QCOMPARE(m_ping->hosts.size(), 1);
        QCOMPARE(m_ping->inFlight, 1);
        QCOMPARE(m_memory->reads, 6); // memory is sampled every second all the same

        m_monitor->startMonitoring();
        tick(5);
        QCOMPARE(m_ping->inFlight, 2);
        QCOMPARE(m_ping->hosts.size(), 2);

        // The held echoes resume on the next turn of the event loop.
        m_ping->release();
        QTRY_COMPARE(m_ping->inFlight, 0);
        QCOMPARE(*m_monitor->pingLatency(), 14.237);
        tick();
        QCOMPARE(m_ping->hosts.size(), 4);
    }

    // An answer that arrives after the monitor has gone is dropped without touching it.
    void answerAfterTheMonitorIsGone()
    {
        FakePing outliving;
        outliving.holdReplies = true;
        outliving.output = m_ping->output;
        auto monitor =
            std::make_unique<SystemMonitor>(*m_clock, std::make_unique<FakeMemoryCounters>(),
                                            std::make_unique<ForwardingPing>(outliving),
                                            std::make_unique<FakeAccessoryBatteries>());
        monitor->startMonitoring();
        tick();
        QCOMPARE(outliving.inFlight, 1);
        monitor.reset();
        outliving.release();
        QTRY_COMPARE(outliving.inFlight, 0);
    }

    void graphicsRecordNeverChanges()
    {
        m_monitor->startMonitoring();
        tick(60);
        QCOMPARE(m_monitor->gpuStats(), (GPUStats{u"Apple Silicon"_s, 0}));
        QCOMPARE(m_monitor->property("gpuStats").value<GPUStats>().name, u"Apple Silicon"_s);
    }

    void batteriesReplaceTheList()
    {
        QSignalSpy changed(m_monitor.get(), &SystemMonitor::peripheralBatteriesChanged);
        m_batteries->batteries = {{u"Mouse"_s, 80}, {u"Pad"_s, -1}};
        m_monitor->getPeripheralBatteries();
        QTRY_COMPARE(changed.size(), 1);
        QCOMPARE(m_monitor->peripheralBatteries(), m_batteries->batteries);

        // An empty answer clears the card.
        m_batteries->batteries.clear();
        m_monitor->getPeripheralBatteries();
        QTRY_COMPARE(changed.size(), 2);
        QVERIFY(m_monitor->peripheralBatteries().isEmpty());
        QCOMPARE(m_batteries->reads, 2);
    }
};

KV_TEST_MAIN(TestSystemMonitor)
#include "tst_systemmonitor.moc"
