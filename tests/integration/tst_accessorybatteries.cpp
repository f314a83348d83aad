#include "TestEnvironment.h"
#include "platform/linux/BluezBatteries.h"
#include "platform/linux/SysfsBatteries.h"
#include "platform/linux/SystemAccessoryBatteries.h"
#include "platform/linux/UPowerBatteries.h"

#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QGuiApplication>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::StringLiterals;
using platform::PeripheralBattery;
using Batteries = QList<PeripheralBattery>;

namespace {

const QString fixtureSys = QStringLiteral(KV_FIXTURES_DIR "/linux/power-supply/sys");

// One device as UPower describes it on the bus.
class FakeDevice : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.UPower.Device")
    Q_PROPERTY(uint Type MEMBER type)
    Q_PROPERTY(QString Model MEMBER model)
    Q_PROPERTY(QString Vendor MEMBER vendor)
    Q_PROPERTY(double Percentage MEMBER percentage)
    Q_PROPERTY(uint BatteryLevel MEMBER batteryLevel)
    Q_PROPERTY(bool PowerSupply MEMBER powerSupply)
    Q_PROPERTY(bool IsPresent MEMBER isPresent)

public:
    uint type = 0;
    QString model;
    QString vendor;
    double percentage = 0;
    uint batteryLevel = 1; // "none": the device reports a percentage
    bool powerSupply = false;
    bool isPresent = true;
};

// The daemon's root object: lists the devices in the order they were added.
class FakeUPower : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.UPower")

public:
    QList<QDBusObjectPath> devices;

public Q_SLOTS:
    QList<QDBusObjectPath> EnumerateDevices() const { return devices; }
};

// BlueZ's object manager: a headset and a controller with a battery, a speaker without one.
class FakeBluez : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.DBus.ObjectManager")

public:
    platform::BluezBatteries::ManagedObjects objects;

public Q_SLOTS:
    platform::BluezBatteries::ManagedObjects GetManagedObjects() const { return objects; }
};

} // namespace

class TestAccessoryBatteries : public QObject {
    Q_OBJECT

private:
    QProcess m_bus;
    QString m_address;
    FakeUPower m_upower;
    std::vector<std::unique_ptr<FakeDevice>> m_devices;

    QDBusConnection serviceConnection() const
    {
        return QDBusConnection::connectToBus(m_address, u"service"_s);
    }

    void addDevice(const QString &name, uint type, const QString &model, double percentage,
                   uint level = 1, bool powerSupply = false, const QString &vendor = {},
                   bool present = true)
    {
        auto device = std::make_unique<FakeDevice>();
        device->type = type;
        device->model = model;
        device->vendor = vendor;
        device->percentage = percentage;
        device->batteryLevel = level;
        device->powerSupply = powerSupply;
        device->isPresent = present;
        const QString path = u"/org/freedesktop/UPower/devices/"_s + name;
        QVERIFY(serviceConnection().registerObject(path, device.get(),
                                                   QDBusConnection::ExportAllProperties));
        m_upower.devices.append(QDBusObjectPath(path));
        m_devices.push_back(std::move(device));
    }

private Q_SLOTS:
    void initTestCase()
    {
        // A private bus: nothing here reaches the machine's own system bus.
        m_bus.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address=1"_s});
        if (!m_bus.waitForStarted(5000)) {
            QSKIP("dbus-daemon is not installed");
        }
        QVERIFY(m_bus.waitForReadyRead(5000));
        m_address = QString::fromUtf8(m_bus.readLine()).trimmed();
        QVERIFY(!m_address.isEmpty());

        QDBusConnection service = serviceConnection();
        QVERIFY(service.isConnected());
        QVERIFY(service.registerObject(u"/org/freedesktop/UPower"_s, &m_upower,
                                       QDBusConnection::ExportAllSlots));
        // Mains and the computer's own battery come first, as on a laptop; neither is listed.
        addDevice(u"line_power_AC"_s, 1, {}, 0, 1, true);
        addDevice(u"battery_BAT0"_s, 2, u"DELL 7FHJ"_s, 57, 1, true);
        addDevice(u"mouse_hidpp"_s, 5, u"MX Master 3"_s, 82);
        // A keyboard that reports only a coarse level ("high"): UPower fills in a percentage.
        addDevice(u"keyboard_hid"_s, 6, {}, 70, 7, false, u"Logitech"_s);
        // A device whose level is unknown: connected, no percentage.
        addDevice(u"pen_wacom"_s, 13, u"Intuos Pen"_s, 0, 0);
        addDevice(u"gaming_input_ps"_s, 12, u"Wireless Controller"_s, 55.6);
        addDevice(u"headset_bt"_s, 17, u"WH-1000XM4"_s, 19.4);
        addDevice(u"ups_1"_s, 3, u"Back-UPS"_s, 100);
        // A paired mouse that is switched off: UPower keeps it, with IsPresent false and 0 %.
        addDevice(u"mouse_off"_s, 5, u"MX Anywhere 3"_s, 0, 1, false, {}, false);
        QVERIFY(service.registerService(u"org.freedesktop.UPower"_s));
    }

