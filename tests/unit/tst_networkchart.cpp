#include "TestEnvironment.h"
#include "ui/NetworkChart.h"

#include <QGuiApplication>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

constexpr double MiB = 1'048'576.0;

} // namespace

// The network chart's smoothing, vertical scale and path geometry (Part 6.4), from tables.
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

    void pointPlacement()
    {
        const QList<QPointF> points = NetworkChart::points({0, 50, 100, 150}, 100, {300, 200});
        QCOMPARE(points, QList<QPointF>({{0, 200}, {100, 100}, {200, 0}, {300, -100}}));
    }

    void fewerThanTwoValuesDrawNothing_data()
    {
        QTest::addColumn<QList<double>>("data");
        QTest::addColumn<double>("maxValue");
        QTest::newRow("no values") << QList<double>{} << 100.0;
        QTest::newRow("a single value") << QList<double>{42} << 100.0;
        QTest::newRow("a zero scale") << QList<double>{1, 2} << 0.0;
    }

    void fewerThanTwoValuesDrawNothing()
    {
        QFETCH(QList<double>, data);
        QFETCH(double, maxValue);
        QVERIFY(NetworkChart::linePath(data, maxValue, {100, 100}).isEmpty());
        QVERIFY(NetworkChart::areaPath(data, maxValue, {100, 100}).isEmpty());
        QCOMPARE(NetworkChart::lineSvg(data, maxValue, 100, 100), QString());
        QCOMPARE(NetworkChart::areaSvg(data, maxValue, 100, 100), QString());
    }

    // Control points (prev.x + 0.5 dx, prev.y) and (cur.x − 0.1 (next.x − prev.x), cur.y); the last
    // segment has next = cur.
    void lineSegments()
    {
        const QPainterPath path = NetworkChart::linePath({0, 100, 50}, 100, {200, 100});
        QCOMPARE(path.elementCount(), 1 + 2 * 3);
        const auto at = [&](int i) { return QPointF(path.elementAt(i).x, path.elementAt(i).y); };
        QCOMPARE(path.elementAt(0).type, QPainterPath::MoveToElement);
        QCOMPARE(at(0), QPointF(0, 100));
        // Segment 1: prev (0, 100), cur (100, 0), next (200, 50).
        QCOMPARE(path.elementAt(1).type, QPainterPath::CurveToElement);
        QCOMPARE(at(1), QPointF(50, 100));
        QCOMPARE(at(2), QPointF(100 - 0.1 * 200, 0));
        QCOMPARE(at(3), QPointF(100, 0));
        // Segment 2 (the last): prev (100, 0), cur (200, 50), next = cur.
        QCOMPARE(at(4), QPointF(150, 0));
        QCOMPARE(at(5), QPointF(200 - 0.1 * (200 - 100), 50));
        QCOMPARE(at(6), QPointF(200, 50));
    }

    void areaIsStraightAndClosed()
    {
        const QPainterPath path = NetworkChart::areaPath({50, 100, 25}, 100, {200, 100});
        QList<QPointF> points;
        for (int i = 0; i < path.elementCount(); ++i) {
            QVERIFY(path.elementAt(i).type != QPainterPath::CurveToElement);
            points.append({path.elementAt(i).x, path.elementAt(i).y});
        }
        QCOMPARE(points,
                 QList<QPointF>({{0, 100}, {0, 50}, {100, 0}, {200, 75}, {200, 100}, {0, 100}}));
        QCOMPARE(NetworkChart::areaSvg({50, 100, 25}, 100, 200, 100),
                 u"M 0.000 100.000 L 0.000 50.000 L 100.000 0.000 L 200.000 75.000 "
                 u"L 200.000 100.000 L 0.000 100.000 Z"_s);
    }

    void lineSvg()
    {
        QCOMPARE(NetworkChart::lineSvg({0, 100}, 100, 10, 10),
                 u"M 0.000 10.000 C 5.000 10.000 9.000 0.000 10.000 0.000"_s);
    }

    // Values above the scale are not clamped: they draw above the top edge.
    void valuesAboveTheScaleAreNotClamped()
    {
        const QList<QPointF> points = NetworkChart::points({0, 300}, 100, {10, 100});
        QCOMPARE(points.last(), QPointF(10, -200));
    }
};

KV_TEST_MAIN(TestNetworkChart)
#include "tst_networkchart.moc"
