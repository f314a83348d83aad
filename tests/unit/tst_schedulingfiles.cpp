#include "platform/linux/ProcSchedulingFiles.h"

#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;
using platform::ProcSchedulingFiles;

namespace {

QByteArray fixture(const QString &name)
{
    QFile file(QStringLiteral(KV_FIXTURES_DIR "/linux/") + name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

/// The unit of /proc/PID/cgroup and the group of /proc/PID/autogroup, from captured files.
class TestSchedulingFiles : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void unitIn_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("unit"); // empty: none
        QTest::addColumn<bool>("userManager");
        QTest::newRow("GNOME application")
            << u"gnome-app-scope.txt"_s << u"app-gnome-org.mozilla.firefox-4321.scope"_s << true;
        QTest::newRow("Flatpak") << u"flatpak-scope.txt"_s
                                 << u"app-flatpak-com.valvesoftware.Steam-5678.scope"_s << true;
        QTest::newRow("innermost unit")
            << u"kde-service-with-scope.txt"_s << u"tab(1234).scope"_s << true;
        QTest::newRow("login session") << u"login-session.txt"_s << u"session-2.scope"_s << false;
        QTest::newRow("user manager's own scope")
            << u"user-manager-itself.txt"_s << u"init.scope"_s << true;
        QTest::newRow("user manager")
            << u"user-manager-bare.txt"_s << u"user@1000.service"_s << false;
        QTest::newRow("system service") << u"system-service.txt"_s << u"cron.service"_s << false;
        QTest::newRow("hybrid root") << u"hybrid-root.txt"_s << QString() << false;
        QTest::newRow("container v1") << u"container-v1.txt"_s << QString() << false;
        QTest::newRow("garbage") << u"garbage.txt"_s << QString() << false;
    }

    void unitIn()
    {
        QFETCH(QString, file);
        QFETCH(QString, unit);
        QFETCH(bool, userManager);
        const QByteArray text = fixture(u"proc-cgroup/"_s + file);
        QVERIFY(!text.isEmpty());
        const auto found = ProcSchedulingFiles::unitIn(text);
        if (unit.isEmpty()) {
            QVERIFY(!found);
            return;
        }
        QVERIFY(found);
        QCOMPARE(found->name, unit);
        QCOMPARE(found->userManager, userManager);
    }

    void autogroupIn_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<bool>("valid");
        QTest::addColumn<quint64>("id");
        QTest::addColumn<int>("nice");
        QTest::newRow("default") << u"default.txt"_s << true << quint64(54) << 0;
        QTest::newRow("raised") << u"raised.txt"_s << true << quint64(7) << -10;
        QTest::newRow("lowest") << u"lowest.txt"_s << true << quint64(123456) << 19;
        QTest::newRow("out of range") << u"out-of-range.txt"_s << false << quint64(0) << 0;
        QTest::newRow("garbage id") << u"garbage-id.txt"_s << false << quint64(0) << 0;
        QTest::newRow("empty") << u"empty.txt"_s << false << quint64(0) << 0;
    }

    void autogroupIn()
    {
        QFETCH(QString, file);
        QFETCH(bool, valid);
        QFETCH(quint64, id);
        QFETCH(int, nice);
        const auto found = ProcSchedulingFiles::autogroupIn(fixture(u"proc-autogroup/"_s + file));
        QCOMPARE(bool(found), valid);
        if (found) {
            QCOMPARE(found->id, id);
            QCOMPARE(found->nice, nice);
        }
    }
};

QTEST_APPLESS_MAIN(TestSchedulingFiles)
#include "tst_schedulingfiles.moc"