    void cleanupTestCase()
    {
        QDBusConnection::disconnectFromBus(u"service"_s);
        QDBusConnection::disconnectFromBus(u"client"_s);
        m_bus.kill();
        m_bus.waitForFinished();
    }

    void upowerListsAccessoriesInItsOrder()
    {
        platform::UPowerBatteries upower(QDBusConnection::connectToBus(m_address, u"client"_s));
        const platform::UPowerBatteries::Result result = QCoro::waitFor(upower.read());
        QCOMPARE(result.error, QString());
        const Batteries expected{{u"MX Master 3"_s, 82},
                                 {u"Logitech Keyboard"_s, 70},
                                 {u"Intuos Pen"_s, -1},
                                 {u"Wireless Controller"_s, 56},
                                 {u"WH-1000XM4"_s, 19}};
        QCOMPARE(result.batteries, expected);

        platform::SystemAccessoryBatteries system(
            QDBusConnection::connectToBus(m_address, u"client"_s), fixtureSys);
        QCOMPARE(QCoro::waitFor(system.read()), expected);
    }

    // With UPower away, the kernel's own folders answer.
    void withoutUPowerTheKernelAnswers()
    {
        QDBusConnection client = QDBusConnection::connectToBus(m_address, u"client"_s);
        platform::UPowerBatteries upower(client);
        QVERIFY(serviceConnection().unregisterService(u"org.freedesktop.UPower"_s));
        const platform::UPowerBatteries::Result result = QCoro::waitFor(upower.read());
        QVERIFY(!result.error.isEmpty());
        QVERIFY(result.batteries.isEmpty());

        platform::SystemAccessoryBatteries system(client, fixtureSys);
        QCOMPARE(QCoro::waitFor(system.read()), platform::SysfsBatteries(fixtureSys).read());
        QVERIFY(serviceConnection().registerService(u"org.freedesktop.UPower"_s));
    }

