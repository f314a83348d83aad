#include "TestEnvironment.h"
#include "core/FileManagerHelper.h"

#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::StringLiterals;

// Runs in a process of its own: the folder is resolved once per process.
class TestFileManagerHelper : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void firstUseCreatesTheFolderUnderTheConfigHome()
    {
        const QString expected = qEnvironmentVariable("XDG_CONFIG_HOME") + u"/Kestrelvanta"_s;
        QVERIFY(!QFileInfo::exists(expected));
        QCOMPARE(FileManagerHelper::appSupportDir(), expected);
        QVERIFY(QFileInfo(expected).isDir());
    }

    void laterUsesDoNotTouchTheDisk()
    {
        const QString folder = FileManagerHelper::appSupportDir();
        QVERIFY(QDir(folder).removeRecursively());
        // Even a changed environment is not consulted again.
        qputenv("XDG_CONFIG_HOME", "/elsewhere");
        QCOMPARE(FileManagerHelper::appSupportDir(), folder);
        QVERIFY(!QFileInfo::exists(folder));
    }
};

KV_TEST_MAIN(TestFileManagerHelper)
#include "tst_filemanagerhelper.moc"
