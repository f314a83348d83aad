#include "FakeAccessoryBatteries.h"
#include "FakeMemoryCounters.h"
#include "FakeNetwork.h"
#include "FakePing.h"
#include "FakeProcessorTicks.h"
#include "ManualClock.h"
#include "QuickDriver.h"
#include "TestEnvironment.h"
#include "TestWindow.h"
#include "sessions/PDFReportGenerator.h"
#include "sessions/SessionLogger.h"
#include "telemetry/NetworkMonitor.h"
#include "telemetry/SystemMonitor.h"
#include "ui/CachedLayer.h"
#include "ui/ChartPlot.h"

#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTest>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr quint64 GiB = 1024ULL * 1024 * 1024;

} // namespace

// The dashboard screen, loaded offscreen and fed by a monitor over fake sources.
class TestDashboard : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<ManualClock> m_clock;
    FakeMemoryCounters *m_memory = nullptr;
    FakeAccessoryBatteries *m_batteries = nullptr;
    std::unique_ptr<SystemMonitor> m_monitor;
    std::unique_ptr<FakeNetwork> m_network;
    std::unique_ptr<NetworkMonitor> m_networkMonitor;
    std::unique_ptr<SessionLogger> m_sessionLogger;
    std::unique_ptr<PDFReportGenerator> m_reportGenerator;
    std::unique_ptr<QQmlEngine> m_engine;
    std::unique_ptr<QQuickWindow> m_window;

    QQuickItem *item(const QString &name) const
    {
        return QuickDriver::itemIn(m_window->contentItem(), name);
    }

    QString text(const QString &container, const QString &name) const
    {
        QQuickItem *parent = item(container);
        QQuickItem *child = parent ? QuickDriver::itemIn(parent, name) : nullptr;
        return child ? child->property("text").toString() : u"<missing>"_s;
    }

    ChartPlot *memoryChart() const
    {
        return qobject_cast<ChartPlot *>(QuickDriver::itemIn(item(u"ramGraph"_s), u"chart"_s));
    }

    // A panel's layer effect, which sits beside the panels rather than inside one.
    CachedLayer *cachedLayer(const QString &name) const
    {
        return qobject_cast<CachedLayer *>(
            QuickDriver::itemIn(item(u"liveGraph"_s)->parentItem(), name));
    }

    QList<QQuickItem *> rows() const
    {
        return QuickDriver::itemsIn(m_window->contentItem(), u"deviceRow"_s);
    }

