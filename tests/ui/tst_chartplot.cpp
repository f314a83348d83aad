#include "TestEnvironment.h"
#include "TestWindow.h"
#include "ui/ChartGeometry.h"
#include "ui/ChartPlot.h"

#include <QGuiApplication>
#include <QPainter>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QSemaphore>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>
#include <QThreadPool>
#include <QtMath>

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;
using Snapshot = ChartSeries::Snapshot;
using Kind = ChartSeries::Kind;

namespace {

constexpr QSizeF size{300, 100};
const QColor cyan(0, 200, 255);

Snapshot line(const QList<double> &values, double maxValue = 100, qreal glowRadius = 3,
              qreal glowOpacity = 0.6)
{
    return {values, maxValue, Kind::Line, cyan, 2.5, glowRadius, glowOpacity, 0};
}

Snapshot area(const QList<double> &values, double maxValue = 100, qreal topOpacity = 0.3,
              const QColor &color = cyan)
{
    return {values, maxValue, Kind::Area, color, 2.5, 0, 0, topOpacity};
}

// The picture's pixel at a point of the drawing rectangle.
QColor at(const ChartPlot::Picture &picture, QPointF point, qreal ratio = 1)
{
    const QPointF pixel = (point - picture.rect.topLeft()) * ratio;
    return picture.image.pixelColor(qFloor(pixel.x()), qFloor(pixel.y()));
}

} // namespace

class TestChartPlot : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<QQmlEngine> m_engine;
    std::unique_ptr<QQuickWindow> m_window;

    ChartPlot *load(const QByteArray &series)
    {
        QQuickWindow *window = TestWindow::load(
            m_engine, m_window,
            "Window {\n width: 400\n height: 200\n color: 'black'\n"
            " ChartPlot {\n objectName: 'plot'\n x: 50\n y: 50\n width: 300\n height: 100\n" +
                series + "\n }\n}");
        return window ? window->findChild<ChartPlot *>(u"plot"_s) : nullptr;
    }

    static QList<Snapshot> snapshots(const ChartPlot *plot)
    {
        QList<Snapshot> list;
        for (const ChartSeries *series : plot->findChildren<ChartSeries *>()) {
            list.append(series->snapshot());
        }
        return list;
    }

