#include "BadRecord.h"
#include "TestEnvironment.h"
#include "TestFiles.h"
#include "core/SettingsStore.h"

#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class TestSettingsStore : public QObject {
    Q_OBJECT

private:
    QTemporaryDir *m_folder = nullptr;

    [[nodiscard]] QString settingsPath() const { return m_folder->filePath(u"settings.json"_s); }

    [[nodiscard]] QByteArray settingsBytes() const { return TestFiles::read(settingsPath()); }

private Q_SLOTS:
    void init() { m_folder = new QTemporaryDir; }
    void cleanup() { delete m_folder; }

    void freshInstallIsOffAndWritesNothing()
    {
        SettingsStore store(m_folder->path());
        QCOMPARE(store.launchOnStartup(), false);
        QCOMPARE(store.autoOptimize(), false);
        QVERIFY(!QFileInfo::exists(settingsPath()));
    }

    void turningAutoOptimizeOnWritesBothValues()
    {
        SettingsStore store(m_folder->path());
        QSignalSpy changed(&store, &SettingsStore::autoOptimizeChanged);
        store.setAutoOptimize(true);
        QCOMPARE(changed.count(), 1);
        QCOMPARE(settingsBytes(), QByteArray(R"({"autoOptimize":true,"launchOnStartup":false})"));
    }

    void loadsTheFile_data()
    {
        QTest::addColumn<QByteArray>("contents");
        QTest::addColumn<bool>("launchOnStartup");
        QTest::addColumn<bool>("autoOptimize");
        QTest::newRow("well formed")
            << QByteArray(R"({"launchOnStartup":true,"autoOptimize":false})") << true << false;
        QTest::newRow("extra key")
            << QByteArray(R"({"launchOnStartup":false,"autoOptimize":true,"volume":11})") << false
            << true;
        // A record missing a key, or with a string for a boolean, is ignored as a whole.
        QTest::newRow("missing key") << QByteArray(R"({"launchOnStartup":true})") << false << false;
        QTest::newRow("string for a boolean")
            << QByteArray(R"({"launchOnStartup":true,"autoOptimize":"true"})") << false << false;
    }

    void loadsTheFile()
    {
        QFETCH(QByteArray, contents);
        QFETCH(bool, launchOnStartup);
        QFETCH(bool, autoOptimize);
        QVERIFY(TestFiles::write(settingsPath(), contents));
        SettingsStore store(m_folder->path());
        QCOMPARE(store.launchOnStartup(), launchOnStartup);
        QCOMPARE(store.autoOptimize(), autoOptimize);
        QCOMPARE(settingsBytes(), contents);
    }

    void assigningTheSameValueTwiceWritesTwice()
    {
        SettingsStore store(m_folder->path());
        QSignalSpy changed(&store, &SettingsStore::launchOnStartupChanged);
        store.setLaunchOnStartup(true);
        QVERIFY(QFile::remove(settingsPath()));
        store.setLaunchOnStartup(true);
        QCOMPARE(changed.count(), 2);
        QCOMPARE(settingsBytes(), QByteArray(R"({"autoOptimize":false,"launchOnStartup":true})"));
    }

    void badFile_data()
    {
        QTest::addColumn<QString>("kind");
        for (const QString &kind : BadRecord::kinds()) {
            QTest::newRow(qPrintable(kind)) << kind;
        }
    }

    // Every kind of bad file reads as both off, is left alone until a setting changes, and is
    // then replaced by the exact compact record where the place can be written.
    void badFile()
    {
        QFETCH(QString, kind);
        if (kind == u"no permission" && BadRecord::permissionsDoNotApply()) {
            QSKIP("permissions do not keep this process out; the unprivileged run checks it");
        }
        QVERIFY(BadRecord::plant(settingsPath(), kind));
        const QFileInfo before(settingsPath());

        SettingsStore store(m_folder->path());
        QCOMPARE(store.launchOnStartup(), false);
        QCOMPARE(store.autoOptimize(), false);
        const QFileInfo after(settingsPath());
        QCOMPARE(after.exists(), before.exists());
        QCOMPARE(after.size(), before.size());

        store.setAutoOptimize(true);
        QCOMPARE(store.autoOptimize(), true);
        const bool writable = kind != u"directory" && kind != u"unreadable" && kind != u"fifo" &&
                              kind != u"no permission";
        if (writable) {
            QCOMPARE(settingsBytes(),
                     QByteArray(R"({"autoOptimize":true,"launchOnStartup":false})"));
        }
    }

    void unwritableFolderKeepsTheValuesInMemory()
    {
        SettingsStore store(m_folder->path() + u"/missing/folder"_s);
        store.setLaunchOnStartup(true);
        store.setAutoOptimize(true);
        QCOMPARE(store.launchOnStartup(), true);
        QCOMPARE(store.autoOptimize(), true);
        QVERIFY(!QFileInfo::exists(m_folder->path() + u"/missing"_s));
    }
};

KV_TEST_MAIN(TestSettingsStore)
#include "tst_settingsstore.moc"
