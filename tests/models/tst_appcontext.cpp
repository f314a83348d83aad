#include "BadRecord.h"
#include "FakeNetwork.h"
#include "ManualClock.h"
#include "TestEnvironment.h"
#include "TestFiles.h"
#include "app/AppContext.h"
#include "cleaner/DiskScanner.h"
#include "core/AppStateManager.h"
#include "core/SettingsStore.h"
#include "platform/SystemRoots.h"
#include "sessions/PDFReportGenerator.h"
#include "sessions/SessionLogger.h"
#include "telemetry/SystemMonitor.h"

#include <QFontDatabase>
#include <QGuiApplication>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class TestAppContext : public QObject {
    Q_OBJECT

private:
    QTemporaryDir *m_folder = nullptr;
    ManualClock m_clock;
    // The network monitor gets fake parts: no test here touches the machine's network.
    FakeNetwork m_network;

    void writeConfig(const QByteArray &bytes) const
    {
        QVERIFY(TestFiles::write(m_folder->filePath(u"config.json"_s), bytes));
    }

private Q_SLOTS:
    void init()
    {
        m_folder = new QTemporaryDir;
        m_network = FakeNetwork();
    }
    void cleanup() { delete m_folder; }

    // First, before anything in this process registers a font: making the models leaves the
    // fonts alone (the report's icon font is found when a report is first drawn), so the window's
    // first frame does not wait for the system's fonts to be read.
    void modelsDoNotLoadTheIconFont()
    {
        {
            AppContext context(m_folder->path(), m_clock, nullptr, m_network.parts());
            QVERIFY(context.reportGenerator());
        }
        QVERIFY(QFontDatabase::applicationFontFamilies(0).isEmpty());
    }

    void createsOneInstanceOfEachModel()
    {
        AppContext context(m_folder->path(), m_clock, nullptr, m_network.parts());
        QVERIFY(context.stateManager());
        QVERIFY(context.settingsStore());
        QVERIFY(context.systemMonitor());
        QVERIFY(context.networkMonitor());
        QCOMPARE(context.stateManager()->currentState(), AppScreenState::Setup);
        QVERIFY(!context.hasBootstrapped());
        // Nothing samples before the bootstrap.
        QCOMPARE(context.systemMonitor()->monitorTimer(), nullptr);
    }

    void settingsAreLoadedAtConstruction()
    {
        QVERIFY(TestFiles::write(m_folder->filePath(u"settings.json"_s),
                                 R"({"launchOnStartup":true,"autoOptimize":true})"));
        AppContext context(m_folder->path(), m_clock, nullptr, m_network.parts());
        QCOMPARE(context.settingsStore()->launchOnStartup(), true);
        QCOMPARE(context.settingsStore()->autoOptimize(), true);
    }

    void returningUserOpensOnTheDashboardWithoutAnimation()
    {
        writeConfig(R"({"firstRunComplete":true,"installDate":1600000000})");
        AppContext context(m_folder->path(), m_clock, nullptr, m_network.parts());
        QSignalSpy changed(context.stateManager(), &AppStateManager::currentStateChanged);
        context.bootstrap();
        // Direct: the state is set within the call, with a zero-length transition.
        QCOMPARE(context.stateManager()->currentState(), AppScreenState::Dashboard);
        QCOMPARE(context.stateManager()->transitionDuration(), 0);
        QCOMPARE(changed.count(), 1);
        QVERIFY(context.hasBootstrapped());
        // A returning user's telemetry starts at once: one sample, then the timer.
        QVERIFY(context.systemMonitor()->monitorTimer());
        QCOMPARE(context.systemMonitor()->ramHistory().size(), 1);
        QVERIFY(context.systemMonitor()->ramStats().total > 0);
        // The session recorder waits for the user.
        QVERIFY(!context.sessionLogger()->isActive());
        QVERIFY(!context.sessionLogger()->loggingTimer());
    }

    // One logger and one report generator, writing to this user's Desktop folder.
    void sessionRecordingIsReadyAndIdle()
    {
        AppContext context(m_folder->path(), m_clock, nullptr, m_network.parts());
        QVERIFY(context.sessionLogger());
        QVERIFY(!context.sessionLogger()->isActive());
        QVERIFY(context.sessionLogger()->records().isEmpty());
        QVERIFY(context.reportGenerator());
        QCOMPARE(context.reportGenerator()->desktopFolder(),
                 platform::SystemRoots::current().desktopDir);
        QVERIFY(!context.reportGenerator()->desktopFolder().isEmpty());
    }

    // A returning user's bootstrap starts the network monitor; the welcome path starts nothing.
    void networkMonitorStartsOnlyForAReturningUser()
    {
        {
            AppContext context(m_folder->path(), m_clock, nullptr, m_network.parts());
            context.bootstrap();
            QCOMPARE(m_network.counters->linkCalls, 0);
        }
        writeConfig(R"({"firstRunComplete":true,"installDate":1})");
        AppContext context(m_folder->path(), m_clock, nullptr, m_network.parts());
        QCOMPARE(m_network.counters->linkCalls, 0);
        context.bootstrap();
        QCOMPARE(m_network.counters->linkCalls, 1);
        QTRY_VERIFY(m_network.path->started());
    }

    void firstRunIncompleteShowsWelcomeEvenWithADate()
    {
        writeConfig(R"({"firstRunComplete":false,"installDate":1600000000})");
        AppContext context(m_folder->path(), m_clock, nullptr, m_network.parts());
        context.bootstrap();
        QCOMPARE(context.stateManager()->currentState(), AppScreenState::Setup);
        QCOMPARE(context.stateManager()->transitionDuration(), 0);
        // The welcome screen starts nothing.
        QCOMPARE(context.systemMonitor()->monitorTimer(), nullptr);
        QVERIFY(context.systemMonitor()->ramHistory().isEmpty());
    }

    void badConfigShowsWelcome_data()
    {
        QTest::addColumn<QString>("kind");
        for (const QString &kind : BadRecord::kinds()) {
            QTest::newRow(qPrintable(kind)) << kind;
        }
    }

    void badConfigShowsWelcome()
    {
        QFETCH(QString, kind);
        if (kind == u"no permission" && BadRecord::permissionsDoNotApply()) {
            QSKIP("permissions do not keep this process out; the unprivileged run checks it");
        }
        QVERIFY(BadRecord::plant(m_folder->filePath(u"config.json"_s), kind));
        AppContext context(m_folder->path(), m_clock, nullptr, m_network.parts());
        context.bootstrap();
        QCOMPARE(context.stateManager()->currentState(), AppScreenState::Setup);
        // Treated as a first run: neither monitor starts.
        QCoreApplication::processEvents();
        QCOMPARE(context.systemMonitor()->monitorTimer(), nullptr);
        QVERIFY(context.systemMonitor()->ramHistory().isEmpty());
        QCOMPARE(m_network.counters->linkCalls, 0);
        QVERIFY(!m_network.path->started());
        QVERIFY(m_network.probes->takeCalls().isEmpty());
    }

    void bootstrapRunsOnce()
    {
        writeConfig(R"({"firstRunComplete":true,"installDate":1})");
        AppContext context(m_folder->path(), m_clock, nullptr, m_network.parts());
        context.bootstrap();
        context.stateManager()->setCurrentState(AppScreenState::Setup);
        QSignalSpy changed(context.stateManager(), &AppStateManager::currentStateChanged);
        context.bootstrap();
        QCOMPARE(changed.count(), 0);
        QCOMPARE(context.stateManager()->currentState(), AppScreenState::Setup);
    }
};

KV_TEST_MAIN(TestAppContext)
#include "tst_appcontext.moc"