private Q_SLOTS:
    void cleanup()
    {
        m_window.reset();
        m_engine.reset();
        QThreadPool::globalInstance()->waitForDone();
    }

    void nothingToDraw_data()
    {
        QTest::addColumn<QList<Snapshot>>("series");
        QTest::addColumn<QSizeF>("size");
        QTest::newRow("no series") << QList<Snapshot>{} << size;
        QTest::newRow("no values") << QList<Snapshot>{line({}), area({})} << size;
        QTest::newRow("one value") << QList<Snapshot>{line({42}), area({42})} << size;
        QTest::newRow("zero scale") << QList<Snapshot>{line({1, 2}, 0), area({1, 2}, 0)} << size;
        QTest::newRow("negative scale") << QList<Snapshot>{line({1, 2}, -1)} << size;
        QTest::newRow("no room") << QList<Snapshot>{line({1, 2})} << QSizeF(0, 100);
    }

    void nothingToDraw()
    {
        QFETCH(QList<Snapshot>, series);
        QFETCH(QSizeF, size);
        const ChartPlot::Picture picture = ChartPlot::paint(series, size, 1);
        QVERIFY(picture.image.isNull());
        QVERIFY(picture.rect.isEmpty());
    }

    // A level line at half height: solid in its colour along the middle, glowing for a few
    // pixels either side, and clear beyond the glow's reach.
    void lineHasAGlowBeneathIt()
    {
        const ChartPlot::Picture picture = ChartPlot::paint({line({50, 50})}, size, 1);
        QVERIFY(!picture.image.isNull());
        QVERIFY(picture.rect.contains(QRectF(QPointF(0, 0), size)));
        QCOMPARE(picture.image.size(), picture.rect.size().toSize());

        const QColor middle = at(picture, {150, 50});
        QCOMPARE(middle.alpha(), 255);
        QCOMPARE(middle.rgb(), cyan.rgb());
        // The line is 2.5 wide; past its edge only the glow shows, at most 0.6 of the colour.
        const QColor glow = at(picture, {150, 54});
        QVERIFY2(glow.alpha() > 10 && glow.alpha() < int(0.6 * 255),
                 qPrintable(glow.name(QColor::HexArgb)));
        // Faint premultiplied colour keeps its hue to within rounding.
        QVERIFY2(qAbs(glow.toRgb().hue() - cyan.hue()) <= 2, qPrintable(glow.name()));
        QVERIFY(at(picture, {150, 53}).alpha() > glow.alpha());
        QCOMPARE(at(picture, {150, 60}).alpha(), 0);
        QCOMPARE(at(picture, {150, 40}).alpha(), 0);
        // Round caps stick out past the first and last points.
        QVERIFY(at(picture, {-1, 50}).alpha() > 0);
        QVERIFY(at(picture, {301, 50}).alpha() > 0);
    }

    void glowFollowsItsRadiusAndOpacity()
    {
        const auto glowAt = [](const Snapshot &series, qreal y) {
            return at(ChartPlot::paint({series}, size, 1), {150, y}).alpha();
        };
        QCOMPARE(glowAt(line({50, 50}, 100, 3, 0), 54), 0);
        QCOMPARE(glowAt(line({50, 50}, 100, 0, 0.6), 54), 0);
        QVERIFY(glowAt(line({50, 50}, 100, 3, 0.3), 54) < glowAt(line({50, 50}, 100, 3, 0.6), 54));
        QCOMPARE(glowAt(line({50, 50}, 100, 3, 0.6), 59), 0);
        QVERIFY(glowAt(line({50, 50}, 100, 8, 0.6), 59) > 0);
    }

    // A line at the bottom edge is not cut in half, and its glow shows below the chart.
    void lineAlongAnEdgeIsWhole()
    {
        const ChartPlot::Picture picture = ChartPlot::paint({line({0, 0})}, size, 1);
        QVERIFY(picture.rect.bottom() > 100 + 1.25);
        QCOMPARE(at(picture, {150, 100}).alpha(), 255);
        QVERIFY(at(picture, {150, 101}).alpha() > 0);
        QVERIFY(at(picture, {150, 103}).alpha() > 0);
    }

    // Values are not clamped: one above the scale draws above the top edge.
    void valueAboveTheScaleDrawsAboveTheChart()
    {
        const ChartPlot::Picture picture = ChartPlot::paint({line({150, 150})}, size, 1);
        QVERIFY(picture.rect.top() < -50);
        QCOMPARE(at(picture, {150, -50}).alpha(), 255);
    }

    void areaFadesFromItsTopOpacityToNothing()
    {
        const ChartPlot::Picture picture = ChartPlot::paint({area({100, 100})}, size, 1);
        const QColor top = at(picture, {150, 0.5});
        QVERIFY2(qAbs(top.alpha() - 0.3 * 255) <= 3, qPrintable(QString::number(top.alpha())));
        QVERIFY(qAbs(top.hue() - cyan.hue()) <= 2);
        QVERIFY(qAbs(at(picture, {150, 50.5}).alpha() - 0.15 * 255) <= 3);
        QVERIFY(at(picture, {150, 99.5}).alpha() <= 2);
        QCOMPARE(at(picture, {150, 100.5}).alpha(), 0);
    }

    // The fill is straight-edged: from (0, bottom) to (300, top) it is a triangle, not the
    // eased curve the line draws over it.
    void areaIsStraightEdged()
    {
        const ChartPlot::Picture picture = ChartPlot::paint({area({0, 100}, 100, 1)}, size, 1);
        QVERIFY(at(picture, {225, 30}).alpha() > 0); // under the diagonal
        QCOMPARE(at(picture, {75, 60}).alpha(), 0);  // above it
        QCOMPARE(ChartGeometry::linePath({0, 100}, 100, size).pointAtPercent(0.25).y() > 75, true);
    }

    void seriesArePaintedBackToFront()
    {
        // Red at half its opacity halfway down the area.
        const Snapshot red = area({100, 100}, 100, 1, Qt::red);
        const QColor lineOnTop = at(ChartPlot::paint({red, line({50, 50})}, size, 1), {150, 50});
        QCOMPARE(lineOnTop.rgb(), cyan.rgb());
        const QColor areaOnTop = at(ChartPlot::paint({line({50, 50}), red}, size, 1), {150, 50});
        QVERIFY(areaOnTop.red() > 100 && areaOnTop.green() < 150);
    }

    void sharpScreensGetMorePixels()
    {
        const ChartPlot::Picture single = ChartPlot::paint({line({20, 80, 40})}, size, 1);
        const ChartPlot::Picture sharp = ChartPlot::paint({line({20, 80, 40})}, size, 2);
        QVERIFY(sharp.rect.contains(QRectF(QPointF(0, 0), size)));
        QCOMPARE(sharp.image.width(), qCeil(sharp.rect.width() * 2));
        QCOMPARE(sharp.image.height(), qCeil(sharp.rect.height() * 2));
        QCOMPARE(single.image.width(), qCeil(single.rect.width()));
        QCOMPARE(at(sharp, {150, 20}, 2).alpha(), 255);
    }

    // The line is stroked strip by strip; the result is the one stroke, pixel for pixel.
    void stripsAddUpToOneStroke()
    {
        QList<double> values;
        for (int i = 0; i < 60; ++i) {
            values.append((i * 37) % 100);
        }
        const QSizeF wide(936, 110);
        const Snapshot series = line(values, 100, 0, 0);
        const ChartPlot::Picture picture = ChartPlot::paint({series}, wide, 1);
        QImage reference(picture.image.size(), QImage::Format_ARGB32_Premultiplied);
        reference.fill(Qt::transparent);
        {
            QPainter painter(&reference);
            painter.setRenderHint(QPainter::Antialiasing);
            painter.translate(-picture.rect.topLeft());
            painter.setPen(QPen(cyan, 2.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
            painter.drawPath(ChartGeometry::linePath(values, 100, wide));
        }
        int worst = 0;
        for (int y = 0; y < reference.height(); ++y) {
            for (int x = 0; x < reference.width(); ++x) {
                worst = std::max(
                    worst, qAbs(qAlpha(reference.pixel(x, y)) - qAlpha(picture.image.pixel(x, y))));
            }
        }
        QVERIFY2(worst <= 1, qPrintable(QString::number(worst)));
    }

    // The item paints its series off the window's thread and shows the result on screen.
    void itemShowsItsSeries()
    {
        ChartPlot *plot = load("ChartSeries { objectName: 'line'; kind: ChartSeries.Line;"
                               " color: '#00c8ff'; maxValue: 100; glowRadius: 3;"
                               " glowOpacity: 0.6 }");
        QVERIFY(plot);
        QVERIFY(plot->picture().image.isNull());
        auto *series = plot->findChild<ChartSeries *>(u"line"_s);
        QSignalSpy painted(plot, &ChartPlot::pictureChanged);
        series->setValues({50, 50});
        QVERIFY(painted.wait());
        QCOMPARE(plot->picture().image, ChartPlot::paint(snapshots(plot), size, 1).image);
        QTRY_COMPARE(m_window->grabWindow().pixelColor(200, 100).rgb(), cyan.rgb());

        // One value draws nothing.
        series->setValues({50});
        QTRY_VERIFY(plot->picture().image.isNull());
        QTRY_COMPARE(m_window->grabWindow().pixelColor(200, 100).rgb(), QColor(Qt::black).rgb());
    }

    // A sample changes every series at once; they are painted once, together.
    void seriesChangedTogetherArePaintedOnce()
    {
        ChartPlot *plot = load("ChartSeries { objectName: 'area'; kind: ChartSeries.Area }\n"
                               "ChartSeries { objectName: 'line' }");
        QVERIFY(plot);
        QSignalSpy painted(plot, &ChartPlot::pictureChanged);
        plot->findChild<ChartSeries *>(u"area"_s)->setValues({0.2, 0.4});
        plot->findChild<ChartSeries *>(u"line"_s)->setValues({0.2, 0.4});
        plot->findChild<ChartSeries *>(u"line"_s)->setMaxValue(0.5);
        QVERIFY(painted.wait());
        QTest::qWait(100);
        QCOMPARE(painted.size(), 1);
        QCOMPARE(plot->picture().image, ChartPlot::paint(snapshots(plot), size, 1).image);
    }

    // Changes arriving while a picture is being painted end in a picture of the latest values.
    void latestValuesWin()
    {
        ChartPlot *plot = load("ChartSeries { objectName: 'line'; maxValue: 100 }");
        QVERIFY(plot);
        auto *series = plot->findChild<ChartSeries *>(u"line"_s);
        QSignalSpy painted(plot, &ChartPlot::pictureChanged);
        for (int i = 0; i < 20; ++i) {
            series->setValues({double(i), double(100 - i), double(i)});
            m_window->requestUpdate();
            QCoreApplication::processEvents();
        }
        const QImage expected = ChartPlot::paint(snapshots(plot), size, 1).image;
        QTRY_COMPARE(plot->picture().image, expected);
        QThreadPool::globalInstance()->waitForDone();
        QCoreApplication::processEvents();
        QCOMPARE(plot->picture().image, expected);
        QVERIFY(painted.size() <= 20);
    }

    // A hidden chart (its window covered) is not painted; shown again, it shows its series.
    void hiddenChartWaitsUntilShown()
    {
        ChartPlot *plot = load("ChartSeries { objectName: 'line'; maxValue: 100 }");
        QVERIFY(plot);
        auto *series = plot->findChild<ChartSeries *>(u"line"_s);
        plot->setVisible(false);
        QSignalSpy painted(plot, &ChartPlot::pictureChanged);
        series->setValues({10, 90, 10});
        m_window->requestUpdate();
        QTest::qWait(100);
        QThreadPool::globalInstance()->waitForDone();
        QCoreApplication::processEvents();
        QCOMPARE(painted.size(), 0);
        QVERIFY(plot->picture().image.isNull());
        QVERIFY(!plot->isRepainting());
        plot->setVisible(true);
        const QImage expected = ChartPlot::paint(snapshots(plot), size, 1).image;
        QVERIFY(!expected.isNull());
        QTRY_COMPARE(plot->picture().image, expected);
        QCOMPARE(painted.size(), 1);
    }

    // `repainting` is true from a change until a picture painted after it is shown. A change
    // that arrives while a picture is being painted is painted next, without setting it again:
    // under a stream of changes it does not stay true.
    void repaintingLastsUntilANewPictureShows()
    {
        ChartPlot *plot = load("ChartSeries { objectName: 'line'; maxValue: 100 }");
        QVERIFY(plot);
        auto *series = plot->findChild<ChartSeries *>(u"line"_s);
        QList<std::pair<bool, int>> log; // (repainting, pictures shown) at each change
        int shown = 0;
        connect(plot, &ChartPlot::pictureChanged, this, [&] { ++shown; });
        connect(plot, &ChartPlot::repaintingChanged, this, [&] {
            log.append({plot->isRepainting(), shown});
        });

        // Every pool thread busy: the first painting waits in the queue until released.
        QThreadPool *pool = QThreadPool::globalInstance();
        QSemaphore release;
        for (int i = 0; i < pool->maxThreadCount(); ++i) {
            pool->start([&release] { release.acquire(); });
        }
        series->setValues({10, 90});
        QTRY_VERIFY(plot->isRepainting());
        series->setValues({20, 80});
        m_window->requestUpdate();
        QTest::qWait(50);
        QCOMPARE(log, (QList<std::pair<bool, int>>{{true, 0}}));
        release.release(pool->maxThreadCount());

        QTRY_COMPARE(shown, 2);
        QThreadPool::globalInstance()->waitForDone();
        QCoreApplication::processEvents();
        QCOMPARE(log, (QList<std::pair<bool, int>>{{true, 0}, {false, 1}}));
        QCOMPARE(plot->picture().image, ChartPlot::paint(snapshots(plot), size, 1).image);
        QVERIFY(!plot->isRepainting());
    }

    // With a batch interval, changes arriving within it are painted once, together; the chart
    // counts as repainting from the first of them.
    void changesInABatchArePaintedOnce()
    {
        ChartPlot *plot = load("batchInterval: 1500\n"
                               "ChartSeries { objectName: 'line'; maxValue: 100 }");
        QVERIFY(plot);
        QCOMPARE(plot->batchInterval(), 1500);
        auto *series = plot->findChild<ChartSeries *>(u"line"_s);
        QSignalSpy painted(plot, &ChartPlot::pictureChanged);
        series->setValues({10, 90});
        QVERIFY(plot->isRepainting());
        m_window->requestUpdate();
        QTest::qWait(100);
        QCOMPARE(painted.size(), 0);
        series->setValues({20, 80, 50});
        QVERIFY(painted.wait(10'000));
        QTest::qWait(200);
        QCOMPARE(painted.size(), 1);
        QCOMPARE(plot->picture().image, ChartPlot::paint(snapshots(plot), size, 1).image);
        QVERIFY(!plot->isRepainting());
    }

    // A chart with nothing on screen and nothing to draw has nothing to wait for.
    void anEmptyChartDoesNotWait()
    {
        ChartPlot *plot = load("batchInterval: 60000\n"
                               "ChartSeries { objectName: 'line'; maxValue: 100 }");
        QVERIFY(plot);
        plot->findChild<ChartSeries *>(u"line"_s)->setValues({10});
        QVERIFY(!plot->isRepainting());
    }

    // A new size is painted at once, with the changes still waiting in the batch.
    void resizingDoesNotWaitForTheBatch()
    {
        ChartPlot *plot = load("batchInterval: 60000\n"
                               "ChartSeries { objectName: 'line'; values: [10, 90];"
                               " maxValue: 100 }");
        QVERIFY(plot);
        QTRY_VERIFY(!plot->picture().image.isNull());
        plot->findChild<ChartSeries *>(u"line"_s)->setValues({90, 10, 50});
        QVERIFY(plot->isRepainting());
        plot->setWidth(150);
        QTRY_COMPARE(plot->picture().image,
                     ChartPlot::paint(snapshots(plot), QSizeF(150, 100), 1).image);
        QTRY_VERIFY(!plot->isRepainting());
    }

    void resizingRepaints()
    {
        ChartPlot *plot = load("ChartSeries { values: [10, 90]; maxValue: 100 }");
        QVERIFY(plot);
        QTRY_VERIFY(!plot->picture().image.isNull());
        plot->setWidth(150);
        QTRY_COMPARE(plot->picture().image,
                     ChartPlot::paint(snapshots(plot), QSizeF(150, 100), 1).image);
    }

    // The window may close while a picture is being painted; nothing is left to receive it.
    void closingWhilePaintingIsSafe()
    {
        ChartPlot *plot = load("ChartSeries { maxValue: 100 }");
        QVERIFY(plot);
        plot->findChild<ChartSeries *>()->setValues({1, 2, 3});
        m_window->requestUpdate();
        QCoreApplication::processEvents();
        m_window.reset();
        QThreadPool::globalInstance()->waitForDone();
        QCoreApplication::processEvents();
    }
};

KV_TEST_MAIN(TestChartPlot)
#include "tst_chartplot.moc"
