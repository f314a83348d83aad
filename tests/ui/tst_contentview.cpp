#include "FakeNetwork.h"
#include "ManualClock.h"
#include "QuickDriver.h"
#include "TestAnimationDriver.h"
#include "TestEnvironment.h"
#include "TestFiles.h"
#include "app/AppContext.h"
#include "cleaner/DiskScanner.h"
#include "core/AppStateManager.h"
#include "core/SettingsStore.h"
#include "telemetry/SystemMonitor.h"

#include <QFileInfo>
#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

// The real window, loaded offscreen and operated through its controls.
class TestContentView : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<ManualClock> m_clock;
    std::unique_ptr<FakeNetwork> m_network; ///< the network monitor's parts: no real network
    std::unique_ptr<AppContext> m_context;
    std::unique_ptr<QQmlEngine> m_engine;
    std::unique_ptr<QQuickWindow> m_window;
    std::unique_ptr<QuickDriver> m_driver;

    [[nodiscard]] QString recordPath(const QString &name) const { return m_folder->filePath(name); }

    [[nodiscard]] QByteArray record(const QString &name) const
    {
        return TestFiles::read(recordPath(name));
    }

    void writeRecord(const QString &name, const QByteArray &bytes) const
    {
        QVERIFY(TestFiles::write(recordPath(name), bytes));
    }

    void openWindow()
    {
        m_context =
            std::make_unique<AppContext>(m_folder->path(), *m_clock, nullptr, m_network->parts());
        m_engine = std::make_unique<QQmlEngine>();
        m_window.reset(m_context->createWindow(*m_engine));
        QVERIFY(m_window);
        m_driver = std::make_unique<QuickDriver>(m_window.get());
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        QTRY_VERIFY(m_context->hasBootstrapped());
    }

    void openWorkingLayout()
    {
        writeRecord(u"config.json"_s, R"({"firstRunComplete":true,"installDate":1})");
        openWindow();
        QTRY_VERIFY(m_driver->item(u"screenTabBar"_s));
    }

    [[nodiscard]] QStringList selectedTabs() const
    {
        QStringList selected;
        for (const QString &title :
             {u"Dashboard"_s, u"Optimizers"_s, u"Cleaner"_s, u"Settings"_s}) {
            QQuickItem *tab = m_driver->item(u"tab"_s + title);
            if (tab && tab->property("selected").toBool()) {
                selected.append(title);
            }
        }
        return selected;
    }

    [[nodiscard]] QQuickItem *toggleButton(const QString &toggle) const
    {
        return QuickDriver::itemIn(m_driver->item(toggle), u"toggleButton"_s);
    }

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_clock = std::make_unique<ManualClock>(QDateTime::fromMSecsSinceEpoch(1'795'240'604'978));
        m_network = std::make_unique<FakeNetwork>();
    }

    void cleanup()
    {
        m_driver.reset();
        m_window.reset();
        m_engine.reset();
        m_context.reset();
        m_clock.reset();
        m_network.reset();
        m_folder.reset();
    }

    void windowHasItsMinimumSize()
    {
        openWindow();
        QCOMPARE(m_window->minimumSize(), QSize(1000, 650));
        QVERIFY(m_window->width() >= 1000);
        QVERIFY(m_window->height() >= 650);
        QCOMPARE(m_window->title(), u"Kestrelvanta"_s);
    }

    // Until the start-up state is known only the background is drawn: a returning user must not
    // glimpse the welcome screen in the first frame.
    void nothingButTheBackgroundBeforeTheBootstrap()
    {
        QVERIFY(TestFiles::write(recordPath(u"config.json"_s),
                                 R"({"firstRunComplete":true,"installDate":1})"));
        m_context =
            std::make_unique<AppContext>(m_folder->path(), *m_clock, nullptr, m_network->parts());
        m_engine = std::make_unique<QQmlEngine>();
        m_window.reset(m_context->createWindow(*m_engine));
        QVERIFY(m_window);
        m_driver = std::make_unique<QuickDriver>(m_window.get());
        QCOMPARE(m_window->property("bootstrapped").toBool(), false);
        QCOMPARE(m_driver->anyItem(u"welcomeLoader"_s)->property("active").toBool(), false);
        QCOMPARE(m_driver->anyItem(u"workingLayoutLoader"_s)->property("active").toBool(), false);

        m_window->show();
        QTRY_VERIFY(m_window->property("bootstrapped").toBool());
        QCOMPARE(m_driver->anyItem(u"welcomeLoader"_s)->property("active").toBool(), false);
        QCOMPARE(m_driver->anyItem(u"workingLayoutLoader"_s)->property("active").toBool(), true);
    }

    void firstRunShowsTheWelcomeScreen()
    {
        openWindow();
        QCOMPARE(m_context->stateManager()->currentState(), AppScreenState::Setup);
        QCOMPARE(m_context->systemMonitor()->monitorTimer(), nullptr);
        QVERIFY(m_driver->item(u"getStartedButton"_s));
        QVERIFY(m_driver->text(u"Get Started"_s));
        QCOMPARE(m_driver->item(u"welcomeTitle"_s)->property("text").toString(),
                 u"Welcome to KESTRELVANTA"_s);
        QVERIFY(!m_driver->item(u"screenTabBar"_s));
    }

    void getStartedCompletesTheFirstRunAndOpensTheDashboard()
    {
        openWindow();
        // A synthesized mouse click also runs the event loop, so trigger the button's action
        // directly to see the state before the deferred change lands.
        QVERIFY(QMetaObject::invokeMethod(m_driver->item(u"getStartedButton"_s), "clicked"));

        // The record is written at once; the state changes one turn of the event loop later.
        QCOMPARE(record(u"config.json"_s),
                 QByteArray(R"({"firstRunComplete":true,"installDate":1795240604.978})"));
        QCOMPARE(m_context->stateManager()->currentState(), AppScreenState::Setup);
        // The system monitor starts with the press; the network monitor is left to its panel.
        QVERIFY(m_context->systemMonitor()->monitorTimer());
        QCOMPARE(m_context->systemMonitor()->ramHistory().size(), 1);
        QTRY_COMPARE(m_context->stateManager()->currentState(), AppScreenState::Dashboard);
        QCOMPARE(m_context->stateManager()->transitionDuration(), 500);

        QTRY_VERIFY(m_driver->item(u"screenTabBar"_s));
        QCOMPARE(selectedTabs(), QStringList{u"Dashboard"_s});
        QTRY_VERIFY(!m_driver->item(u"getStartedButton"_s));
        // The network monitor was not started by "Get Started": its panel started it once.
        QTRY_VERIFY(m_driver->item(u"networkPanel"_s));
        QCOMPARE(m_network->counters->linkCalls, 1);
    }

    // A returning user's bootstrap starts the network monitor, and the dashboard's panel, finding
    // no sample yet, starts it a second time.
    void returningUserStartsTheNetworkMonitorTwice()
    {
        openWorkingLayout();
        QTRY_VERIFY(m_driver->item(u"networkPanel"_s));
        QCOMPARE(m_network->counters->linkCalls, 2);
        QVERIFY(m_driver->text(u"Collecting data..."_s));
    }

    void welcomeCrossFadesIntoTheWorkingLayout()
    {
        openWindow();
        TestAnimationDriver time;
        m_driver->click(m_driver->item(u"getStartedButton"_s));
        QTRY_COMPARE(m_context->stateManager()->currentState(), AppScreenState::Dashboard);

        QQuickItem *welcome = m_driver->anyItem(u"welcomeLoader"_s);
        QQuickItem *layout = m_driver->anyItem(u"workingLayoutLoader"_s);
        QVERIFY(welcome);
        QVERIFY(layout);
        time.step(250);
        // Half way through an ease-in-out both layouts are half visible.
        QVERIFY(qAbs(welcome->opacity() - 0.5) < 0.1);
        QVERIFY(qAbs(layout->opacity() - 0.5) < 0.1);
        time.step(300);
        QCOMPARE(welcome->opacity(), 0.0);
        QCOMPARE(layout->opacity(), 1.0);
    }

    void pressingGetStartedTwiceKeepsTheInstallDate()
    {
        openWindow();
        QQuickItem *button = m_driver->item(u"getStartedButton"_s);
        m_driver->click(button);
        const QByteArray first = record(u"config.json"_s);
        // Mark the file so that the second write shows; a later clock must not change the date.
        writeRecord(u"config.json"_s, R"({"firstRunComplete":false,"installDate":1795240604.978})");
        m_clock->advance(std::chrono::seconds(30));
        m_driver->click(button);
        QCOMPARE(record(u"config.json"_s), first);
        QTRY_COMPARE(m_context->stateManager()->currentState(), AppScreenState::Dashboard);
        QTRY_VERIFY(m_driver->item(u"screenTabBar"_s));
    }

    void returningUserOpensOnTheDashboardTabAtOnce()
    {
        openWorkingLayout();
        QCOMPARE(m_context->stateManager()->transitionDuration(), 0);
        QCOMPARE(m_driver->item(u"workingLayoutLoader"_s)->opacity(), 1.0);
        QVERIFY(!m_driver->item(u"welcomeLoader"_s));
        QCOMPARE(selectedTabs(), QStringList{u"Dashboard"_s});
    }

    void exactlyOneTabIsHighlightedAndItsScreenShown()
    {
        openWorkingLayout();
        const QList<std::pair<QString, QString>> screens{{u"Settings"_s, u"generalPanel"_s},
                                                         {u"Optimizers"_s, QString()},
                                                         {u"Cleaner"_s, QString()},
                                                         {u"Dashboard"_s, QString()},
                                                         {u"Settings"_s, u"aboutPanel"_s}};
        for (const auto &[title, marker] : screens) {
            m_driver->click(m_driver->item(u"tab"_s + title));
            QCOMPARE(selectedTabs(), QStringList{title});
            QQuickItem *screen = m_driver->item(u"screenLoader"_s)->childItems().value(0);
            QVERIFY(screen);
            QCOMPARE(QString::fromLatin1(screen->metaObject()->className()).section(u'_', 0, 0),
                     title + u"View"_s);
            if (!marker.isEmpty()) {
                QVERIFY(m_driver->item(marker));
            }
        }
    }

    void clickingTheSelectedTabChangesNothing()
    {
        openWorkingLayout();
        QQuickItem *before = m_driver->item(u"screenLoader"_s)->childItems().value(0);
        m_driver->click(m_driver->item(u"tabDashboard"_s));
        QCOMPARE(m_driver->item(u"screenLoader"_s)->childItems().value(0), before);
        QCOMPARE(selectedTabs(), QStringList{u"Dashboard"_s});
    }

    void widerWindowKeepsTabsAtTheLeadingEdge()
    {
        openWorkingLayout();
        m_window->resize(1600, 800);
        QTRY_COMPARE(m_driver->item(u"screenTabBar"_s)->width(), 1600.0);
        QQuickItem *first = m_driver->item(u"tabDashboard"_s);
        QCOMPARE(first->mapToScene(QPointF(0, 0)).x(), 16.0);
        QQuickItem *last = m_driver->item(u"tabSettings"_s);
        QVERIFY(last->mapToScene(QPointF(last->width(), 0)).x() < 800);
    }

    void switchesReflectTheStoreAndOnlyTheButtonFlipsThem()
    {
        openWorkingLayout();
        m_driver->click(m_driver->item(u"tabSettings"_s));
        QTRY_VERIFY(m_driver->item(u"launchOnStartupToggle"_s));

        // Missing file: both empty circles.
        for (const QString &toggle : {u"launchOnStartupToggle"_s, u"autoOptimizeToggle"_s}) {
            QCOMPARE(toggleButton(toggle)->property("symbol").toString(), u"circle"_s);
        }

        // The title and subtitle are inert.
        m_driver->click(m_driver->text(u"Launch at Login"_s));
        m_driver->click(m_driver->text(u"Start Kestrelvanta when you log in"_s));
        QCOMPARE(m_context->settingsStore()->launchOnStartup(), false);
        QVERIFY(!QFileInfo::exists(recordPath(u"settings.json"_s)));

        m_driver->click(toggleButton(u"launchOnStartupToggle"_s));
        QCOMPARE(m_context->settingsStore()->launchOnStartup(), true);
        QCOMPARE(toggleButton(u"launchOnStartupToggle"_s)->property("symbol").toString(),
                 u"checkmark.circle.fill"_s);
        QCOMPARE(record(u"settings.json"_s),
                 QByteArray(R"({"autoOptimize":false,"launchOnStartup":true})"));

        m_driver->click(m_driver->text(u"Apply optimizations when starting games"_s));
        QCOMPARE(m_context->settingsStore()->autoOptimize(), false);
        m_driver->click(toggleButton(u"autoOptimizeToggle"_s));
        QCOMPARE(m_context->settingsStore()->autoOptimize(), true);
        QCOMPARE(record(u"settings.json"_s),
                 QByteArray(R"({"autoOptimize":true,"launchOnStartup":true})"));

        m_driver->click(toggleButton(u"launchOnStartupToggle"_s));
        QCOMPARE(toggleButton(u"launchOnStartupToggle"_s)->property("symbol").toString(),
                 u"circle"_s);
        QCOMPARE(record(u"settings.json"_s),
                 QByteArray(R"({"autoOptimize":true,"launchOnStartup":false})"));
    }

    void switchesFollowTheStore()
    {
        openWorkingLayout();
        m_driver->click(m_driver->item(u"tabSettings"_s));
        QTRY_VERIFY(m_driver->item(u"autoOptimizeToggle"_s));
        m_context->settingsStore()->setAutoOptimize(true);
        QCOMPARE(toggleButton(u"autoOptimizeToggle"_s)->property("symbol").toString(),
                 u"checkmark.circle.fill"_s);
    }

    void settingsScreenShowsTheVersionRows()
    {
        openWorkingLayout();
        m_driver->click(m_driver->item(u"tabSettings"_s));
        for (const QString &text :
             {u"General"_s, u"About"_s, u"Launch at Login"_s, u"Auto-Optimize"_s, u"Version"_s,
              u"1.0(1)"_s, u"Build"_s, u"2026.0505"_s}) {
            QVERIFY2(m_driver->text(text), qPrintable(text));
        }
    }

    void secondAppearanceDoesNotBootstrapAgain()
    {
        openWindow();
        QCOMPARE(m_context->stateManager()->currentState(), AppScreenState::Setup);
        // A record written now would send a second bootstrap to the dashboard.
        writeRecord(u"config.json"_s, R"({"firstRunComplete":true,"installDate":1})");
        QSignalSpy changed(m_context->stateManager(), &AppStateManager::currentStateChanged);
        m_window->hide();
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        QTest::qWait(50);
        QCOMPARE(changed.count(), 0);
        QCOMPARE(m_context->stateManager()->currentState(), AppScreenState::Setup);
    }

    void backgroundPausesWhileMinimized()
    {
        openWindow();
        QQuickItem *content = m_driver->item(u"contentView"_s);
        QCOMPARE(content->property("animating").toBool(), true);
        m_window->showMinimized();
        QTRY_COMPARE(content->property("animating").toBool(), false);
        m_window->showNormal();
        QTRY_COMPARE(content->property("animating").toBool(), true);
    }

    // A window other windows cover entirely, as the window system reports it, stands still like
    // a minimized one: the background stops and the layout is hidden, so its charts are not
    // painted; uncovered, it shows again.
    void coveredWindowStandsStill()
    {
        openWorkingLayout();
        QQuickItem *content = m_driver->item(u"contentView"_s);
        QQuickItem *layout = m_driver->anyItem(u"workingLayoutLoader"_s);
        QVERIFY(layout->isVisible());
        m_window->setProperty("covered", true);
        QCOMPARE(content->property("animating").toBool(), false);
        QVERIFY(!layout->isVisible());
        m_window->setProperty("covered", false);
        QCOMPARE(content->property("animating").toBool(), true);
        QVERIFY(layout->isVisible());
        QVERIFY(m_driver->item(u"screenTabBar"_s));
    }
};

KV_TEST_MAIN(TestContentView)
#include "tst_contentview.moc"
