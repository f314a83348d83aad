#include "TestEnvironment.h"
#include "platform/ToolRunner.h"
#include "platform/linux/DBusObjectManager.h"
#include "platform/linux/LinuxNetworkProbes.h"

#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QGuiApplication>
#include <QMutex>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>
#include <QThread>

using namespace Qt::StringLiterals;
using platform::DBusObjectManager;

namespace {

const QString nmPath = u"/org/freedesktop/NetworkManager"_s;
const QString nmDevicePath = u"/org/freedesktop/NetworkManager/Devices/3"_s;
const QString nmPointPath = u"/org/freedesktop/NetworkManager/AccessPoint/7"_s;
const QString iwdStationPath = u"/net/connman/iwd/0/4"_s;
const QString iwdIdlePath = u"/net/connman/iwd/0/5"_s;
const QString iwdNetworkPath = u"/net/connman/iwd/0/4/4c61622041582f_psk"_s;

// NetworkManager's root object: knows one Wi-Fi device, wlp2s0.
class FakeManager : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.NetworkManager")

public Q_SLOTS:
    QDBusObjectPath GetDeviceByIpIface(const QString &name) const
    {
        return QDBusObjectPath(name == u"wlp2s0" ? nmDevicePath : u"/"_s);
    }
};

class FakeWirelessDevice : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.NetworkManager.Device.Wireless")
    Q_PROPERTY(QDBusObjectPath ActiveAccessPoint READ activeAccessPoint)

public:
    QDBusObjectPath activeAccessPoint() const { return QDBusObjectPath(nmPointPath); }
};

class FakeAccessPoint : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.NetworkManager.AccessPoint")
    Q_PROPERTY(QByteArray Ssid MEMBER ssid)
    Q_PROPERTY(uint Frequency MEMBER frequency)

public:
    QByteArray ssid = "Caf\xc3\xa9 6E";
    uint frequency = 5955;
};

// iwd's object manager: wlan0 connected to "Lab AX", wlan1 idle.
class FakeIwd : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.DBus.ObjectManager")

public Q_SLOTS:
    DBusObjectManager::ManagedObjects GetManagedObjects() const
    {
        DBusObjectManager::ManagedObjects objects;
        objects.insert(
            QDBusObjectPath(iwdStationPath),
            {{u"net.connman.iwd.Device"_s, {{u"Name"_s, u"wlan0"_s}, {u"Powered"_s, true}}},
             {u"net.connman.iwd.Station"_s,
              {{u"State"_s, u"connected"_s},
               {u"ConnectedNetwork"_s, QVariant::fromValue(QDBusObjectPath(iwdNetworkPath))}}}});
        objects.insert(QDBusObjectPath(iwdIdlePath),
                       {{u"net.connman.iwd.Device"_s, {{u"Name"_s, u"wlan1"_s}}},
                        {u"net.connman.iwd.Station"_s, {{u"State"_s, u"disconnected"_s}}}});
        objects.insert(
            QDBusObjectPath(iwdNetworkPath),
            {{u"net.connman.iwd.Network"_s, {{u"Name"_s, u"Lab AX"_s}, {u"Connected"_s, true}}}});
        return objects;
    }
};

class FakeDiagnostics : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "net.connman.iwd.StationDiagnostic")

public Q_SLOTS:
    QVariantMap GetDiagnostics() const
    {
        return {{u"RxMode"_s, u"802.11ax"_s}, {u"TxMode"_s, u"802.11ac"_s}, {u"RSSI"_s, -52}};
    }
};

// Every tool fails to start: the answers can only come from the bus.
class NoTools final : public platform::ToolRunner {
public:
    QMutex lock;
    QStringList programs;

    QCoro::Task<platform::ToolResult> run(platform::ToolRequest request) override
    {
        const QMutexLocker locker(&lock);
        programs.append(request.program);
        co_return platform::ToolResult{};
    }
};

} // namespace

// The Wi-Fi name and standard from NetworkManager and iwd on a private bus, without iw.
class TestWifiProbes : public QObject {
    Q_OBJECT

private:
    QProcess m_bus;
    QString m_address;
    // The services answer from a thread of their own: the probes' calls block theirs.
    QThread m_serviceThread;
    FakeManager m_manager;
    FakeWirelessDevice m_device;
    FakeAccessPoint m_point;
    FakeIwd m_iwd;
    FakeDiagnostics m_diagnostics;

    QDBusConnection service() const
    {
        return QDBusConnection::connectToBus(m_address, u"service"_s);
    }
    QDBusConnection client() const { return QDBusConnection::connectToBus(m_address, u"client"_s); }

