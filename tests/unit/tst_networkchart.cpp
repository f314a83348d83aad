#include "TestEnvironment.h"
#include "ui/NetworkChart.h"

#include <QGuiApplication>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

constexpr double MiB = 1'048'576.0;

} // namespace

// The network chart's smoothing, vertical scale and path geometry, from tables.
class TestNetworkChart : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void smoothData_data()
    {
        QTest::addColumn<QList<double>>("data");
        QTest::addColumn<int>("window");
        QTest::addColumn<QList<double>>("expected");
        QTest::newRow("1, 2, 3, 4 with 3")
            << QList<double>{1, 2, 3, 4} << 3 << QList<double>{1, 1.5, 2, 3};
        QTest::newRow("empty") << QList<double>{} << 3 << QList<double>{};
        QTest::newRow("one value unchanged") << QList<double>{7} << 3 << QList<double>{7};
        QTest::newRow("window 1 is the data")
            << QList<double>{5, 1, 9} << 1 << QList<double>{5, 1, 9};
        QTest::newRow("window longer than the data")
            << QList<double>{2, 4, 6} << 10 << QList<double>{2, 3, 4};
        QTest::newRow("trailing window of 2")
            << QList<double>{0, 10, 20, 0} << 2 << QList<double>{0, 5, 15, 10};
    }

    void smoothData()
    {
        QFETCH(QList<double>, data);
        QFETCH(int, window);
        QFETCH(QList<double>, expected);
        QCOMPARE(NetworkChart::smoothData(data, window), expected);
    }

    void maxYValue_data()
    {
        QTest::addColumn<QList<double>>("download");
        QTest::addColumn<QList<double>>("upload");
        QTest::addColumn<double>("expected");
        QTest::newRow("both empty: idle, 1 MiB") << QList<double>{} << QList<double>{} << MiB;
        QTest::newRow("idle below 1 KiB: exactly 1 MiB")
            << QList<double>{10, 1024, 500} << QList<double>{0, 3} << MiB;
        // Idle now, but a peak of 1 MiB long ago: 1.5 × the peak.
        QList<double> oldPeak{MiB};
        oldPeak.append(QList<double>(10, 100.0));
        QTest::newRow("idle after an old peak") << oldPeak << QList<double>{} << 1.5 * MiB;
        QList<double> burst(20, 1000.0);
        burst[15] = 2 * MiB;
        QTest::newRow("2 MiB/s burst in the last 10: 3 MiB") << burst << QList<double>{} << 3 * MiB;
        QTest::newRow("upload burst decides")
            << QList<double>{100} << QList<double>{4 * MiB, 1.5 * MiB} << 6 * MiB;
        QTest::newRow("moderate: 1.6 × recent")
            << QList<double>{2000, 50'000} << QList<double>{100} << 80'000.0;
        QList<double> moderatePeak(12, 10'000.0);
        moderatePeak[0] = 900'000;
        QTest::newRow("moderate: 1.4 × older peak")
            << moderatePeak << QList<double>{} << 1'260'000.0;
    }

    void maxYValue()
    {
        QFETCH(QList<double>, download);
        QFETCH(QList<double>, upload);
        QFETCH(double, expected);
        QCOMPARE(NetworkChart::maxYValue(download, upload), expected);
    }

    void burstScaleIsAtLeastThreeMiB()
    {
        QList<double> history(10, 0.0);
        history[9] = 2 * MiB;
        QVERIFY(NetworkChart::maxYValue(history, {}) >= 3 * MiB);
    }
};

KV_TEST_MAIN(TestNetworkChart)
#include "tst_networkchart.moc"
