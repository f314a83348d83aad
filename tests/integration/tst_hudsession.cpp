#include "TestFiles.h"
#include "platform/linux/EnvironmentdHud.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// The user's service manager, reduced to the call that changes the environment of what it
// starts from now on.
class FakeServiceManager : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.systemd1.Manager")

public:
    QList<QStringList> assignments;

public Q_SLOTS:
    void SetEnvironment(const QStringList &assignments) { this->assignments.append(assignments); }
};

} // namespace

/// The HUD switch reaching games started without a new login: the service manager's and the
/// session bus's activation environment on a private bus, and whether the overlay is there.
class TestHudSession : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QProcess m_bus;
    QString m_address;
    FakeServiceManager m_manager;
    int m_probes = 0;
    static constexpr int probeNames = 8;

    QDBusConnection service() const
    {
        return QDBusConnection::connectToBus(m_address, u"service"_s);
    }
    QDBusConnection client() const { return QDBusConnection::connectToBus(m_address, u"client"_s); }

    // What a program the bus starts from now on finds in MANGOHUD: a probe service that writes
    // it down and ends.
    QString activatedValue()
    {
        const QString seen = m_dir.filePath(u"seen"_s);
        QFile::remove(seen);
        // A name of its own each time: the bus waits for a name it started to be taken, and
        // starts nothing more for it meanwhile.
        QDBusMessage start =
            QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                                           u"org.freedesktop.DBus"_s, u"StartServiceByName"_s);
        start.setArguments({u"org.kestrelvanta.Probe%1"_s.arg(m_probes++), 0U});
        client().send(start);
        QFile file(seen);
        if (!QTest::qWaitFor([&] { return file.exists(); }, 10000) ||
            !file.open(QIODevice::ReadOnly)) {
            return u"not started"_s;
        }
        return QString::fromUtf8(file.readAll()).trimmed();
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        const QString services = m_dir.filePath(u"services"_s);
        QVERIFY(QDir().mkpath(services));
        const QString probe = m_dir.filePath(u"probe"_s);
        QVERIFY(TestFiles::write(probe, "#!/bin/sh\nprintf '%s' \"$MANGOHUD\" > \"$1.part\" && mv "
                                        "\"$1.part\" \"$1\"\n"));
        QVERIFY(QFile::setPermissions(probe, QFile::ReadOwner | QFile::ExeOwner));
        for (int i = 0; i < probeNames; ++i) {
            QVERIFY(TestFiles::write(services + u"/org.kestrelvanta.Probe%1.service"_s.arg(i),
                                     "[D-BUS Service]\nName=org.kestrelvanta.Probe" +
                                         QByteArray::number(i) + "\nExec=" + probe.toUtf8() + ' ' +
                                         m_dir.filePath(u"seen"_s).toUtf8() + '\n'));
        }
        const QString config = m_dir.filePath(u"bus.conf"_s);
        QVERIFY(TestFiles::write(
            config, "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration "
                    "1.0//EN\" \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
                    "<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen>"
                    "<servicedir>" +
                        services.toUtf8() +
                        "</servicedir><policy context=\"default\"><allow send_destination=\"*\" "
                        "eavesdrop=\"true\"/><allow eavesdrop=\"true\"/><allow own=\"*\"/>"
                        "</policy></busconfig>\n"));
        // A private bus: the session's own manager and activation environment stay as they are.
        m_bus.start(u"dbus-daemon"_s,
                    {u"--config-file="_s + config, u"--nofork"_s, u"--print-address=1"_s});
        if (!m_bus.waitForStarted(5000)) {
            QSKIP("dbus-daemon is not installed");
        }
        QVERIFY(m_bus.waitForReadyRead(5000));
        m_address = QString::fromUtf8(m_bus.readLine()).trimmed();
        QVERIFY(service().isConnected());
        QVERIFY(service().registerObject(u"/org/freedesktop/systemd1"_s, &m_manager,
                                         QDBusConnection::ExportAllSlots));
        QVERIFY(service().registerService(u"org.freedesktop.systemd1"_s));
    }

    void cleanupTestCase()
    {
        QDBusConnection::disconnectFromBus(u"service"_s);
        QDBusConnection::disconnectFromBus(u"client"_s);
        m_bus.kill();
        m_bus.waitForFinished();
    }

    void theSwitchReachesProgramsStartedFromNowOn()
    {
        QTemporaryDir config;
        platform::EnvironmentdHud hud(config.path(), {}, client());
        QCOMPARE(activatedValue(), QString());

        QVERIFY(hud.write(true));
        QTRY_COMPARE(m_manager.assignments, QList<QStringList>{{u"MANGOHUD=1"_s}});
        QCOMPARE(activatedValue(), u"1"_s);
        // The file the next login reads is written too.
        QCOMPARE(hud.storedValue(), std::optional<QString>(u"1"_s));

        QVERIFY(hud.write(false));
        QTRY_COMPARE(m_manager.assignments.size(), 2);
        QCOMPARE(m_manager.assignments.at(1), QStringList{u"MANGOHUD=0"_s});
        QCOMPARE(activatedValue(), u"0"_s);
        QCOMPARE(hud.storedValue(), std::optional<QString>(u"0"_s));
        m_manager.assignments.clear();
    }

    void withoutABusTheFileStillCounts()
    {
        QTemporaryDir config;
        QDBusConnection nowhere =
            QDBusConnection::connectToBus(u"unix:path=/nonexistent/bus"_s, u"nowhere"_s);
        platform::EnvironmentdHud hud(config.path(), {}, nowhere);
        QVERIFY(hud.write(true));
        QCOMPARE(hud.storedValue(), std::optional<QString>(u"1"_s));
        platform::EnvironmentdHud busless(config.path());
        QVERIFY(busless.write(false));
        QCOMPARE(busless.storedValue(), std::optional<QString>(u"0"_s));
        QDBusConnection::disconnectFromBus(u"nowhere"_s);
        QCoreApplication::processEvents();
        QVERIFY(m_manager.assignments.isEmpty());
    }

    void aFailedWriteTellsNoOne()
    {
        QTemporaryDir config;
        // A file where the folder should be.
        QVERIFY(TestFiles::write(config.filePath(u"environment.d"_s), "x"));
        platform::EnvironmentdHud hud(config.path(), {}, client());
        QVERIFY(!hud.write(true));
        QTest::qWait(100);
        QVERIFY(m_manager.assignments.isEmpty());
    }

    void theOverlaysLayerManifest_data()
    {
        QTest::addColumn<QString>("manifest");
        QTest::addColumn<bool>("installed");
        QTest::newRow("none") << QString() << false;
        QTest::newRow("implicit, by architecture")
            << u"data/vulkan/implicit_layer.d/MangoHud.x86_64.json"_s << true;
        QTest::newRow("implicit") << u"etc/vulkan/implicit_layer.d/MangoHud.json"_s << true;
        QTest::newRow("explicit, in the user's data")
            << u"home/vulkan/explicit_layer.d/MangoHud.json"_s << true;
        QTest::newRow("another layer")
            << u"data/vulkan/implicit_layer.d/VkLayer_MESA.json"_s << false;
        QTest::newRow("a folder of that name")
            << u"data/vulkan/implicit_layer.d/MangoHud.json/"_s << false;
        QTest::newRow("outside the layer folders") << u"data/vulkan/MangoHud.json"_s << false;
    }

    void theOverlaysLayerManifest()
    {
        QFETCH(QString, manifest);
        QFETCH(bool, installed);
        QTemporaryDir roots;
        if (manifest.endsWith(u'/')) {
            QVERIFY(QDir().mkpath(roots.filePath(manifest)));
        } else if (!manifest.isEmpty()) {
            QVERIFY(QDir().mkpath(QFileInfo(roots.filePath(manifest)).path()));
            QVERIFY(TestFiles::write(roots.filePath(manifest), "{}\n"));
        }
        platform::EnvironmentdHud hud(
            roots.filePath(u"config"_s),
            {roots.filePath(u"home"_s), roots.filePath(u"etc"_s), roots.filePath(u"data"_s)});
        QCOMPARE(hud.unavailableReason(),
                 installed ? QString()
                           : u"MangoHud is not installed (no Vulkan layer manifest for it)"_s);
    }

    void theLoadersFolders()
    {
        QCOMPARE(platform::EnvironmentdHud::layerRootsFor(u"/h/.config"_s, {u"/etc/xdg"_s},
                                                          u"/h/.local/share"_s,
                                                          {u"/usr/local/share"_s, u"/usr/share"_s}),
                 (QStringList{u"/h/.config"_s, u"/etc/xdg"_s, u"/etc"_s, u"/h/.local/share"_s,
                              u"/usr/local/share"_s, u"/usr/share"_s}));
    }
};

QTEST_GUILESS_MAIN(TestHudSession)
#include "tst_hudsession.moc"
