#include "FakeAccessoryBatteries.h"
#include "FakeDiskScanner.h"
#include "FakeMemoryCounters.h"
#include "FakeNetwork.h"
#include "FakeOptimizerPlatform.h"
#include "FakePing.h"
#include "LocalHttpServer.h"
#include "ManualClock.h"
#include "QuickDriver.h"
#include "TestEnvironment.h"
#include "TestWindow.h"
#include "cleaner/CleanerRules.h"
#include "optimizer/SystemOptimizer.h"
#include "telemetry/NetworkMonitor.h"
#include "telemetry/SystemMonitor.h"

#include <QFontMetricsF>
#include <QGuiApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QStandardPaths>
#include <QTest>

#include <functional>
#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// Every text item below the root, shown or not; popups are included, as they live in the
/// window's overlay below its content item.
QList<QQuickItem *> textItems(QQuickItem *root)
{
    QList<QQuickItem *> found;
    const std::function<void(QQuickItem *)> visit = [&](QQuickItem *item) {
        if (item->inherits("QQuickText")) {
            found.append(item);
        }
        const QList<QQuickItem *> children = item->childItems();
        for (QQuickItem *child : children) {
            visit(child);
        }
    };
    visit(root);
    return found;
}

FileItem fileItem(const QString &name, const QString &path, QStringList reasons)
{
    FileItem file;
    file.name = name;
    file.path = path;
    file.size = 300 * 1'048'576LL;
    file.sizeFormatted = CleanerRules::formatSize(file.size);
    file.type = u"cleanup"_s;
    file.recommended = true;
    file.reasons = std::move(reasons);
    return file;
}

} // namespace

// Names the program does not choose (a Wi-Fi name, a window's class, an accessory's name, a file
// name, a helper's message, the public-IP record) reach the screens as they are: markup in them is
// never interpreted, so an image tag fetches nothing and the whole name is shown. A local server
// stands where the image tags point and counts what reaches it.
class TestHostileText : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<LocalHttpServer> m_server;
    std::unique_ptr<ManualClock> m_clock;
    std::unique_ptr<SystemOptimizer> m_optimizer;
    FakePrivilegedRunner *m_privileged = nullptr;
    std::unique_ptr<FakeNetwork> m_network;
    std::unique_ptr<NetworkMonitor> m_networkMonitor;
    std::unique_ptr<SystemMonitor> m_monitor;
    FakeAccessoryBatteries *m_batteries = nullptr;
    std::unique_ptr<FakeDiskScanner> m_scanner;
    std::unique_ptr<QQmlEngine> m_engine;
    std::unique_ptr<QQuickWindow> m_window;
    std::unique_ptr<QuickDriver> m_driver;

    /// A name that, read as markup, is an image fetched from the local server, then the tag.
    [[nodiscard]] QString hostile(const QString &tag) const
    {
        return u"<img src=\""_s + m_server->url().toString() + u"/hostile/"_s + tag + u"\">"_s +
               tag;
    }

    /// The same, with the slashes a file name cannot hold written as character references.
    [[nodiscard]] QString hostileFileName(const QString &tag) const
    {
        return QString(hostile(tag)).replace(u'/', u"&#47;"_s);
    }

    bool load(const QByteArray &document, const QVariantMap &properties)
    {
        if (!TestWindow::load(m_engine, m_window, document, properties)) {
            return false;
        }
        m_driver = std::make_unique<QuickDriver>(m_window.get());
        return true;
    }

    [[nodiscard]] QString textOf(const QString &objectName) const
    {
        QQuickItem *item = m_driver->item(objectName);
        return item ? item->property("text").toString() : u"<missing>"_s;
    }

    // Every text item that holds markup shows it as plain text, laid out whole; each expected
    // text is among them.
    void verifyShownAsText(const QStringList &expected)
    {
        QStringList shown;
        for (QQuickItem *item : textItems(m_window->contentItem())) {
            const QString text = item->property("text").toString();
            if (!text.contains(u"<img"_s)) {
                continue;
            }
            const QString where = item->objectName() + u": "_s + text;
            QVERIFY2(item->property("textFormat").toInt() == Qt::PlainText, qPrintable(where));
            // As markup, the tag would be an image and only the text after it would be laid out.
            const QFontMetricsF metrics(item->property("font").value<QFont>());
            QVERIFY2(item->implicitWidth() >= 0.9 * metrics.horizontalAdvance(text),
                     qPrintable(where));
            shown.append(text);
        }
        for (const QString &text : expected) {
            QVERIFY2(shown.contains(text), qPrintable(text));
        }
    }

    // Gives a fetch that a text started time to arrive, then checks that none did.
    void verifyNothingFetched()
    {
        QTest::qWait(300);
        QCOMPARE(m_server->requestCount("/hostile"), 0);
    }

    void makeOptimizer(QList<platform::RunningApplication> running)
    {
        FakeOptimizerPlatform fakes;
        m_optimizer = std::make_unique<SystemOptimizer>(*m_clock, fakes.parts(std::move(running)));
        m_privileged = fakes.privileged;
    }