    // Without UPower, BlueZ's batteries come first, then the kernel's devices it did not name.
    void withoutUPowerBluezAnswersBeforeTheKernel()
    {
        platform::DBusObjectManager::registerTypes();
        using Interfaces = platform::BluezBatteries::Interfaces;
        FakeBluez bluez;
        const QVariantMap battery64{{u"Percentage"_s, QVariant::fromValue(uchar(64))}};
        bluez.objects.insert(QDBusObjectPath(u"/org/bluez/hci0"_s),
                             Interfaces{{u"org.bluez.Adapter1"_s, {{u"Name"_s, u"laptop"_s}}}});
        bluez.objects.insert(
            QDBusObjectPath(u"/org/bluez/hci0/dev_00_1F_20_AA_BB_CC"_s),
            Interfaces{
                {u"org.bluez.Device1"_s,
                 {{u"Name"_s, u"Keyboard K380"_s}, {u"Alias"_s, u"Wireless Keyboard"_s}}},
                {u"org.bluez.Battery1"_s, {{u"Percentage"_s, QVariant::fromValue(uchar(30))}}}});
        bluez.objects.insert(QDBusObjectPath(u"/org/bluez/hci0/dev_38_18_4C_01_02_03"_s),
                             Interfaces{{u"org.bluez.Device1"_s, {{u"Name"_s, u"WH-1000XM4"_s}}},
                                        {u"org.bluez.Battery1"_s, battery64}});
        bluez.objects.insert(QDBusObjectPath(u"/org/bluez/hci0/dev_AA_AA_AA_00_00_01"_s),
                             Interfaces{{u"org.bluez.Device1"_s, {{u"Name"_s, u"Speaker"_s}}}});
        QDBusConnection service = serviceConnection();
        QVERIFY(service.registerObject(u"/"_s, &bluez, QDBusConnection::ExportAllSlots));
        QVERIFY(service.registerService(u"org.bluez"_s));
        QVERIFY(service.unregisterService(u"org.freedesktop.UPower"_s));

        QDBusConnection client = QDBusConnection::connectToBus(m_address, u"client"_s);
        const platform::BluezBatteries::Result result =
            QCoro::waitFor(platform::BluezBatteries(client).read());
        QCOMPARE(result.error, QString());
        const Batteries fromBluez{{u"Wireless Keyboard"_s, 30}, {u"WH-1000XM4"_s, 64}};
        QCOMPARE(result.batteries, fromBluez);

        // The kernel lists the keyboard too (by its HID name): it is not shown twice.
        platform::SystemAccessoryBatteries system(client, fixtureSys);
        const Batteries expected{{u"Wireless Keyboard"_s, 30},
                                 {u"WH-1000XM4"_s, 64},
                                 {u"hid-nameless-battery"_s, 12},
                                 {u"MX Master 3"_s, 85},
                                 {u"Sony Interactive Entertainment Wireless Controller"_s, 40}};
        QCOMPARE(QCoro::waitFor(system.read()), expected);

        service.unregisterObject(u"/"_s);
        QVERIFY(service.unregisterService(u"org.bluez"_s));
        QVERIFY(service.registerService(u"org.freedesktop.UPower"_s));
    }

    void bluezObjects()
    {
        using Interfaces = platform::BluezBatteries::Interfaces;
        platform::BluezBatteries::ManagedObjects objects;
        const auto percent = [](uint value) {
            return QVariantMap{{u"Percentage"_s, QVariant::fromValue(uchar(value))}};
        };
        objects.insert(QDBusObjectPath(u"/a"_s), Interfaces{{u"org.bluez.Battery1"_s, percent(5)}});
        objects.insert(QDBusObjectPath(u"/b"_s),
                       Interfaces{{u"org.bluez.Battery1"_s, percent(250)},
                                  {u"org.bluez.Device1"_s, {{u"Name"_s, u"Junk"_s}}}});
        objects.insert(QDBusObjectPath(u"/c"_s),
                       Interfaces{{u"org.bluez.Battery1"_s, QVariantMap{}},
                                  {u"org.bluez.Device1"_s, {{u"Name"_s, u"No level"_s}}}});
        objects.insert(
            QDBusObjectPath(u"/d"_s),
            Interfaces{{u"org.bluez.Battery1"_s, percent(100)},
                       {u"org.bluez.Device1"_s, {{u"Alias"_s, u" "_s}, {u"Name"_s, u"Pad"_s}}}});
        QCOMPARE(platform::BluezBatteries::fromManagedObjects(objects),
                 (Batteries{{u"Bluetooth Device"_s, 5}, {u"Pad"_s, 100}}));
    }

