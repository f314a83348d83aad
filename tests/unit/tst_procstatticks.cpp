#include "TestEnvironment.h"
#include "TestFiles.h"
#include "platform/linux/ProcStatTicks.h"
#include "sessions/SessionLogger.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using Counters = platform::ProcessorTicks::Counters;

Q_DECLARE_METATYPE(Counters)

namespace {

QByteArray fixture(const QString &name)
{
    QFile file(QStringLiteral(KV_FIXTURES_DIR "/linux/proc-stat/") + name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

platform::SystemRoots procAt(const QString &folder)
{
    platform::SystemRoots roots;
    roots.procRoot = folder;
    return roots;
}

} // namespace

// The per-processor counters of /proc/stat and the session's processor load computed from them.
class TestProcStatTicks : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // Each expected load is the mean over processors of (user + system + nice) ÷ (user +
    // system + nice + idle) × 100, with user = user − guest, nice = nice − guest_nice,
    // system = system + irq + softirq and idle = idle + iowait.
    void capturedFiles_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("processors");
        QTest::addColumn<Counters>("first");
        QTest::addColumn<double>("load");

        // cpu0: 825038 + 107966 (107725 + 0 + 241) + 0 busy, idle 478600 + 1098.
        QTest::newRow("two processors, captured")
            << u"debian12-two-cpus.txt"_s << 2 << Counters{825038, 107966, 479698, 0}
            << 67.31978061070838;
        QTest::newRow("eight processors")
            << u"eight-cpus.txt"_s << 8 << Counters{1393280, 589931, 13349422, 32966}
            << 12.070972240220017;
        // 800/2000, 1000/2000 and 1200/6000: (40 + 50 + 20) / 3.
        QTest::newRow("processor 2 offline")
            << u"offline-cpu2.txt"_s << 3 << Counters{600, 200, 1200, 0} << 110.0 / 3;
        // cpu0: user 2000 − 1000, nice 500 − 400, system 400 + 25 + 25, idle 2000 + 100:
        // 1550/3650; cpu1: 1450/3550.
        QTest::newRow("guest ticks") << u"guest-ticks.txt"_s << 2 << Counters{1000, 450, 2100, 100}
                                     << (1550.0 / 3650 + 1450.0 / 3550) / 2 * 100;
        // 150/1000 and 250/1000.
        QTest::newRow("four columns")
            << u"kernel2.4-four-fields.txt"_s << 2 << Counters{100, 30, 850, 20} << 20.0;
        // A processor with no ticks adds nothing but still counts: (0 + 500/1000) / 2.
        QTest::newRow("zero ticks") << u"zero-ticks.txt"_s << 2 << Counters{} << 25.0;
        // Only cpu1 (its first line: 200/1000) and cpu4 (100/200) are well formed.
        QTest::newRow("garbage") << u"garbage.txt"_s << 2 << Counters{100, 100, 800, 0} << 35.0;
    }

    void capturedFiles()
    {
        QFETCH(QString, file);
        QFETCH(int, processors);
        QFETCH(Counters, first);
        QFETCH(double, load);

        const QByteArray text = fixture(file);
        QVERIFY(!text.isEmpty());
        const QList<Counters> cpus = platform::ProcStatTicks::parse(text);
        QCOMPARE(cpus.size(), processors);
        QCOMPARE(cpus.first(), first);
        QVERIFY2(qFuzzyCompare(SessionLogger::cpuUsage(cpus), load),
                 qPrintable(QString::number(SessionLogger::cpuUsage(cpus), 'g', 17)));
    }

    // Processors come in the order of their numbers, whatever the order of the lines.
    void processorsAreOrderedByNumber()
    {
        const QList<Counters> cpus =
            platform::ProcStatTicks::parse("cpu10 1 0 0 1\ncpu2 2 0 0 2\ncpu0 3 0 0 3\n");
        QCOMPARE(cpus.size(), 3);
        QCOMPARE(cpus.at(0).user, 3U);
        QCOMPARE(cpus.at(1).user, 2U);
        QCOMPARE(cpus.at(2).user, 1U);
    }

    // 64-bit counters beyond 2^32 are kept whole.
    void largeCounters()
    {
        const QList<Counters> cpus =
            platform::ProcStatTicks::parse("cpu0 8589934592 0 4294967296 12884901888\n");
        QCOMPARE(cpus.size(), 1);
        QCOMPARE(cpus.first(), (Counters{8589934592ULL, 4294967296ULL, 12884901888ULL, 0}));
        QCOMPARE(SessionLogger::cpuUsage(cpus), 50.0);
    }

    // Guest time larger than the user time that should contain it gives 0, never a wrapped
    // counter.
    void guestBeyondUserGivesZero()
    {
        const QList<Counters> cpus =
            platform::ProcStatTicks::parse("cpu0 10 5 10 80 0 0 0 0 50 60\n");
        QCOMPARE(cpus.size(), 1);
        QCOMPARE(cpus.first().user, 0U);
        QCOMPARE(cpus.first().nice, 0U);
    }

    void noProcessorsGiveZeroLoad()
    {
        QCOMPARE(platform::ProcStatTicks::parse({}).size(), 0);
        QCOMPARE(platform::ProcStatTicks::parse("cpu 1 2 3 4\nintr 5\n").size(), 0);
        QCOMPARE(SessionLogger::cpuUsage({}), 0.0);
    }

    // The load never leaves 0…100.
    void loadIsClamped()
    {
        QCOMPARE(SessionLogger::cpuUsage({Counters{100, 0, 0, 0}}), 100.0);
        QCOMPARE(SessionLogger::cpuUsage({Counters{0, 0, 100, 0}}), 0.0);
    }

    void readsTheFileBelowTheRoot()
    {
        QTemporaryDir folder;
        QVERIFY(TestFiles::write(folder.path() + u"/stat", fixture(u"offline-cpu2.txt"_s)));
        platform::ProcStatTicks ticks(procAt(folder.path()));
        QCOMPARE(ticks.sample().size(), 3);
    }

    void unreadableFileGivesNothing()
    {
        QTemporaryDir folder;
        platform::ProcStatTicks missing(procAt(folder.path()));
        QVERIFY(missing.sample().isEmpty());

        QVERIFY(QDir(folder.path()).mkpath(u"stat"_s));
        platform::ProcStatTicks directory(procAt(folder.path()));
        QVERIFY(directory.sample().isEmpty());
    }

    // The machine's own counters parse, one entry per online processor.
    void thisMachine()
    {
        platform::ProcStatTicks ticks(procAt(u"/proc"_s));
        const QList<Counters> cpus = ticks.sample();
        QVERIFY(!cpus.isEmpty());
        const double load = SessionLogger::cpuUsage(cpus);
        QVERIFY(load > 0 && load <= 100);
    }
};

KV_TEST_MAIN(TestProcStatTicks)
#include "tst_procstatticks.moc"
