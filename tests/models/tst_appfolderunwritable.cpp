#include "TestEnvironment.h"
#include "core/AppStateManager.h"
#include "core/FileManagerHelper.h"
#include "core/SettingsStore.h"

#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::StringLiterals;

// The configuration home is a plain file, so the application folder cannot be created: the
// program works on with its state in memory. A process of its own, as the folder is resolved once.
class TestAppFolderUnwritable : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        const QString configHome = qEnvironmentVariable("XDG_CONFIG_HOME");
        QFile blocker(configHome);
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        QVERIFY(QFileInfo(configHome).isFile());
    }

    void folderPathIsStillReturned()
    {
        QCOMPARE(FileManagerHelper::appSupportDir(),
                 qEnvironmentVariable("XDG_CONFIG_HOME") + u"/Kestrelvanta"_s);
        QVERIFY(!QFileInfo(FileManagerHelper::appSupportDir()).isDir());
    }

    void settingsLiveInMemory()
    {
        SettingsStore store;
        store.setAutoOptimize(true);
        QCOMPARE(store.autoOptimize(), true);
        QCOMPARE(store.launchOnStartup(), false);
    }

    void setupCompletesInThisRunOnly()
    {
        AppStateManager manager;
        QCOMPARE(manager.completeSetup(), false);
        manager.transitionTo(AppScreenState::Dashboard, true);
        QTRY_COMPARE(manager.currentState(), AppScreenState::Dashboard);
    }
};

KV_TEST_MAIN(TestAppFolderUnwritable)
#include "tst_appfolderunwritable.moc"