private Q_SLOTS:
    void init()
    {
        m_server = std::make_unique<LocalHttpServer>([this](const QByteArray &target) {
            LocalHttpServer::Response response;
            if (target.startsWith("/json/")) {
                response.body =
                    QJsonDocument(QJsonObject{{u"org"_s, hostile(u"isp"_s)},
                                              {u"city"_s, hostile(u"city"_s)},
                                              {u"country_name"_s, hostile(u"country"_s)},
                                              {u"ip"_s, u"203.0.113.7"_s}})
                        .toJson(QJsonDocument::Compact);
            } else {
                // What an image tag would fetch; counted, and not there.
                response.status = 404;
            }
            return response;
        });
        QVERIFY(m_server->isListening());
        m_clock = std::make_unique<ManualClock>();
    }

    void cleanup()
    {
        m_driver.reset();
        m_window.reset();
        m_engine.reset();
        QCoreApplication::processEvents();
        m_scanner.reset();
        m_optimizer.reset();
        m_networkMonitor.reset();
        m_network.reset();
        m_monitor.reset();
        m_server.reset();
        m_clock.reset();
    }

    // A window class is enough to name a game: opening the picker lists it, choosing it shows it,
    // and Game Mode's result and report name it, all as text.
    void gamePicker()
    {
        const QString game = hostile(u"game"_s);
        makeOptimizer({{501, game, u"x-game"_s, true}});
        QVERIFY(load("Window {\n id: root\n width: 1000\n height: 1100\n"
                     " required property SystemOptimizer optimizer\n"
                     " OptimizersView { anchors.fill: parent; optimizer: root.optimizer }\n}",
                     {{u"optimizer"_s, QVariant::fromValue(m_optimizer.get())}}));
        QQuickItem *picker = m_driver->item(u"gamePicker"_s);
        QVERIFY(picker);
        QTRY_COMPARE(picker->property("count").toInt(), 2);

        m_driver->click(picker);
        auto *popup = picker->property("popup").value<QObject *>();
        QVERIFY(popup);
        QTRY_VERIFY(popup->property("opened").toBool());
        QTRY_VERIFY(m_driver->text(game));
        verifyShownAsText({game});
        verifyNothingFetched();

        m_driver->click(m_driver->text(game));
        QTRY_VERIFY(!popup->property("visible").toBool());
        QCOMPARE(picker->property("currentText").toString(), game);
        verifyShownAsText({game});

        m_driver->click(m_driver->item(u"gameModeButton"_s));
        QTRY_VERIFY(m_driver->item(u"boostResult"_s));
        QTRY_VERIFY(m_driver->item(u"reportView"_s));
        QVERIFY(textOf(u"boostResult"_s).contains(u"Raised priority for "_s + game));
        verifyShownAsText({game, u"Raised priority for "_s + game});
        verifyNothingFetched();
    }

    // The helper's one line of error text is shown where the action reports.
    void helperMessages()
    {
        makeOptimizer({});
        QVERIFY(load("Window {\n id: root\n width: 1000\n height: 1100\n"
                     " required property SystemOptimizer optimizer\n"
                     " OptimizersView { anchors.fill: parent; optimizer: root.optimizer }\n}",
                     {{u"optimizer"_s, QVariant::fromValue(m_optimizer.get())}}));
        const QString message = hostile(u"helper"_s);
        m_privileged->answer = [message](const QStringList &) {
            return platform::PrivilegedOutcome{false, message};
        };
        m_driver->click(m_driver->item(u"provider_Google"_s));
        QTRY_COMPARE(textOf(u"dnsStatus"_s), message);
        m_driver->click(m_driver->item(u"purgeTile"_s));
        QTRY_COMPARE(m_privileged->calls.size(), 2);
        QCoreApplication::processEvents();
        m_clock->advance(SystemOptimizer::purgeSettleTime);
        QTRY_COMPARE(textOf(u"toolsStatus"_s), message);
        QTRY_VERIFY(m_driver->item(u"reportView"_s));
        verifyShownAsText({message});
        verifyNothingFetched();
    }

    // A Wi-Fi name and the public-IP record come from whoever runs the network.
    void networkNames()
    {
        m_network = std::make_unique<FakeNetwork>();
        m_network->probes->wifiName = hostile(u"wifi"_s);
        m_networkMonitor = std::make_unique<NetworkMonitor>(
            m_network->parts(m_server->url(), m_server->url()), *m_clock);
        QVERIFY(load("Window {\n id: root\n width: 640\n height: 420\n"
                     " required property NetworkMonitor monitor\n"
                     " NetworkPanel { x: 16; y: 16; width: 600; networkMonitor: root.monitor }\n}",
                     {{u"monitor"_s, QVariant::fromValue(m_networkMonitor.get())}}));
        m_network->path->report({true, platform::PathStatus::Medium::WiFi, u"wlan0"_s});
        QTRY_COMPARE(m_networkMonitor->connectionType(), u"WiFi"_s);
        m_clock->advance(2000ms);
        QTRY_COMPARE(textOf(u"connectionName"_s), hostile(u"wifi"_s));
        QTRY_COMPARE(textOf(u"location"_s), hostile(u"city"_s) + u", "_s + hostile(u"country"_s));
        verifyShownAsText(
            {hostile(u"wifi"_s), hostile(u"city"_s) + u", "_s + hostile(u"country"_s)});
        verifyNothingFetched();
    }

    // An accessory names itself.
    void deviceNames()
    {
        auto batteries = std::make_unique<FakeAccessoryBatteries>();
        m_batteries = batteries.get();
        m_batteries->batteries = {{hostile(u"mouse"_s), 80}};
        m_monitor =
            std::make_unique<SystemMonitor>(*m_clock, std::make_unique<FakeMemoryCounters>(),
                                            std::make_unique<FakePing>(), std::move(batteries));
        QVERIFY(load("Window {\n id: root\n width: 640\n height: 420\n"
                     " required property SystemMonitor monitor\n"
                     " PeripheralCard { x: 16; y: 16; width: 600; monitor: root.monitor }\n}",
                     {{u"monitor"_s, QVariant::fromValue(m_monitor.get())}}));
        m_driver->click(m_driver->item(u"refreshButton"_s));
        QTRY_COMPARE(textOf(u"deviceName"_s), hostile(u"mouse"_s));
        verifyShownAsText({hostile(u"mouse"_s)});
        verifyNothingFetched();
    }

    // Anyone who can write a shared folder names the files found there, and an application's
    // desktop entry names the application.
    void fileNames()
    {
        m_scanner = std::make_unique<FakeDiskScanner>(DiskScanner::Dependencies{});
        const QString file = hostileFileName(u"file"_s);
        const QString app = hostile(u"app"_s);
        m_scanner->setHeavyApps({fileItem(app, u"/opt/app"_s, {})});
        m_scanner->setHeavyMedia({fileItem(file, u"/tmp/"_s + file, {})});
        QVERIFY(load("Window {\n id: root\n width: 1000\n height: 700\n"
                     " required property DiskScanner scanner\n"
                     " CleanerView { anchors.fill: parent; scanner: root.scanner }\n}",
                     {{u"scanner"_s, QVariant::fromValue<DiskScanner *>(m_scanner.get())}}));
        QTRY_VERIFY(m_driver->text(app));
        verifyShownAsText({app, file});
        verifyNothingFetched();

        m_scanner->setRecommendations(
            {fileItem(file, u"/tmp/"_s + file, {u"Temporary file"_s, hostile(u"reason"_s)})});
        QTRY_VERIFY(m_driver->item(u"recommendationsSection"_s));
        verifyShownAsText({file, u"Temporary file, "_s + hostile(u"reason"_s)});
        verifyNothingFetched();
    }
};

KV_TEST_MAIN(TestHostileText)
#include "tst_hostiletext.moc"
