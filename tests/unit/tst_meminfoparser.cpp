#include "TestEnvironment.h"
#include "TestFiles.h"
#include "platform/linux/MeminfoParser.h"
#include "platform/linux/ProcMemoryCounters.h"
#include "platform/linux/PseudoFile.h"
#include "sessions/SessionLogger.h"
#include "telemetry/SystemMonitor.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <limits>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using Sample = platform::MemoryCounters::Sample;

namespace {

constexpr quint64 KiB = 1024;

platform::SystemRoots rootsAt(const QString &folder)
{
    platform::SystemRoots roots;
    roots.procRoot = folder + u"/proc";
    roots.sysRoot = folder + u"/sys";
    return roots;
}

void compareStats(const RAMStats &actual, const RAMStats &expected)
{
    QVERIFY(qFuzzyCompare(actual.total, expected.total));
    QVERIFY(qFuzzyCompare(1 + actual.active, 1 + expected.active));
    QVERIFY(qFuzzyCompare(1 + actual.wired, 1 + expected.wired));
    QVERIFY(qFuzzyCompare(1 + actual.compressed, 1 + expected.compressed));
    QVERIFY(qFuzzyCompare(1 + actual.used, 1 + expected.used));
    QVERIFY(qFuzzyCompare(actual.available, expected.available));
    QVERIFY(qFuzzyCompare(actual.percent, expected.percent));
}

} // namespace