    void registerObject(const QString &path, QObject *object, QDBusConnection::RegisterOptions how)
    {
        object->moveToThread(&m_serviceThread);
        QVERIFY(service().registerObject(path, object, how));
    }

private Q_SLOTS:
    void initTestCase()
    {
        DBusObjectManager::registerTypes();
        m_bus.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address=1"_s});
        if (!m_bus.waitForStarted(5000)) {
            QSKIP("dbus-daemon is not installed");
        }
        QVERIFY(m_bus.waitForReadyRead(5000));
        m_address = QString::fromUtf8(m_bus.readLine()).trimmed();
        QVERIFY(service().isConnected());
        m_serviceThread.start();
        registerObject(nmPath, &m_manager, QDBusConnection::ExportAllSlots);
        registerObject(nmDevicePath, &m_device, QDBusConnection::ExportAllProperties);
        registerObject(nmPointPath, &m_point, QDBusConnection::ExportAllProperties);
        registerObject(u"/"_s, &m_iwd, QDBusConnection::ExportAllSlots);
        registerObject(iwdStationPath, &m_diagnostics, QDBusConnection::ExportAllSlots);
    }

    void cleanupTestCase()
    {
        QDBusConnection::disconnectFromBus(u"service"_s);
        QDBusConnection::disconnectFromBus(u"client"_s);
        m_serviceThread.quit();
        m_serviceThread.wait();
        m_bus.kill();
        m_bus.waitForFinished();
    }

    // NetworkManager's access point names the network; its 6 GHz frequency the standard.
    void networkManagerAnswers()
    {
        QVERIFY(service().registerService(u"org.freedesktop.NetworkManager"_s));
        NoTools tools;
        platform::LinuxNetworkProbes probes(tools, client());
        QCOMPARE(QCoro::waitFor(probes.wifiName(u"wlp2s0"_s)), std::optional(u"Café 6E"_s));
        QCOMPARE(QCoro::waitFor(probes.wifiStandard(u"wlp2s0"_s)), std::optional(u"802.11ax"_s));
        QVERIFY(tools.programs.isEmpty());
        QVERIFY(service().unregisterService(u"org.freedesktop.NetworkManager"_s));
    }

    // Where iwd runs instead, its station's network and diagnostics answer.
    void iwdAnswers()
    {
        QVERIFY(service().registerService(u"net.connman.iwd"_s));
        NoTools tools;
        platform::LinuxNetworkProbes probes(tools, client());
        QCOMPARE(QCoro::waitFor(probes.wifiName(u"wlan0"_s)), std::optional(u"Lab AX"_s));
        QCOMPARE(QCoro::waitFor(probes.wifiStandard(u"wlan0"_s)), std::optional(u"802.11ax"_s));
        // A station with no network has no name, as iw's "Not connected." has none.
        QCOMPARE(QCoro::waitFor(probes.wifiName(u"wlan1"_s)), std::optional(u"WiFi"_s));
        QVERIFY(tools.programs.isEmpty());
        QVERIFY(service().unregisterService(u"net.connman.iwd"_s));
    }

    // NetworkManager names the network; at 2.4 GHz its frequency says nothing of the standard,
    // which iwd (NetworkManager's own Wi-Fi backend here) knows.
    void networkManagerOnIwd()
    {
        m_point.frequency = 2437;
        QVERIFY(service().registerService(u"org.freedesktop.NetworkManager"_s));
        QVERIFY(service().registerService(u"net.connman.iwd"_s));
        NoTools tools;
        platform::LinuxNetworkProbes probes(tools, client());
        QCOMPARE(QCoro::waitFor(probes.wifiName(u"wlp2s0"_s)), std::optional(u"Café 6E"_s));
        // wlp2s0 is not iwd's: iw is the last resort, and it is missing.
        QCOMPARE(QCoro::waitFor(probes.wifiStandard(u"wlp2s0"_s)), std::nullopt);
        QCOMPARE(tools.programs, QStringList{platform::LinuxNetworkProbes::iwPath.toString()});
        QVERIFY(service().unregisterService(u"org.freedesktop.NetworkManager"_s));
        QVERIFY(service().unregisterService(u"net.connman.iwd"_s));
        m_point.frequency = 5955;
    }

    // Neither service: iw answers (here: it cannot run).
    void neitherServiceLeavesIt()
    {
        NoTools tools;
        platform::LinuxNetworkProbes probes(tools, client());
        QCOMPARE(QCoro::waitFor(probes.wifiName(u"wlan0"_s)), std::optional(u"WiFi"_s));
        QCOMPARE(tools.programs, QStringList{platform::LinuxNetworkProbes::iwPath.toString()});
    }

    void modes()
    {
        using Probes = platform::LinuxNetworkProbes;
        QCOMPARE(Probes::newestMode({u"802.11n"_s, u"802.11ac"_s}), std::optional(u"802.11ac"_s));
        QCOMPARE(Probes::newestMode({u"802.11be"_s, u""_s}), std::optional(u"802.11be"_s));
        QCOMPARE(Probes::newestMode({u"bogus"_s, QString()}), std::nullopt);
        QCOMPARE(Probes::standardFromFrequency(6115), std::optional(u"802.11ax"_s));
        QCOMPARE(Probes::standardFromFrequency(5180), std::nullopt);
        QCOMPARE(Probes::standardFromFrequency(2412), std::nullopt);
    }
};

KV_TEST_MAIN(TestWifiProbes)
#include "tst_wifiprobes.moc"
