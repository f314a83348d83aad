#include "FakeNetwork.h"
#include "LocalHttpServer.h"
#include "ManualClock.h"
#include "QuickDriver.h"
#include "TestEnvironment.h"
#include "TestWindow.h"
#include "telemetry/NetworkMonitor.h"
#include "ui/ChartPlot.h"
#include "ui/IconMap.h"

#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

#include <memory>
#include <mutex>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using platform::PathStatus;

// The network panel loaded offscreen on a monitor with fake counters, path and tools,
// its public-IP record and speed test served locally.
class TestNetworkPanel : public QObject {
    Q_OBJECT

private:
    std::mutex m_lock;
    LocalHttpServer::Response m_download;
    std::unique_ptr<LocalHttpServer> m_server;
    std::unique_ptr<ManualClock> m_clock;
    std::unique_ptr<FakeNetwork> m_fake;
    std::unique_ptr<NetworkMonitor> m_monitor;
    std::unique_ptr<QQmlEngine> m_engine;
    std::unique_ptr<QQuickWindow> m_window;
    std::unique_ptr<QuickDriver> m_driver;

    void createMonitor()
    {
        m_monitor = std::make_unique<NetworkMonitor>(
            m_fake->parts(m_server->url(), m_server->url()), *m_clock);
    }

    bool loadPanel()
    {
        QQuickWindow *window =
            TestWindow::load(m_engine, m_window, R"(
            Window {
                id: window
                required property NetworkMonitor monitor
                width: 640
                height: 420
                color: AppColors.deepNavy
                NetworkPanel {
                    objectName: "panel"
                    x: 16; y: 16; width: 600
                    networkMonitor: window.monitor
                }
            })",
                             {{u"monitor"_s, QVariant::fromValue(m_monitor.get())}});
        if (!window) {
            return false;
        }
        m_driver = std::make_unique<QuickDriver>(window);
        return true;
    }

    static void settle()
    {
        for (int i = 0; i < 5; ++i) {
            QCoreApplication::processEvents();
        }
    }

    void sample(quint64 received, quint64 sent)
    {
        m_fake->setLinks({{u"eth0"_s, received, sent}});
        m_clock->advance(1000ms);
        settle();
    }

    [[nodiscard]] QString textOf(const QString &objectName) const
    {
        QQuickItem *item = m_driver->item(objectName);
        return item ? item->property("text").toString() : u"<hidden>"_s;
    }