class TestMeminfoParser : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // Figures worked out by hand from each file: wired = Unevictable + SUnreclaim + KernelStack +
    // PageTables + SecPageTables + Percpu; compressed = Zswap + the zram devices' third column.
    void kernelReports_data()
    {
        QTest::addColumn<QString>("root");
        QTest::addColumn<Sample>("sample");
        QTest::addColumn<RAMStats>("stats");

        QTest::newRow("kernel 6 with Zswap lines")
            << u"meminfo-zswap-lines"_s
            << Sample{24684092 * KiB, 1384872 * KiB, 54840 * KiB, 0, 20935380 * KiB, 1756064 * KiB}
            << RAMStats{23.540584564208984,
                        1.373016357421875,
                        22.16756820678711,
                        5.832549967809228,
                        1.3207168579101562,
                        0.05229949951171875,
                        0};
        QTest::newRow("kernel 5.10 without Zswap lines")
            << u"meminfo-no-zswap"_s
            << Sample{8038260 * KiB, 3920312 * KiB, 333028 * KiB, 0, 1123484 * KiB, 2336500 * KiB}
            << RAMStats{7.665882110595703,
                        4.056301116943359,
                        3.6095809936523438,
                        52.91369027625381,
                        3.7387008666992188,
                        0.3176002502441406,
                        0};
        QTest::newRow("zram swap in use")
            << u"zram-swap-in-use"_s << Sample{16110988 * KiB, 8124480 * KiB, 747780 * KiB,
                                               1140850688,     412360 * KiB,  5602144 * KiB}
            << RAMStats{15.364635467529297,
                        9.523746490478516,
                        5.840888977050781,
                        61.98485158079691,
                        7.74810791015625,
                        0.7131385803222656,
                        1.0625};
    }

    void kernelReports()
    {
        QFETCH(QString, root);
        QFETCH(Sample, sample);
        QFETCH(RAMStats, stats);
        QVERIFY(plantTrees());
        platform::ProcMemoryCounters counters(rootsAt(m_trees.path() + u'/' + root));
        const Sample read = counters.sample();
        QCOMPARE(read, sample);
        compareStats(SystemMonitor::statsFrom(read), stats);
        // A recorded session counts memory in use from the same figures as the dashboard.
        QVERIFY(qFuzzyCompare(SessionLogger::ramUsage(read), stats.percent));
    }

    // Inactive and free memory never count as used.
    void availableIgnoresInactiveAndFree()
    {
        const Sample sample{100 * KiB * KiB * KiB, 10 * KiB * KiB * KiB, 5 * KiB * KiB * KiB,
                            3 * KiB * KiB * KiB,   40 * KiB * KiB * KiB, 30 * KiB * KiB * KiB};
        const RAMStats stats = SystemMonitor::statsFrom(sample);
        QCOMPARE(stats.total, 100.0);
        QCOMPARE(stats.used, 18.0);
        QCOMPARE(stats.available, 100.0 - (10.0 + 5.0 + 3.0));
        QCOMPARE(stats.percent, 18.0);
    }

    void unreadableOrGarbledGivesTheZeroSample_data()
    {
        QTest::addColumn<QByteArray>("contents");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("garbage") << QByteArray("\x01\x02 not a report\n::::\nMemTotal: lots kB\n");
        QTest::newRow("binary") << QByteArray(4096, '\xff');
    }

    void unreadableOrGarbledGivesTheZeroSample()
    {
        QFETCH(QByteArray, contents);
        QTemporaryDir folder;
        QVERIFY(QDir(folder.path()).mkpath(u"proc"_s));
        QVERIFY(TestFiles::write(folder.path() + u"/proc/meminfo", contents));
        platform::ProcMemoryCounters counters(rootsAt(folder.path()));
        QCOMPARE(counters.sample(), Sample{});
        const RAMStats stats = SystemMonitor::statsFrom(counters.sample());
        QCOMPARE(stats, RAMStats{});
        QCOMPARE(SessionLogger::ramUsage(counters.sample()), 0.0);
    }

    void missingFileOrFolderGivesTheZeroSample()
    {
        QTemporaryDir folder;
        platform::ProcMemoryCounters missing(rootsAt(folder.path()));
        QCOMPARE(missing.sample(), Sample{});

        // A folder where the file should be.
        QVERIFY(QDir(folder.path()).mkpath(u"proc/meminfo"_s));
        platform::ProcMemoryCounters folderInstead(rootsAt(folder.path()));
        QCOMPARE(folderInstead.sample(), Sample{});
    }

    void fileWithoutPermissionGivesTheZeroSample()
    {
        if (::geteuid() == 0) {
            QSKIP("root reads any file; the unprivileged rerun of this test checks it");
        }
        QTemporaryDir folder;
        QVERIFY(QDir(folder.path()).mkpath(u"proc"_s));
        const QString meminfo = folder.path() + u"/proc/meminfo";
        QVERIFY(TestFiles::write(meminfo, "MemTotal: 1024 kB\nActive: 512 kB\n"));
        QVERIFY(QFile::setPermissions(meminfo, {}));
        platform::ProcMemoryCounters counters(rootsAt(folder.path()));
        QCOMPARE(counters.sample(), Sample{});
    }

    // A pipe in the file's place would block a reader forever; it reads as nothing instead.
    void pipeGivesTheZeroSampleWithoutBlocking()
    {
        QTemporaryDir folder;
        QVERIFY(QDir(folder.path()).mkpath(u"proc"_s));
        QVERIFY(::mkfifo(QFile::encodeName(folder.path() + u"/proc/meminfo").constData(), 0600) ==
                0);
        platform::ProcMemoryCounters counters(rootsAt(folder.path()));
        QCOMPARE(counters.sample(), Sample{});
    }

    // A report past the reader's cap is read up to the cap and no further: the fields beyond it
    // count nothing.
    void aReportLargerThanTheCapIsReadUpToIt()
    {
        QTemporaryDir folder;
        QVERIFY(QDir(folder.path()).mkpath(u"proc"_s));
        const QByteArray head = "MemTotal: 1024 kB\n";
        QByteArray contents =
            head + QByteArray(platform::PseudoFile::maximumBytes - head.size() - 1, 'x');
        contents += "\nActive: 512 kB\n";
        QVERIFY(TestFiles::write(folder.path() + u"/proc/meminfo", contents));
        const std::optional<QByteArray> read =
            platform::PseudoFile::read(folder.path() + u"/proc/meminfo");
        QVERIFY(read);
        QCOMPARE(read->size(), platform::PseudoFile::maximumBytes);
        QVERIFY(contents.startsWith(*read));
        platform::ProcMemoryCounters counters(rootsAt(folder.path()));
        QCOMPARE(counters.sample().totalBytes, 1024 * KiB);
        QCOMPARE(counters.sample().activeBytes, 0u);
    }

    // Figures too large for memory stop at the largest one: a sum or a kB figure never wraps
    // around to a small number.
    void hugeFiguresSaturate_data()
    {
        QTest::addColumn<QByteArray>("meminfo");
        QTest::addColumn<quint64>("zram");
        QTest::addColumn<Sample>("sample");
        constexpr quint64 most = std::numeric_limits<quint64>::max();
        QTest::newRow("kB past the largest figure")
            << QByteArray("MemTotal: 18446744073709551615 kB\nMemFree: 18014398509481984 kB\n")
            << quint64(0) << Sample{most, 0, 0, 0, most, 0};
        QTest::newRow("parts adding up past it")
            << QByteArray("Unevictable: 18446744073709551615\nSUnreclaim: 1 kB\nZswap: 1\n") << most
            << Sample{0, 0, most, most, 0, 0};
    }

    void hugeFiguresSaturate()
    {
        QFETCH(QByteArray, meminfo);
        QFETCH(quint64, zram);
        QFETCH(Sample, sample);
        QCOMPARE(platform::MeminfoParser::parse(meminfo, zram), sample);
    }

    // The garbled report the fuzz target found: zram's bytes added to a Zswap line of 2^64 - 1
    // leave the largest figure, not the few bytes a wrap-around would.
    void theFuzzTargetsReportKeepsTheLargestFigure()
    {
        QFile found(QStringLiteral(KV_FIXTURES_DIR) +
                    u"/linux/meminfo/fuzz-zswap-at-the-largest-figure.txt"_s);
        QVERIFY(found.open(QIODevice::ReadOnly));
        const Sample sample = platform::MeminfoParser::parse(found.readAll(), 4096);
        QCOMPARE(sample.compressedBytes, std::numeric_limits<quint64>::max());
        QCOMPARE(sample.totalBytes, 24684092 * KiB);
    }

    void zramJunkCountsNothing()
    {
        QTemporaryDir folder;
        QVERIFY(QDir(folder.path()).mkpath(u"proc"_s));
        QVERIFY(QDir(folder.path()).mkpath(u"sys/block/zram0"_s));
        QVERIFY(
            TestFiles::write(folder.path() + u"/proc/meminfo", "MemTotal: 1024 kB\nZswap: 2 kB\n"));
        QVERIFY(TestFiles::write(folder.path() + u"/sys/block/zram0/mm_stat", "junk junk junk"));
        platform::ProcMemoryCounters counters(rootsAt(folder.path()));
        QCOMPARE(counters.sample().compressedBytes, 2 * KiB);
        QCOMPARE(platform::MeminfoParser::zramUsedBytes("1 2"), 0u);
        QCOMPARE(platform::MeminfoParser::zramUsedBytes(" 10 20 30 40"), 30u);
    }

    // Lines of unusual shape read as they always have: a figure is the first word after the
    // colon (an optional '+', digits, up to a NUL as in a C string), in kB only when "kB" is the
    // next word; words are separated by any ASCII white space; the last readable line of a name
    // wins; a name is compared whole, spaces and case included.
    void unusualLinesRead_data()
    {
        QTest::addColumn<QByteArray>("meminfo");
        QTest::addColumn<Sample>("sample");
        QTest::newRow("tabs and carriage returns")
            << QByteArray("MemTotal:\t2048\tkB\r\nActive: \v 4 kB\r\n")
            << Sample{2048 * KiB, 4 * KiB};
        QTest::newRow("a plus sign, no unit, another unit")
            << QByteArray("MemTotal: +3 kB\nActive: 5\nMemFree: 7 MB\n")
            << Sample{3 * KiB, 5, 0, 0, 7};
        QTest::newRow("the last readable line wins")
            << QByteArray("MemTotal: 1 kB\nMemTotal: 2 kB\nMemTotal: junk kB\n") << Sample{2 * KiB};
        QTest::newRow("a NUL ends the figure")
            << QByteArray("MemTotal: 12@x kB\nActive: @ kB\n").replace('@', '\0')
            << Sample{12 * KiB};
        QTest::newRow("names compared whole")
            << QByteArray(" MemTotal: 1 kB\nmemtotal: 2 kB\nMemTotal : 3 kB\nActive(anon): 4 kB\n")
            << Sample{};
        QTest::newRow("no number, a sign, an overflow, no newline at the end")
            << QByteArray("MemTotal: kB\nActive: -1 kB\nMemFree: 18446744073709551616\n"
                          "Inactive: ++1\nUnevictable: 9 kB")
            << Sample{0, 0, 9 * KiB};
    }

    void unusualLinesRead()
    {
        QFETCH(QByteArray, meminfo);
        QFETCH(Sample, sample);
        QCOMPARE(platform::MeminfoParser::parse(meminfo), sample);
    }

    // The device folder stays open between samples, yet a zram device added or removed after the
    // first sample counts from the next one on, and one recreated under the same name is read anew.
    void zramDevicesComingAndGoing()
    {
        QTemporaryDir folder;
        const QString block = folder.path() + u"/sys/block"_s;
        QVERIFY(QDir().mkpath(block + u"/zram0"_s));
        QVERIFY(QDir().mkpath(folder.path() + u"/proc"_s));
        QVERIFY(TestFiles::write(folder.path() + u"/proc/meminfo", "MemTotal: 1024 kB\n"));
        QVERIFY(TestFiles::write(block + u"/zram0/mm_stat", "1 2 300 4\n"));
        platform::ProcMemoryCounters counters(rootsAt(folder.path()));
        QCOMPARE(counters.sample().compressedBytes, 300u);
        QVERIFY(QDir().mkpath(block + u"/zram1"_s));
        QVERIFY(TestFiles::write(block + u"/zram1/mm_stat", "1 2 40 4\n"));
        QVERIFY(QDir().mkpath(block + u"/loop0"_s));
        QVERIFY(TestFiles::write(block + u"/loop0/mm_stat", "1 2 5000 4\n"));
        QCOMPARE(counters.sample().compressedBytes, 340u);
        QVERIFY(QDir(block + u"/zram0"_s).removeRecursively());
        QCOMPARE(counters.sample().compressedBytes, 40u);
        QVERIFY(QDir().mkpath(block + u"/zram0"_s));
        QVERIFY(TestFiles::write(block + u"/zram0/mm_stat", "1 2 7 4\n"));
        QCOMPARE(counters.sample().compressedBytes, 47u);
        QVERIFY(QDir(block).removeRecursively());
        QCOMPARE(counters.sample().compressedBytes, 0u);
    }

    // The machine's own report reads and agrees with its first line.
    void thisMachine()
    {
        const std::unique_ptr<platform::MemoryCounters> counters =
            platform::MemoryCounters::create();
        const Sample sample = counters->sample();
        const QByteArray meminfo = TestFiles::read(u"/proc/meminfo"_s);
        const QByteArray firstLine = meminfo.left(meminfo.indexOf('\n'));
        QVERIFY(firstLine.startsWith("MemTotal:"));
        QCOMPARE(sample.totalBytes,
                 firstLine.mid(9).simplified().split(' ').first().toULongLong() * KiB);
        QVERIFY(sample.activeBytes > 0);
        QVERIFY(sample.wiredBytes > 0);
        QVERIFY(sample.activeBytes + sample.wiredBytes < sample.totalBytes);
    }

