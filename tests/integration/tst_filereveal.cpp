#include "TestEnvironment.h"
#include "platform/linux/FileManagerReveal.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QGuiApplication>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::StringLiterals;

/// Stands in for the desktop's file manager on a private session bus.
class FakeFileManager : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

public:
    QList<QStringList> shown;
    QStringList startupIds;

public Q_SLOTS:
    Q_SCRIPTABLE void ShowItems(const QStringList &uris, const QString &startupId)
    {
        shown.append(uris);
        startupIds.append(startupId);
    }
};

// Reveal: org.freedesktop.FileManager1.ShowItems on the session bus, else the parent folder.
class TestFileReveal : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void withoutABusTheParentFolderOpens()
    {
        const QDBusConnection none =
            QDBusConnection::connectToBus(u"unix:path=/nonexistent/bus"_s, u"kv-no-bus"_s);
        QVERIFY(!none.isConnected());
        QList<QUrl> opened;
        platform::FileManagerReveal reveal(u"kv-no-bus"_s, [&opened](const QUrl &url) {
            opened.append(url);
            return true;
        });
        QVERIFY(reveal.reveal(u"/home/ada/Downloads/a file #1.iso"_s));
        QCOMPARE(opened, QList<QUrl>{QUrl::fromLocalFile(u"/home/ada/Downloads"_s)});
        QDBusConnection::disconnectFromBus(u"kv-no-bus"_s);
    }

    void theFileManagerIsAskedWithAFullyEncodedUri()
    {
        QDBusConnection bus = QDBusConnection::sessionBus();
        if (!bus.isConnected()) {
            QSKIP("no session bus: CTest runs this under dbus-run-session");
        }
        QList<QUrl> opened;
        platform::FileManagerReveal reveal(QString(), [&opened](const QUrl &url) {
            opened.append(url);
            return true;
        });

        // Nobody answers yet: the parent folder opens.
        QVERIFY(reveal.reveal(u"/tmp/x/y.bin"_s));
        QCOMPARE(opened, QList<QUrl>{QUrl::fromLocalFile(u"/tmp/x"_s)});

        FakeFileManager manager;
        QVERIFY(bus.registerObject(u"/org/freedesktop/FileManager1"_s, &manager,
                                   QDBusConnection::ExportScriptableSlots));
        QVERIFY(bus.registerService(u"org.freedesktop.FileManager1"_s));
        QVERIFY(reveal.reveal(u"/tmp/a b/#1 100% é.iso"_s));
        QCOMPARE(manager.shown.size(), 1);
        QCOMPARE(manager.shown.first(),
                 QStringList{u"file:///tmp/a%20b/%231%20100%25%20%C3%A9.iso"_s});
        QCOMPARE(manager.startupIds.first(), QString());
        QCOMPARE(opened.size(), 1);
        bus.unregisterService(u"org.freedesktop.FileManager1"_s);
        bus.unregisterObject(u"/org/freedesktop/FileManager1"_s);
    }
};

KV_TEST_MAIN(TestFileReveal)
#include "tst_filereveal.moc"