private Q_SLOTS:
    void init()
    {
        m_server = std::make_unique<LocalHttpServer>([this](const QByteArray &target) {
            if (target.startsWith("/json/")) {
                LocalHttpServer::Response record;
                record.body = R"({"org":"AS64500 Example Networks","city":"Lyon",)"
                              R"("country_name":"France","ip":"203.0.113.7"})";
                return record;
            }
            const std::lock_guard guard(m_lock);
            return m_download;
        });
        m_clock = std::make_unique<ManualClock>();
        m_fake = std::make_unique<FakeNetwork>();
    }

    void cleanup()
    {
        m_driver.reset();
        m_window.reset();
        m_engine.reset();
        settle();
        m_monitor.reset();
        m_server.reset();
        m_fake.reset();
        m_clock.reset();
    }

    // Appearing with an empty history starts the monitor; the chart waits for two samples.
    void appearingStartsTheMonitorAndCollectsData()
    {
        createMonitor();
        m_fake->setLinks({{u"eth0"_s, 0, 0}});
        QVERIFY(loadPanel());
        QCOMPARE(m_fake->counters->linkCalls, 1);
        QTRY_VERIFY(m_fake->path->started());
        QVERIFY(m_driver->text(u"Collecting data..."_s));
        QVERIFY(!m_driver->item(u"chart"_s));

        sample(2048, 512);
        QCOMPARE(m_monitor->downloadHistory().size(), 1);
        QVERIFY(m_driver->text(u"Collecting data..."_s));
        QCOMPARE(textOf(u"downloadReadoutValue"_s), u"2.0 KB/s"_s);
        QCOMPARE(textOf(u"uploadReadoutValue"_s), u"512 B/s"_s);

        sample(2048 + 3 * 1'048'576, 1024);
        QVERIFY(!m_driver->text(u"Collecting data..."_s));
        QVERIFY(m_driver->item(u"chart"_s));
        auto *chart = qobject_cast<ChartPlot *>(m_driver->item(u"chart"_s));
        QVERIFY(chart);
        const auto *line = chart->findChild<ChartSeries *>(u"downloadLine"_s);
        QVERIFY(line);
        QCOMPARE(line->kind(), ChartSeries::Kind::Line);
        QCOMPARE(line->maxValue(), std::max(3.0 * 1'048'576 * 1.3, 3.0 * 1'048'576 * 1.5));
        // Smoothed with a window of 3: the second point is the mean of the two samples.
        QCOMPARE(line->values(), QList<double>({2048.0, (2048.0 + 3 * 1'048'576) / 2}));
        // Back to front: both areas, then both lines.
        const QList<ChartSeries *> layers = chart->findChildren<ChartSeries *>();
        QStringList names;
        for (const ChartSeries *layer : layers) {
            names.append(layer->objectName());
        }
        QCOMPARE(names, QStringList({u"downloadArea"_s, u"uploadArea"_s, u"downloadLine"_s,
                                     u"uploadLine"_s}));
        QCOMPARE(layers.at(1)->color(), layers.at(3)->color());
        QCOMPARE(layers.at(1)->kind(), ChartSeries::Kind::Area);
        QTRY_VERIFY(!chart->picture().image.isNull());
    }

    // A returning user's two sampling streams, the panel's a little behind the start-up's: the
    // two samples of each second reach the chart as one picture.
    void twoStreamsArePaintedOnce()
    {
        createMonitor();
        m_fake->setLinks({{u"eth0"_s, 0, 0}});
        m_monitor->startMonitoring();
        m_clock->advance(40ms);
        QVERIFY(loadPanel());
        QCOMPARE(m_fake->counters->linkCalls, 2);
        const auto bothStreams = [this](quint64 received) {
            m_fake->setLinks({{u"eth0"_s, received, received / 2}});
            m_clock->advance(960ms);
            settle();
            m_fake->setLinks({{u"eth0"_s, received + 4096, received / 2 + 1024}});
            m_clock->advance(40ms);
            settle();
        };
        bothStreams(10'000);
        auto *chart = qobject_cast<ChartPlot *>(m_driver->item(u"chart"_s));
        QVERIFY(chart);
        QCOMPARE(chart->batchInterval(), 250);
        QTRY_VERIFY(!chart->picture().image.isNull());
        QTRY_VERIFY(!chart->isRepainting());

        QSignalSpy painted(chart, &ChartPlot::pictureChanged);
        bothStreams(50'000);
        QCOMPARE(m_monitor->downloadHistory().size(), 4);
        QVERIFY(painted.wait(10'000));
        QTest::qWait(400);
        QCOMPARE(painted.size(), 1);
        QList<ChartSeries::Snapshot> layers;
        for (const ChartSeries *layer : chart->findChildren<ChartSeries *>()) {
            QCOMPARE(layer->values().size(), 4);
            layers.append(layer->snapshot());
        }
        QCOMPARE(
            chart->picture().image,
            ChartPlot::paint(layers, chart->size(), m_window->effectiveDevicePixelRatio()).image);
    }

    // A panel appearing after samples exist does not start the monitor again.
    void appearingWithHistoryStartsNothing()
    {
        createMonitor();
        m_fake->setLinks({{u"eth0"_s, 0, 0}});
        m_monitor->startMonitoring();
        sample(100, 100);
        const int calls = m_fake->counters->linkCalls;
        QVERIFY(loadPanel());
        QCOMPARE(m_fake->counters->linkCalls, calls);
        sample(200, 200);
        QCOMPARE(m_monitor->sampleCount(), 2);
    }

    void connectionIconFollowsThePath_data()
    {
        QTest::addColumn<int>("medium");
        QTest::addColumn<QString>("symbol");
        QTest::newRow("Wi-Fi") << int(PathStatus::Medium::WiFi) << u"wifi"_s;
        QTest::newRow("Ethernet") << int(PathStatus::Medium::Ethernet) << u"cable.connector"_s;
        QTest::newRow("cellular") << int(PathStatus::Medium::Cellular)
                                  << u"antenna.radiowaves.left.and.right"_s;
        QTest::newRow("other") << int(PathStatus::Medium::Other) << u"wifi.slash"_s;
    }

    void connectionIconFollowsThePath()
    {
        QFETCH(int, medium);
        QFETCH(QString, symbol);
        m_fake->probes->wifiName = u"HomeNet"_s;
        createMonitor();
        QVERIFY(loadPanel());
        QCOMPARE(textOf(u"connectionName"_s), u"Not Connected"_s);
        m_fake->path->report({true, PathStatus::Medium(medium), u"wlan0"_s});
        QTRY_COMPARE(m_driver->item(u"connectionIcon"_s)->property("symbol").toString(), symbol);
        QCOMPARE(m_driver->item(u"connectionIcon"_s)->property("text").toString(),
                 IconMap::glyph(symbol));
        if (medium == int(PathStatus::Medium::WiFi)) {
            m_clock->advance(2000ms);
            QTRY_COMPARE(textOf(u"connectionName"_s), u"HomeNet"_s);
        }
    }

    void identityRowShowsTheRecord()
    {
        createMonitor();
        QVERIFY(loadPanel());
        QTRY_COMPARE(textOf(u"ispName"_s), u"AS64500"_s);
        QCOMPARE(textOf(u"location"_s), u"Lyon, France"_s);
        QVERIFY(m_driver->text(u"•"_s));
    }

    // The button starts the test; a spinner and the progress replace it; the result follows.
    void speedTestFromTheButton()
    {
        LocalHttpServer::Response body;
        body.generatedBytes = NetworkMonitor::speedTestBytes;
        body.bytesPerSecond = 40'000'000;
        {
            const std::lock_guard guard(m_lock);
            m_download = body;
        }
        createMonitor();
        QVERIFY(loadPanel());
        QVERIFY(!m_driver->item(u"speedTestSpinner"_s));
        QVERIFY(!m_driver->item(u"speedTestResult"_s));
        m_driver->click(m_driver->item(u"speedTestButton"_s));
        QVERIFY(m_monitor->isRunningSpeedTest());
        QVERIFY(m_driver->item(u"speedTestSpinner"_s));
        QVERIFY(!m_driver->item(u"speedTestButton"_s));
        QVERIFY(m_driver->item(u"speedTestProgress"_s));
        QTRY_COMPARE(textOf(u"speedTestPercent"_s), u"30%"_s);

        QTRY_COMPARE_WITH_TIMEOUT(m_monitor->speedTestProgress(), 1.0, 10'000);
        QCOMPARE(textOf(u"speedTestPercent"_s), u"100%"_s);
        m_clock->advance(1000ms);
        settle();
        QVERIFY(m_driver->item(u"speedTestButton"_s));
        QVERIFY(!m_driver->item(u"speedTestSpinner"_s));
        QVERIFY(m_driver->item(u"speedTestResult"_s));
        QCOMPARE(textOf(u"speedTestValue"_s),
                 NetworkMonitor::formatMbps(m_monitor->speedTestDownloadMbps()));
        QVERIFY(textOf(u"speedTestValue"_s).endsWith(u" Mbps"_s));
    }
};

KV_TEST_MAIN(TestNetworkPanel)
#include "tst_networkpanel.moc"