private:
    // The two single-file reports become /proc trees like the zram one, in a temporary folder.
    // Planted on first use: the unprivileged rerun of this test may not read the source tree.
    bool plantTrees()
    {
        if (m_planted) {
            return true;
        }
        const QString fixtures = QStringLiteral(KV_FIXTURES_DIR "/linux");
        const auto plant = [&](const QString &from, const QString &to) {
            const QString target = m_trees.path() + u'/' + to;
            return QDir().mkpath(QFileInfo(target).path()) && QFile::copy(fixtures + from, target);
        };
        m_planted =
            m_trees.isValid() &&
            plant(u"/meminfo/debian12-kernel6-zswap-lines.txt"_s,
                  u"meminfo-zswap-lines/proc/meminfo"_s) &&
            plant(u"/meminfo/kernel5.10-no-zswap.txt"_s, u"meminfo-no-zswap/proc/meminfo"_s) &&
            plant(u"/zram-swap-in-use/proc/meminfo"_s, u"zram-swap-in-use/proc/meminfo"_s) &&
            plant(u"/zram-swap-in-use/sys/block/zram0/mm_stat"_s,
                  u"zram-swap-in-use/sys/block/zram0/mm_stat"_s) &&
            plant(u"/zram-swap-in-use/sys/block/zram1/mm_stat"_s,
                  u"zram-swap-in-use/sys/block/zram1/mm_stat"_s);
        return m_planted;
    }

    QTemporaryDir m_trees;
    bool m_planted = false;
};

KV_TEST_MAIN(TestMeminfoParser)
#include "tst_meminfoparser.moc"
