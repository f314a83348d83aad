#include "FuzzCheck.h"
#include "platform/linux/MutterDisplayState.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusServer>
#include <QDBusVirtualObject>
#include <QEventLoop>
#include <QTemporaryDir>

#include <algorithm>
#include <cmath>
#include <fuzzer/FuzzedDataProvider.h>

using platform::MutterDisplayState;

// The compositor's reply is built from the fuzz input in the reply's own shape, sent over a
// private peer-to-peer D-Bus connection inside this process, and read back by the program's
// reader from the message that arrives, as it would be from the session bus.

namespace {

struct Mode {
    QString id;
    int width = 0;
    int height = 0;
    double refreshRate = 0;
    double preferredScale = 0;
    QList<double> scales;
    QVariantMap properties;
};

struct Monitor {
    QString connector, vendor, product, serial;
    QList<Mode> modes;
    QVariantMap properties;
};

struct MonitorName {
    QString connector, vendor, product, serial;
};

struct Logical {
    int x = 0;
    int y = 0;
    double scale = 1;
    uint transform = 0;
    bool primary = false;
    QList<MonitorName> monitors;
    QVariantMap properties;
};

QDBusArgument &operator<<(QDBusArgument &argument, const Mode &mode)
{
    argument.beginStructure();
    argument << mode.id << mode.width << mode.height << mode.refreshRate << mode.preferredScale
             << mode.scales << mode.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, Mode &)
{
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const MonitorName &name)
{
    argument.beginStructure();
    argument << name.connector << name.vendor << name.product << name.serial;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, MonitorName &)
{
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const Monitor &monitor)
{
    argument.beginStructure();
    argument << MonitorName{monitor.connector, monitor.vendor, monitor.product, monitor.serial}
             << monitor.modes << monitor.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, Monitor &)
{
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const Logical &logical)
{
    argument.beginStructure();
    argument << logical.x << logical.y << logical.scale << logical.transform << logical.primary
             << logical.monitors << logical.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, Logical &)
{
    return argument;
}

} // namespace

Q_DECLARE_METATYPE(Mode)
Q_DECLARE_METATYPE(MonitorName)
Q_DECLARE_METATYPE(Monitor)
Q_DECLARE_METATYPE(Logical)

namespace {

QString text(FuzzedDataProvider &input)
{
    static const QStringList known = {u"DP-1"_s, u"HDMI-1"_s, u"eDP-1"_s, u""_s};
    if (input.ConsumeBool()) {
        return known.at(input.ConsumeIntegralInRange<int>(0, int(known.size()) - 1));
    }
    // D-Bus strings are UTF-8 without NUL; anything else makes the reply an error.
    return QString::fromStdString(input.ConsumeRandomLengthString(16));
}

double number(FuzzedDataProvider &input)
{
    switch (input.ConsumeIntegralInRange<int>(0, 3)) {
    case 0:
        return std::nan("");
    case 1:
        return input.ConsumeBool() ? INFINITY : -INFINITY;
    case 2:
        return input.ConsumeFloatingPoint<double>();
    default:
        return input.ConsumeIntegralInRange<int>(0, 240);
    }
}

int dimension(FuzzedDataProvider &input)
{
    return input.ConsumeBool() ? input.ConsumeIntegralInRange<int>(-1, 4000)
                               : input.ConsumeIntegral<int>();
}

QVariantMap properties(FuzzedDataProvider &input)
{
    static const QStringList keys = {u"is-current"_s, u"is-preferred"_s, u"display-name"_s,
                                     u"is-builtin"_s};
    QVariantMap map;
    const int count = input.ConsumeIntegralInRange<int>(0, 3);
    for (int i = 0; i < count; ++i) {
        const QString key =
            input.ConsumeBool() ? keys.at(input.ConsumeIntegralInRange<int>(0, 3)) : text(input);
        switch (input.ConsumeIntegralInRange<int>(0, 3)) {
        case 0:
            map.insert(key, input.ConsumeBool());
            break;
        case 1:
            map.insert(key, input.ConsumeIntegral<int>());
            break;
        case 2:
            map.insert(key, text(input));
            break;
        default:
            map.insert(key, number(input));
            break;
        }
    }
    return map;
}

QList<QVariant> replyArguments(FuzzedDataProvider &input)
{
    QList<Monitor> monitors;
    const int monitorCount = input.ConsumeIntegralInRange<int>(0, 4);
    for (int m = 0; m < monitorCount; ++m) {
        Monitor monitor{text(input), text(input), text(input), text(input), {}, properties(input)};
        const int modeCount = input.ConsumeIntegralInRange<int>(0, 5);
        for (int i = 0; i < modeCount; ++i) {
            Mode mode{text(input), dimension(input), dimension(input), number(input), number(input),
                      {},          properties(input)};
            mode.scales.append(number(input));
            monitor.modes.append(mode);
        }
        monitors.append(monitor);
    }
    QList<Logical> logicals;
    const int logicalCount = input.ConsumeIntegralInRange<int>(0, 3);
    for (int l = 0; l < logicalCount; ++l) {
        Logical logical{dimension(input),    dimension(input),
                        number(input),       input.ConsumeIntegral<uint>(),
                        input.ConsumeBool(), {},
                        properties(input)};
        const int count = input.ConsumeIntegralInRange<int>(0, 3);
        for (int i = 0; i < count; ++i) {
            logical.monitors.append({text(input), text(input), text(input), text(input)});
        }
        logicals.append(logical);
    }
    return {input.ConsumeIntegral<uint>(), QVariant::fromValue(monitors),
            QVariant::fromValue(logicals), properties(input)};
}

/// The compositor's side: answers each call with the reply the current input describes.
class FakeDisplayConfig final : public QDBusVirtualObject {
public:
    QByteArray input;

