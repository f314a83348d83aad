#include "BadRecord.h"
#include "ManualClock.h"
#include "TestEnvironment.h"
#include "TestFiles.h"
#include "core/AppStateManager.h"
#include "core/ConfigInfo.h"

#include <QGuiApplication>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class TestAppStateManager : public QObject {
    Q_OBJECT

private:
    QTemporaryDir *m_folder = nullptr;
    ManualClock *m_clock = nullptr;

    [[nodiscard]] QString configPath() const { return m_folder->filePath(u"config.json"_s); }

    [[nodiscard]] QByteArray configBytes() const { return TestFiles::read(configPath()); }

private Q_SLOTS:
    void init()
    {
        m_folder = new QTemporaryDir;
        m_clock = new ManualClock(QDateTime::fromMSecsSinceEpoch(1'795'240'604'978));
    }

    void cleanup()
    {
        delete m_clock;
        delete m_folder;
    }

    void startsInSetup()
    {
        AppStateManager manager(m_folder->path(), *m_clock);
        QCOMPARE(manager.currentState(), AppScreenState::Setup);
        QCOMPARE(manager.isTransitioning(), false);
    }

    void transitionTo_data()
    {
        QTest::addColumn<bool>("animated");
        QTest::addColumn<int>("duration");
        QTest::newRow("animated") << true << 500;
        QTest::newRow("not animated") << false << 0;
    }

    // The change is always deferred to the event loop, with or without animation.
    void transitionTo()
    {
        QFETCH(bool, animated);
        QFETCH(int, duration);
        AppStateManager manager(m_folder->path(), *m_clock);
        QSignalSpy changed(&manager, &AppStateManager::currentStateChanged);

        manager.transitionTo(AppScreenState::Dashboard, animated);
        QCOMPARE(manager.currentState(), AppScreenState::Setup);
        QCOMPARE(changed.count(), 0);

        QVERIFY(changed.wait(1000));
        QCOMPARE(manager.currentState(), AppScreenState::Dashboard);
        QCOMPARE(manager.transitionDuration(), duration);
        QCOMPARE(changed.count(), 1);
        QCOMPARE(manager.isTransitioning(), false);
    }

    void directAssignmentIsImmediateAndUnanimated()
    {
        AppStateManager manager(m_folder->path(), *m_clock);
        manager.transitionTo(AppScreenState::Dashboard, true);
        QTRY_COMPARE(manager.transitionDuration(), 500);

        manager.setCurrentState(AppScreenState::Setup);
        QCOMPARE(manager.currentState(), AppScreenState::Setup);
        QCOMPARE(manager.transitionDuration(), 0);
    }

    void isTransitioningStaysFalse()
    {
        AppStateManager manager(m_folder->path(), *m_clock);
        QSignalSpy flag(&manager, &AppStateManager::isTransitioningChanged);
        QCOMPARE(manager.isTransitioning(), false);
        manager.transitionTo(AppScreenState::Dashboard, true);
        QCOMPARE(manager.isTransitioning(), false);
        QTRY_COMPARE(manager.currentState(), AppScreenState::Dashboard);
        QCOMPARE(manager.isTransitioning(), false);
        QCOMPARE(flag.count(), 0);
    }

    void completeSetupOnFreshFolderDatesTheRecordNow()
    {
        AppStateManager manager(m_folder->path(), *m_clock);
        QVERIFY(manager.completeSetup());
        QCOMPARE(configBytes(),
                 QByteArray(R"({"firstRunComplete":true,"installDate":1795240604.978})"));
    }

    void completeSetupKeepsAnExistingInstallDate_data()
    {
        QTest::addColumn<QByteArray>("existing");
        QTest::addColumn<QByteArray>("written");
        QTest::newRow("incomplete record")
            << QByteArray(R"({"firstRunComplete":false,"installDate":1600000000.25})")
            << QByteArray(R"({"firstRunComplete":true,"installDate":1600000000.25})");
        QTest::newRow("complete record dated 0")
            << QByteArray(R"({"firstRunComplete":true,"installDate":0})")
            << QByteArray(R"({"firstRunComplete":true,"installDate":0})");
        QTest::newRow("record with an extra key")
            << QByteArray(R"({"firstRunComplete":false,"installDate":5,"x":1})")
            << QByteArray(R"({"firstRunComplete":true,"installDate":5})");
    }

    void completeSetupKeepsAnExistingInstallDate()
    {
        QFETCH(QByteArray, existing);
        QFETCH(QByteArray, written);
        QVERIFY(TestFiles::write(configPath(), existing));
        AppStateManager manager(m_folder->path(), *m_clock);
        QVERIFY(manager.completeSetup());
        QCOMPARE(configBytes(), written);
    }

    void completeSetupTwiceKeepsTheFirstDate()
    {
        AppStateManager manager(m_folder->path(), *m_clock);
        QVERIFY(manager.completeSetup());
        const QByteArray first = configBytes();
        m_clock->advance(std::chrono::hours(48));
        QVERIFY(manager.completeSetup());
        QCOMPARE(configBytes(), first);
    }

    void completeSetupReplacesABadRecord_data()
    {
        QTest::addColumn<QString>("kind");
        for (const QString &kind : BadRecord::kinds()) {
            if (kind != u"missing") {
                QTest::newRow(qPrintable(kind)) << kind;
            }
        }
    }

    // A record that cannot be read is replaced by a fresh one dated now, where the place can be
    // written; the folder-shaped one cannot be, and completeSetup reports it.
    void completeSetupReplacesABadRecord()
    {
        QFETCH(QString, kind);
        if (kind == u"no permission" && BadRecord::permissionsDoNotApply()) {
            QSKIP("permissions do not keep this process out; the unprivileged run checks it");
        }
        QVERIFY(BadRecord::plant(configPath(), kind));
        AppStateManager manager(m_folder->path(), *m_clock);

        const bool written = manager.completeSetup();
        if (kind == u"directory" || kind == u"unreadable" || kind == u"fifo" ||
            kind == u"no permission") {
            QVERIFY(!written);
            return;
        }
        QVERIFY(written);
        QCOMPARE(configBytes(),
                 QByteArray(R"({"firstRunComplete":true,"installDate":1795240604.978})"));
    }

    void failedWriteStillAllowsTheTransition()
    {
        AppStateManager manager(m_folder->path() + u"/no/such/folder"_s, *m_clock);
        QCOMPARE(manager.completeSetup(), false);
        manager.transitionTo(AppScreenState::Dashboard, true);
        QTRY_COMPARE(manager.currentState(), AppScreenState::Dashboard);
    }
};

KV_TEST_MAIN(TestAppStateManager)
#include "tst_appstatemanager.moc"
