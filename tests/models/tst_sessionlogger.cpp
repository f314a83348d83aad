#include "FakeMemoryCounters.h"
#include "FakeProcessorTicks.h"
#include "ManualClock.h"
#include "TestEnvironment.h"
#include "sessions/SessionLogger.h"

#include <QGuiApplication>
#include <QSet>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

using namespace std::chrono_literals;
using Counters = platform::ProcessorTicks::Counters;

namespace {

constexpr quint64 GiB = 1024ULL * 1024 * 1024;

} // namespace

// The session logger on a clock the test moves and counters the test sets.
class TestSessionLogger : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<ManualClock> m_clock;
    FakeProcessorTicks *m_processors = nullptr;
    FakeMemoryCounters *m_memory = nullptr;
    std::unique_ptr<SessionLogger> m_logger;

private Q_SLOTS:
    void init()
    {
        m_clock = std::make_unique<ManualClock>();
        auto processors = std::make_unique<FakeProcessorTicks>();
        auto memory = std::make_unique<FakeMemoryCounters>();
        m_processors = processors.get();
        m_memory = memory.get();
        // Two processors at 30 % and 50 % since boot: 40 %.
        m_processors->next = {Counters{20, 10, 70, 0}, Counters{30, 15, 50, 5}};
        // 4 + 2 + 2 of 16 GiB in use: 50 %.
        m_memory->next = {16 * GiB, 4 * GiB, 2 * GiB, 2 * GiB, 5 * GiB, 3 * GiB};
        m_logger =
            std::make_unique<SessionLogger>(*m_clock, std::move(processors), std::move(memory));
    }

    void cleanup()
    {
        m_logger.reset();
        m_clock.reset();
    }

    void idleAtFirst()
    {
        QVERIFY(!m_logger->isActive());
        QVERIFY(m_logger->records().isEmpty());
        QVERIFY(!m_logger->startTime().isValid());
        QVERIFY(!m_logger->loggingTimer());
    }

    void startNotesTheTimeAndSamplesAfterOneSecond()
    {
        QSignalSpy active(m_logger.get(), &SessionLogger::isActiveChanged);
        const QDateTime started = m_clock->now();
        m_logger->start();
        QVERIFY(m_logger->isActive());
        QCOMPARE(active.count(), 1);
        QCOMPARE(m_logger->startTime(), started);
        QVERIFY(m_logger->loggingTimer() && m_logger->loggingTimer()->isActive());
        QVERIFY(m_logger->records().isEmpty());
        QCOMPARE(m_processors->reads, 0);

        m_clock->advance(999ms);
        QVERIFY(m_logger->records().isEmpty());
        m_clock->advance(1ms);
        QCOMPARE(m_logger->records().size(), 1);
        const SessionRecord &record = m_logger->records().first();
        QCOMPARE(record.time, started.addSecs(1));
        QCOMPARE(record.cpu, 40.0);
        QCOMPARE(record.ramPercent, 50.0);
    }

    void oneSampleASecond()
    {
        m_logger->start();
        m_clock->advance(10s);
        QCOMPARE(m_logger->records().size(), 10);
        QCOMPARE(m_logger->recordCount(), 10);
        for (qsizetype i = 0; i < 10; ++i) {
            QCOMPARE(m_logger->records().at(i).time, m_logger->startTime().addSecs(i + 1));
        }
    }

    void stopWithinOneSecondLeavesNoRecords()
    {
        m_logger->start();
        m_clock->advance(900ms);
        m_logger->stop();
        QVERIFY(m_logger->records().isEmpty());
        m_clock->advance(5s);
        QVERIFY(m_logger->records().isEmpty());
    }

    // Stopping drops the timer and clears isActive; the records and the start time stay.
    void stopHasExactlyItsThreeEffects()
    {
        m_logger->start();
        const QDateTime started = m_logger->startTime();
        m_clock->advance(3s);
        m_logger->stop();
        QVERIFY(!m_logger->loggingTimer());
        QVERIFY(!m_logger->isActive());
        QCOMPARE(m_logger->records().size(), 3);
        QCOMPARE(m_logger->startTime(), started);
        m_clock->advance(10s);
        QCOMPARE(m_logger->records().size(), 3);
    }

    void everyRecordHasZeroFramesAndGraphicsLoad()
    {
        m_logger->start();
        m_clock->advance(30s);
        QSet<QUuid> ids;
        for (const SessionRecord &record : m_logger->records()) {
            QCOMPARE(record.fps, 0.0);
            QCOMPARE(record.gpu, 0.0);
            QVERIFY(!record.id.isNull());
            ids.insert(record.id);
        }
        QCOMPARE(ids.size(), 30);
    }

    void startAgainClearsTheEarlierSession()
    {
        m_logger->start();
        m_clock->advance(5s);
        m_logger->stop();
        QCOMPARE(m_logger->records().size(), 5);

        m_clock->advance(1min);
        QSignalSpy records(m_logger.get(), &SessionLogger::recordsChanged);
        m_logger->start();
        QVERIFY(m_logger->records().isEmpty());
        QCOMPARE(records.count(), 1);
        QCOMPARE(m_logger->startTime(), m_clock->now());
        m_clock->advance(2s);
        QCOMPARE(m_logger->records().size(), 2);
    }

    // An hour is 3,600 records, and nothing caps the list.
    void recordsAreNotCapped()
    {
        m_logger->start();
        m_clock->advance(1h);
        QCOMPARE(m_logger->records().size(), 3600);
        m_clock->advance(1h);
        QCOMPARE(m_logger->records().size(), 7200);
    }

    // A start without a stop replaces the timer without stopping it: the earlier one keeps
    // sampling beside the new one, and a stop ends only the new one.
    void startWithoutStopLeavesTheEarlierTimerRunning()
    {
        m_logger->start();
        m_clock->advance(3s);
        m_logger->start();
        QVERIFY(m_logger->records().isEmpty());
        m_clock->advance(2s);
        QCOMPARE(m_logger->records().size(), 4);
        m_logger->stop();
        QVERIFY(!m_logger->isActive());
        m_clock->advance(2s);
        QCOMPARE(m_logger->records().size(), 6);
    }

    // Probes that cannot read give 0 for their value; the sample is still taken.
    void failedProbesGiveZero()
    {
        m_processors->next.clear();
        m_memory->next = {};
        m_logger->start();
        m_clock->advance(2s);
        QCOMPARE(m_logger->records().size(), 2);
        QCOMPARE(m_logger->records().first().cpu, 0.0);
        QCOMPARE(m_logger->records().first().ramPercent, 0.0);
    }

    // A processor whose counters are all zero adds nothing, but counts.
    void zeroTicks()
    {
        m_processors->next = {Counters{}, Counters{50, 0, 50, 0}};
        m_logger->start();
        m_clock->advance(1s);
        QCOMPARE(m_logger->records().first().cpu, 25.0);
    }

    void memoryPercentIsClamped()
    {
        QCOMPARE(SessionLogger::ramUsage({GiB, 2 * GiB, 0, 0, 0, 0}), 100.0);
        QCOMPARE(SessionLogger::ramUsage({0, GiB, 0, 0, 0, 0}), 0.0);
        QCOMPARE(SessionLogger::ramUsage({4 * GiB, GiB, 0, 0, 3 * GiB, 0}), 25.0);
    }

    // The timers belong to the logger: once it is gone, time passing touches nothing (a
    // sample into the freed logger would be caught by the address sanitizer).
    void destroyedWhileRecording()
    {
        m_logger->start();
        m_logger->start();
        m_clock->advance(1s);
        QCOMPARE(m_logger->records().size(), 2);
        m_logger.reset();
        m_processors = nullptr;
        m_memory = nullptr;
        m_clock->advance(5s);
    }
};

KV_TEST_MAIN(TestSessionLogger)
#include "tst_sessionlogger.moc"