    QString introspect(const QString &) const override { return {}; }

    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        FuzzedDataProvider provider(reinterpret_cast<const uint8_t *>(input.constData()),
                                    std::size_t(input.size()));
        QDBusMessage reply;
        switch (provider.ConsumeIntegralInRange<int>(0, 7)) {
        case 0:
            reply = message.createReply();
            break;
        case 1:
            reply = message.createReply(QVariantList{text(provider), provider.ConsumeBool()});
            break;
        default:
            reply = message.createReply(replyArguments(provider));
            break;
        }
        // A reply D-Bus cannot carry (a string that is not UTF-8) is not sent: the caller then
        // gets an empty reply rather than waiting for its timeout.
        if (!connection.send(reply)) {
            connection.send(message.createReply());
        }
        return true;
    }
};

struct Peers {
    QTemporaryDir folder;
    QDBusServer server{u"unix:tmpdir="_s + folder.path()};
    FakeDisplayConfig service;
    QDBusConnection client{u"none"_s};
    // The server's end lasts only as long as someone holds it.
    QDBusConnection serverEnd{u"none"_s};
};

Peers *peers = nullptr;

} // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    static QCoreApplication application(*argc, *argv);
    qDBusRegisterMetaType<Mode>();
    qDBusRegisterMetaType<QList<Mode>>();
    qDBusRegisterMetaType<MonitorName>();
    qDBusRegisterMetaType<QList<MonitorName>>();
    qDBusRegisterMetaType<Monitor>();
    qDBusRegisterMetaType<QList<Monitor>>();
    qDBusRegisterMetaType<Logical>();
    qDBusRegisterMetaType<QList<Logical>>();
    MutterDisplayState::registerTypes();

    peers = new Peers;
    bool connected = false;
    QObject::connect(&peers->server, &QDBusServer::newConnection,
                     [&connected](const QDBusConnection &connection) {
                         peers->serverEnd = connection;
                         peers->serverEnd.registerVirtualObject(
                             u"/org/gnome/Mutter/DisplayConfig"_s, &peers->service);
                         connected = true;
                     });
    peers->client = QDBusConnection::connectToPeer(peers->server.address(), u"fuzz"_s);
    while (!connected) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    FUZZ_CHECK(peers->client.isConnected());
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    peers->service.input = fuzzBytes(data, size);
    const QString service = u"org.gnome.Mutter.DisplayConfig"_s;
    QDBusPendingCallWatcher call(peers->client.asyncCall(QDBusMessage::createMethodCall(
        service, u"/org/gnome/Mutter/DisplayConfig"_s, service, u"GetCurrentState"_s)));
    // The watcher's signal is what wakes this thread when the reply arrives.
    QEventLoop loop;
    QObject::connect(&call, &QDBusPendingCallWatcher::finished, &loop, &QEventLoop::quit);
    if (!call.isFinished()) {
        loop.exec();
    }
    const std::optional<MutterDisplayState> state = MutterDisplayState::parse(call.reply());
    if (!state) {
        return 0;
    }
    // Every mode read has a real size; the main output's current mode is one of its modes.
    for (const MutterDisplayState::Monitor &monitor : state->monitors) {
        for (const platform::WaylandOutputMode &mode : monitor.modes) {
            FUZZ_CHECK(mode.size.width() > 0 && mode.size.height() > 0);
        }
    }
    const std::optional<platform::WaylandOutput> output = state->mainOutput();
    if (output && output->current) {
        FUZZ_CHECK(std::ranges::any_of(output->modes, [&](const platform::WaylandOutputMode &mode) {
            return mode.id == output->current->id && mode.size == output->current->size;
        }));
        (void)state->applyArguments(output->current->size);
        (void)state->applyArguments(QSize(1920, 1080));
    }
    return 0;
}