    void withoutAnyBusTheKernelAnswers()
    {
        QDBusConnection nowhere =
            QDBusConnection::connectToBus(u"unix:path=/nonexistent/bus"_s, u"nowhere"_s);
        QVERIFY(!nowhere.isConnected());
        platform::SystemAccessoryBatteries system(nowhere, fixtureSys);
        QCOMPARE(QCoro::waitFor(system.read()).size(), 4);
        QDBusConnection::disconnectFromBus(u"nowhere"_s);
    }

    void kernelFolders()
    {
        const Batteries expected{{u"Wireless Keyboard"_s, -1},
                                 {u"hid-nameless-battery"_s, 12},
                                 {u"MX Master 3"_s, 85},
                                 {u"Sony Interactive Entertainment Wireless Controller"_s, 40}};
        QCOMPARE(platform::SysfsBatteries(fixtureSys).read(), expected);
        QVERIFY(platform::SysfsBatteries(u"/nonexistent"_s).read().isEmpty());
    }

    void deviceProperties_data()
    {
        QTest::addColumn<QVariantMap>("device");
        QTest::addColumn<bool>("listed");
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("battery");
        const auto device = [](uint type, const QString &model, double percentage) {
            return QVariantMap{
                {u"Type"_s, type},       {u"Model"_s, model},       {u"Percentage"_s, percentage},
                {u"BatteryLevel"_s, 1u}, {u"PowerSupply"_s, false}, {u"IsPresent"_s, true}};
        };
        QTest::newRow("mouse") << device(5, u"Mouse"_s, 49.5) << true << u"Mouse"_s << 50;
        QTest::newRow("mains") << device(1, {}, 0) << false << QString() << 0;
        QTest::newRow("laptop battery") << device(2, u"BAT"_s, 80) << false << QString() << 0;
        QTest::newRow("ups") << device(3, u"UPS"_s, 80) << false << QString() << 0;
        QVariantMap supply = device(10, u"Tablet"_s, 80);
        supply[u"PowerSupply"_s] = true;
        QTest::newRow("anything that powers the computer") << supply << false << QString() << 0;
        QTest::newRow("no model, no vendor") << device(17, {}, 33) << true << u"Headset"_s << 33;
        QTest::newRow("unknown kind") << device(99, {}, 10) << true << u"Device"_s << 10;
        QVariantMap unknownLevel = device(6, u"Keys"_s, 0);
        unknownLevel[u"BatteryLevel"_s] = 0u;
        QTest::newRow("level unknown while present") << unknownLevel << true << u"Keys"_s << -1;
        unknownLevel[u"IsPresent"_s] = false;
        QTest::newRow("level unknown, not present") << unknownLevel << false << QString() << 0;
        QVariantMap absent = device(5, u"MX Anywhere"_s, 0);
        absent[u"IsPresent"_s] = false;
        QTest::newRow("switched off or out of range") << absent << false << QString() << 0;
        QVariantMap noPresence = device(5, u"Old Daemon"_s, 40);
        noPresence.remove(u"IsPresent"_s);
        QTest::newRow("no presence property") << noPresence << true << u"Old Daemon"_s << 40;
        QTest::newRow("percentage not a number")
            << device(5, u"M"_s, qQNaN()) << true << u"M"_s << 0;
    }

    void deviceProperties()
    {
        QFETCH(QVariantMap, device);
        QFETCH(bool, listed);
        QFETCH(QString, name);
        QFETCH(int, battery);
        const std::optional<PeripheralBattery> result =
            platform::UPowerBatteries::fromProperties(device);
        QCOMPARE(result.has_value(), listed);
        if (listed) {
            QCOMPARE(result->name, name);
            QCOMPARE(result->battery, battery);
        }
    }
};

KV_TEST_MAIN(TestAccessoryBatteries)
#include "tst_accessorybatteries.moc"