private Q_SLOTS:
    void init()
    {
        // A panel bound to something it cannot read says so in a warning; none may appear.
        QTest::failOnWarning(QRegularExpression(u"TypeError|ReferenceError|Cannot read"_s));
        m_clock = std::make_unique<ManualClock>();
        auto memory = std::make_unique<FakeMemoryCounters>();
        auto batteries = std::make_unique<FakeAccessoryBatteries>();
        m_memory = memory.get();
        m_batteries = batteries.get();
        m_memory->next = {16 * GiB, 4 * GiB, 2 * GiB, 1 * GiB, 0, 0};
        m_monitor = std::make_unique<SystemMonitor>(
            *m_clock, std::move(memory), std::make_unique<FakePing>(), std::move(batteries));

        m_sessionLogger =
            std::make_unique<SessionLogger>(*m_clock, std::make_unique<FakeProcessorTicks>(),
                                            std::make_unique<FakeMemoryCounters>());
        m_reportGenerator =
            std::make_unique<PDFReportGenerator>(*m_clock, ReportIcons{}, QString());
        // Fake interfaces and probes, no network: the panel's monitor is otherwise the real one.
        m_network = std::make_unique<FakeNetwork>();
        m_network->setLinks({{u"eth0"_s, 1000, 2000}});
        m_networkMonitor = std::make_unique<NetworkMonitor>(m_network->parts(), *m_clock);

        QVERIFY(TestWindow::load(
            m_engine, m_window,
            "Window {\n id: root\n width: 1000\n height: 900\n"
            " required property SystemMonitor monitor\n"
            " required property NetworkMonitor networkMonitor\n"
            " required property SessionLogger sessionLogger\n"
            " required property PDFReportGenerator reportGenerator\n"
            " DashboardView {\n anchors.fill: parent\n monitor: root.monitor\n"
            " networkMonitor: root.networkMonitor\n"
            " sessionLogger: root.sessionLogger\n"
            " reportGenerator: root.reportGenerator\n }\n}",
            {{u"monitor"_s, QVariant::fromValue(m_monitor.get())},
             {u"networkMonitor"_s, QVariant::fromValue(m_networkMonitor.get())},
             {u"sessionLogger"_s, QVariant::fromValue(m_sessionLogger.get())},
             {u"reportGenerator"_s, QVariant::fromValue(m_reportGenerator.get())}}));
    }

    void cleanup()
    {
        m_window.reset();
        m_engine.reset();
        m_reportGenerator.reset();
        m_sessionLogger.reset();
        m_networkMonitor.reset();
        m_network.reset();
        m_monitor.reset();
        m_clock.reset();
    }

    // Top to bottom: the memory graph, the network panel, the three memory figures, the
    // accessories' batteries and the session recorder, each below the one before.
    void screenOrder()
    {
        const QStringList order{u"liveGraph"_s, u"networkPanel"_s, u"quickStats"_s,
                                u"peripheralCard"_s, u"sessionCard"_s};
        QQuickItem *previous = nullptr;
        for (const QString &name : order) {
            QQuickItem *current = item(name);
            QVERIFY2(current, qPrintable(name));
            if (previous) {
                const qreal previousBottom =
                    previous->mapToScene(QPointF(0, previous->height())).y();
                QVERIFY2(current->mapToScene(QPointF()).y() >= previousBottom, qPrintable(name));
            }
            previous = current;
        }
        QCOMPARE(text(u"sessionCard"_s, u"toggleButton"_s), u"Start"_s);
    }

    // The network panel has a monitor to show: appearing with an empty history, it starts it.
    void networkPanelStartsItsMonitor()
    {
        QCOMPARE(m_network->counters->linkCalls, 1);
        QTRY_VERIFY(m_network->path->started());
        QVERIFY(item(u"connectionName"_s));
        m_network->setLinks({{u"eth0"_s, 1000 + 4096, 2000 + 1024}});
        m_clock->advance(1000ms);
        QTRY_COMPARE(m_networkMonitor->downloadHistory().size(), 1);
        QCOMPARE(m_networkMonitor->downloadSpeed(), 4096.0);
        QCOMPARE(m_networkMonitor->uploadSpeed(), 1024.0);
    }

    void cardsShowZeroBeforeTheFirstSample()
    {
        QCOMPARE(text(u"activeCard"_s, u"value"_s), u"0.0 GB"_s);
        QCOMPARE(text(u"wiredCard"_s, u"value"_s), u"0.0 GB"_s);
        QCOMPARE(text(u"compressedCard"_s, u"value"_s), u"0.0 GB"_s);
        QCOMPARE(text(u"activeCard"_s, u"title"_s), u"Active"_s);
        QCOMPARE(text(u"wiredCard"_s, u"title"_s), u"Wired"_s);
        QCOMPARE(text(u"compressedCard"_s, u"title"_s), u"Compressed"_s);
        QCOMPARE(text(u"ramGraph"_s, u"usedText"_s), u"0.0 GB"_s);
    }

    void cardsAndChartFollowTheSamples()
    {
        m_monitor->startMonitoring();
        QCOMPARE(text(u"activeCard"_s, u"value"_s), u"4.0 GB"_s);
        QCOMPARE(text(u"wiredCard"_s, u"value"_s), u"2.0 GB"_s);
        QCOMPARE(text(u"compressedCard"_s, u"value"_s), u"1.0 GB"_s);
        QCOMPARE(text(u"ramGraph"_s, u"usedText"_s), u"7.0 GB"_s);
        QCOMPARE(text(u"ramGraph"_s, u"percentText"_s), u"44%"_s); // 7 of 16
        QCOMPARE(text(u"ramGraph"_s, u"totalText"_s), u"16 GB"_s);

        // One value draws no line and no area; the second sample draws both, in one picture.
        ChartPlot *chart = memoryChart();
        QVERIFY(chart);
        auto *line = chart->findChild<ChartSeries *>(u"line"_s);
        auto *area = chart->findChild<ChartSeries *>(u"area"_s);
        QVERIFY(line && area);
        QCOMPARE(line->kind(), ChartSeries::Kind::Line);
        QCOMPARE(area->kind(), ChartSeries::Kind::Area);
        QVERIFY(chart->picture().image.isNull());
        m_clock->advance(1000ms);
        QCOMPARE(line->values(), m_monitor->ramHistory());
        QCOMPARE(area->values(), m_monitor->ramHistory());
        QCOMPARE(line->maxValue(), 100.0);
        QTRY_VERIFY(!chart->picture().image.isNull());
        const ChartPlot::Picture expected =
            ChartPlot::paint({area->snapshot(), line->snapshot()}, chart->size(),
                             m_window->effectiveDevicePixelRatio());
        QCOMPARE(chart->picture().rect, expected.rect);
        QCOMPARE(chart->picture().image, expected.image);
    }

    // The memory panel holds its layer while its chart is painted after a sample, and lets go
    // once the new chart is shown: figures and chart reach the screen in one redrawing.
    void panelWaitsForItsChart()
    {
        m_monitor->startMonitoring();
        ChartPlot *chart = memoryChart();
        CachedLayer *layer = cachedLayer(u"liveGraphLayer"_s);
        QVERIFY(chart && layer);
        QVERIFY(!layer->isHeld());
        QList<std::pair<bool, bool>> heldWithChart; // (held, chart shown) at each change
        connect(layer, &CachedLayer::heldChanged, this, [&] {
            heldWithChart.append({layer->isHeld(), !chart->picture().image.isNull()});
        });
        m_clock->advance(1000ms);
        QTRY_COMPARE(heldWithChart.size(), 2);
        QCOMPARE(heldWithChart.at(0), std::make_pair(true, false));
        QCOMPARE(heldWithChart.at(1), std::make_pair(false, true));
        disconnect(layer, &CachedLayer::heldChanged, this, nullptr);
    }

    // The memory figures below the chart wait for it too: they change in the same redrawing.
    void memoryFiguresWaitForTheMemoryChart()
    {
        m_monitor->startMonitoring();
        ChartPlot *chart = memoryChart();
        CachedLayer *layer = cachedLayer(u"quickStatsLayer"_s);
        QVERIFY(chart && layer);
        QCOMPARE(chart->batchInterval(), 250);
        QVERIFY(!layer->isHeld());
        m_memory->next = {16 * GiB, 5 * GiB, 2 * GiB, 1 * GiB, 0, 0};
        m_clock->advance(1000ms);
        QVERIFY(layer->isHeld());
        QCOMPARE(text(u"activeCard"_s, u"value"_s), u"5.0 GB"_s);
        QTRY_VERIFY(!layer->isHeld());
        QVERIFY(!chart->picture().image.isNull());
    }

    void emptyCardInvitesARefresh()
    {
        QQuickItem *empty = item(u"emptyText"_s);
        QVERIFY(empty);
        QCOMPARE(empty->property("text").toString(), u"No devices found - tap refresh"_s);
        QVERIFY(rows().isEmpty());

        // Nothing reports: the card stays empty.
        QuickDriver driver(m_window.get());
        driver.click(item(u"refreshButton"_s));
        QTRY_COMPARE(m_batteries->reads, 1);
        QVERIFY(item(u"emptyText"_s));
    }

    // Every level band of the table, and a device that reports no level: the symbol steps at
    // 25, 50 and 75, the colour at 20 and 50.
    void refreshFillsOneRowPerDevice()
    {
        struct Row {
            int level;
            char16_t glyph; // the symbol font's code point
            const char *symbolColour;
            const char *text;
            const char *textColour;
        };
        const char *green = "#ff00ff88";
        const char *orange = "#ffff9f0a";
        const char *red = "#ffff453a";
        const char *secondary = "#b3ffffff";
        const QList<Row> expected{
            {-1, 0xe86c, green, "Connected", secondary}, // checkmark.circle.fill
            {19, 0xebe0, red, "19%", red},               // battery.25
            {20, 0xebe0, orange, "20%", orange},         // battery.25
            {24, 0xebe0, orange, "24%", orange},         // battery.25
            {25, 0xebdd, orange, "25%", orange},         // battery.50
            {49, 0xebdd, orange, "49%", orange},         // battery.50
            {50, 0xebd4, green, "50%", green},           // battery.75
            {74, 0xebd4, green, "74%", green},           // battery.75
            {75, 0xe1a4, green, "75%", green},           // battery.100
        };
        for (const Row &row : expected) {
            m_batteries->batteries.append({u"Device %1"_s.arg(row.level), row.level});
        }
        QuickDriver driver(m_window.get());
        driver.click(item(u"refreshButton"_s));
        QTRY_COMPARE(rows().size(), expected.size());
        QVERIFY(!item(u"emptyText"_s));

        const QList<QQuickItem *> shown = rows();
        for (qsizetype i = 0; i < expected.size(); ++i) {
            const Row &row = expected.at(i);
            QQuickItem *symbol = QuickDriver::itemIn(shown.at(i), u"levelSymbol"_s);
            QQuickItem *name = QuickDriver::itemIn(shown.at(i), u"deviceName"_s);
            QQuickItem *levelText = QuickDriver::itemIn(shown.at(i), u"levelText"_s);
            const QByteArray where = QByteArray::number(row.level);
            QCOMPARE(name->property("text").toString(), u"Device %1"_s.arg(row.level));
            QVERIFY2(symbol->property("text").toString() == QString(QChar(row.glyph)),
                     where.constData());
            QCOMPARE(symbol->property("color").value<QColor>().name(QColor::HexArgb),
                     QLatin1String(row.symbolColour));
            QCOMPARE(levelText->property("text").toString(), QLatin1String(row.text));
            QCOMPARE(levelText->property("color").value<QColor>().name(QColor::HexArgb),
                     QLatin1String(row.textColour));
        }

        // An empty answer clears the list again.
        m_batteries->batteries.clear();
        driver.click(item(u"refreshButton"_s));
        QTRY_VERIFY(rows().isEmpty());
        QVERIFY(item(u"emptyText"_s));
    }
};

KV_TEST_MAIN(TestDashboard)
#include "tst_dashboard.moc"
