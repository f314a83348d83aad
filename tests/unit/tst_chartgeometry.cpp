#include "TestEnvironment.h"
#include "ui/ChartGeometry.h"

#include <QGuiApplication>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

constexpr QSizeF size{300, 100};

struct Element {
    QPainterPath::ElementType type;
    QPointF point;
};

QList<Element> elements(const QPainterPath &path)
{
    QList<Element> list;
    for (int i = 0; i < path.elementCount(); ++i) {
        const QPainterPath::Element e = path.elementAt(i);
        list.append({e.type, QPointF(e.x, e.y)});
    }
    return list;
}

} // namespace

class TestChartGeometry : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void fewerThanTwoValuesDrawNothing()
    {
        for (const QList<double> &data : {QList<double>{}, QList<double>{42}}) {
            QVERIFY(ChartGeometry::points(data, 100, size).isEmpty());
            QVERIFY(ChartGeometry::linePath(data, 100, size).isEmpty());
            QVERIFY(ChartGeometry::areaPath(data, 100, size).isEmpty());
        }
    }

    void scaleThatIsNotPositiveDrawsNothing()
    {
        for (const double maxValue : {0.0, -1.0, qQNaN()}) {
            QVERIFY(ChartGeometry::points({1, 2}, maxValue, size).isEmpty());
            QVERIFY(ChartGeometry::linePath({1, 2}, maxValue, size).isEmpty());
            QVERIFY(ChartGeometry::areaPath({1, 2}, maxValue, size).isEmpty());
        }
    }

    void pointPlacement()
    {
        const QList<QPointF> points = ChartGeometry::points({0, 50, 100, 25}, 100, size);
        const QList<QPointF> expected{{0, 100}, {100, 50}, {200, 0}, {300, 75}};
        QCOMPARE(points, expected);
    }

    // Values above the scale draw above the top edge, below zero under the bottom edge.
    void valuesAreNotClamped()
    {
        const QList<QPointF> points = ChartGeometry::points({150, -10}, 100, size);
        QCOMPARE(points.at(0), QPointF(0, -50));
        QCOMPARE(points.at(1), QPointF(300, 110));
    }

    void lineControlPoints()
    {
        // Points (0,100), (100,50), (200,0), (300,75).
        const QList<Element> path = elements(ChartGeometry::linePath({0, 50, 100, 25}, 100, size));
        QCOMPARE(path.size(), 1 + 3 * 3);
        QCOMPARE(path.at(0).type, QPainterPath::MoveToElement);
        QCOMPARE(path.at(0).point, QPointF(0, 100));

        // Segment 1: prev (0,100), cur (100,50), next (200,0).
        QCOMPARE(path.at(1).type, QPainterPath::CurveToElement);
        QCOMPARE(path.at(1).point, QPointF(0 + 0.5 * 100, 100));
        QCOMPARE(path.at(2).point, QPointF(100 - 0.1 * (200 - 0), 50));
        QCOMPARE(path.at(3).point, QPointF(100, 50));
        // Segment 2: prev (100,50), cur (200,0), next (300,75).
        QCOMPARE(path.at(4).point, QPointF(150, 50));
        QCOMPARE(path.at(5).point, QPointF(200 - 0.1 * (300 - 100), 0));
        QCOMPARE(path.at(6).point, QPointF(200, 0));
        // The last segment uses next = cur: cur.x − 0.1 × (cur.x − prev.x).
        QCOMPARE(path.at(7).point, QPointF(250, 0));
        QCOMPARE(path.at(8).point, QPointF(300 - 0.1 * (300 - 200), 75));
        QCOMPARE(path.at(9).point, QPointF(300, 75));
    }

    void twoValuesMakeOneCurve()
    {
        const QList<Element> path = elements(ChartGeometry::linePath({0, 100}, 100, size));
        QCOMPARE(path.size(), 4);
        QCOMPARE(path.at(1).point, QPointF(150, 100));
        QCOMPARE(path.at(2).point, QPointF(300 - 0.1 * 300, 0));
        QCOMPARE(path.at(3).point, QPointF(300, 0));
    }

    // The fill is straight-edged: bottom left, every point, bottom right, closed.
    void areaIsStraightEdged()
    {
        const QList<Element> path = elements(ChartGeometry::areaPath({20, 50, 100}, 100, size));
        QCOMPARE(path.at(0).type, QPainterPath::MoveToElement);
        QCOMPARE(path.at(0).point, QPointF(0, 100));
        const QList<QPointF> expected{{0, 80}, {150, 50}, {300, 0}, {300, 100}, {0, 100}};
        QCOMPARE(path.size(), 1 + expected.size());
        for (qsizetype i = 0; i < expected.size(); ++i) {
            QCOMPARE(path.at(i + 1).type, QPainterPath::LineToElement);
            QCOMPARE(path.at(i + 1).point, expected.at(i));
        }
    }
};

KV_TEST_MAIN(TestChartGeometry)
#include "tst_chartgeometry.moc"
