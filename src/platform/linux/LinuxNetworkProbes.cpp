#include "LinuxNetworkProbes.h"

#include "DBusObjectManager.h"
#include "ProcessToolRunner.h"

#include <QDBusConnectionInterface>
#include <QDBusInterface>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QStringDecoder>

namespace platform {

namespace {

const QString networkManager = QStringLiteral("org.freedesktop.NetworkManager");
const QString iwd = QStringLiteral("net.connman.iwd");
constexpr int dbusTimeoutMs = 1000;

/// iw prints every byte of an SSID that is not printable ASCII (and a leading or trailing space,
/// and the backslash) as \xNN.
QByteArray unescapeIw(QByteArrayView text)
{
    QByteArray bytes;
    bytes.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 3 < text.size() && text[i + 1] == 'x') {
            bool ok = false;
            const int value = text.sliced(i + 2, 2).toByteArray().toInt(&ok, 16);
            if (ok) {
                bytes.append(char(value));
                i += 3;
                continue;
            }
        }
        bytes.append(text[i]);
    }
    return bytes;
}

std::optional<QString> decodeUtf8(const QByteArray &bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8);
    QString text = decoder.decode(bytes);
    if (decoder.hasError()) {
        return std::nullopt;
    }
    return text;
}

} // namespace

LinuxNetworkProbes::LinuxNetworkProbes(ToolRunner &runner, std::optional<QDBusConnection> bus)
    : m_runner(runner)
    , m_ping(runner)
    , m_bus(std::move(bus))
{
}

QCoro::Task<std::optional<QByteArray>> LinuxNetworkProbes::pingOnce()
{
    return m_ping.echoOnce(QStringLiteral("1.1.1.1"));
}

QCoro::Task<ToolResult> LinuxNetworkProbes::runIwLink(const QString &interfaceName)
{
    ToolRequest request;
    request.program = iwPath.toString();
    request.arguments = {QStringLiteral("dev"), interfaceName, QStringLiteral("link")};
    request.timeout = std::chrono::seconds(5);
    co_return co_await m_runner.run(std::move(request));
}

QCoro::Task<std::optional<QString>> LinuxNetworkProbes::wifiName(QString interfaceName)
{
    if (const std::optional<QString> ssid = fromNetworkManager(interfaceName).ssid) {
        co_return nameFromSsid(*ssid);
    }
    const ServiceLink iwd = fromIwd(interfaceName);
    if (iwd.ssid) {
        co_return nameFromSsid(*iwd.ssid);
    }
    if (iwd.notConnected) {
        co_return QStringLiteral("WiFi");
    }
    const ToolResult result = co_await runIwLink(interfaceName);
    if (result.outcome == ToolResult::Outcome::FailedToStart) {
        co_return QStringLiteral("WiFi");
    }
    // Output that is not text publishes nothing.
    if (!result.outputText()) {
        co_return std::nullopt;
    }
    co_return nameFromIwLink(result.standardOutput);
}

QCoro::Task<std::optional<QString>> LinuxNetworkProbes::wifiStandard(QString interfaceName)
{
    if (const std::optional<QString> standard = fromNetworkManager(interfaceName).standard) {
        co_return standard;
    }
    // NetworkManager may itself run on iwd, which knows the mode of the link.
    if (const std::optional<QString> standard = fromIwd(interfaceName).standard) {
        co_return standard;
    }
    const ToolResult result = co_await runIwLink(interfaceName);
    if (result.outcome == ToolResult::Outcome::FailedToStart) {
        co_return std::nullopt;
    }
    co_return standardFromIwLink(result.outputBytes());
}

QString LinuxNetworkProbes::nameFromSsid(const QString &ssid)
{
    const QString trimmed = ssid.trimmed();
    if (!trimmed.isEmpty() && !trimmed.contains(u"Off")) {
        return trimmed;
    }
    return QStringLiteral("Connected");
}

QString LinuxNetworkProbes::nameFromIwLink(const QByteArray &output)
{
    const QList<QByteArray> lines = output.split('\n');
    for (const QByteArray &line : lines) {
        const QByteArray trimmed = line.trimmed();
        if (trimmed.startsWith("SSID:")) {
            const QByteArray value = unescapeIw(trimmed.mid(5).trimmed());
            return nameFromSsid(decodeUtf8(value).value_or(QString::fromLatin1(value)));
        }
    }
    return QStringLiteral("WiFi");
}

std::optional<QString> LinuxNetworkProbes::standardFromIwLink(const QByteArray &output)
{
    int generation = 0;
    const QList<QByteArray> lines = output.split('\n');
    for (const QByteArray &line : lines) {
        const QByteArray trimmed = line.trimmed();
        if (!trimmed.startsWith("tx bitrate:") && !trimmed.startsWith("rx bitrate:")) {
            continue;
        }
        if (trimmed.contains(" EHT-MCS ")) {
            generation = std::max(generation, 7);
        } else if (trimmed.contains(" HE-MCS ")) {
            generation = std::max(generation, 6);
        } else if (trimmed.contains(" VHT-MCS ")) {
            generation = std::max(generation, 5);
        } else if (trimmed.contains(" MCS ")) {
            generation = std::max(generation, 4);
        }
    }
    switch (generation) {
    case 7:
        return QStringLiteral("802.11be");
    case 6:
        return QStringLiteral("802.11ax");
    case 5:
        return QStringLiteral("802.11ac");
    case 4:
        return QStringLiteral("802.11n");
    default:
        return std::nullopt;
    }
}

bool LinuxNetworkProbes::serviceRuns(const QString &service) const
{
    return m_bus && m_bus->isConnected() && m_bus->interface() &&
           m_bus->interface()->isServiceRegistered(service).value();
}

LinuxNetworkProbes::ServiceLink
LinuxNetworkProbes::fromNetworkManager(const QString &interfaceName) const
{
    ServiceLink link;
    if (!serviceRuns(networkManager)) {
        return link;
    }
    QDBusInterface manager(networkManager, QStringLiteral("/org/freedesktop/NetworkManager"),
                           networkManager, *m_bus);
    manager.setTimeout(dbusTimeoutMs);
    const QDBusReply<QDBusObjectPath> device =
        manager.call(QStringLiteral("GetDeviceByIpIface"), interfaceName);
    if (!device.isValid()) {
        return link;
    }
    QDBusInterface wireless(networkManager, device.value().path(),
                            networkManager + u".Device.Wireless", *m_bus);
    wireless.setTimeout(dbusTimeoutMs);
    const QVariant accessPoint = wireless.property("ActiveAccessPoint");
    const QString accessPointPath = accessPoint.value<QDBusObjectPath>().path();
    if (accessPointPath.isEmpty() || accessPointPath == u"/") {
        return link;
    }
    QDBusInterface point(networkManager, accessPointPath, networkManager + u".AccessPoint", *m_bus);
    point.setTimeout(dbusTimeoutMs);
    const QVariant ssid = point.property("Ssid");
    if (ssid.isValid()) {
        const QByteArray bytes = ssid.toByteArray();
        link.ssid = decodeUtf8(bytes).value_or(QString::fromLatin1(bytes));
    }
    bool ok = false;
    const uint frequency = point.property("Frequency").toUInt(&ok);
    if (ok) {
        link.standard = standardFromFrequency(frequency);
    }
    return link;
}

LinuxNetworkProbes::ServiceLink LinuxNetworkProbes::fromIwd(const QString &interfaceName) const
{
    ServiceLink link;
    if (!serviceRuns(iwd)) {
        return link;
    }
    const std::optional<DBusObjectManager::ManagedObjects> objects =
        DBusObjectManager::managedObjects(*m_bus, iwd, dbusTimeoutMs);
    if (!objects) {
        return link;
    }
    for (auto object = objects->cbegin(); object != objects->cend(); ++object) {
        const QVariantMap device = object->value(QStringLiteral("net.connman.iwd.Device"));
        if (device.value(QStringLiteral("Name")).toString() != interfaceName) {
            continue;
        }
        const QVariantMap station = object->value(QStringLiteral("net.connman.iwd.Station"));
        const QString network =
            station.value(QStringLiteral("ConnectedNetwork")).value<QDBusObjectPath>().path();
        const auto connected = objects->constFind(QDBusObjectPath(network));
        if (network.isEmpty() || connected == objects->cend()) {
            link.notConnected = true;
            return link;
        }
        link.ssid = connected->value(QStringLiteral("net.connman.iwd.Network"))
                        .value(QStringLiteral("Name"))
                        .toString();

        QDBusInterface diagnostic(iwd, object.key().path(),
                                  QStringLiteral("net.connman.iwd.StationDiagnostic"), *m_bus);
        diagnostic.setTimeout(dbusTimeoutMs);
        const QDBusReply<QVariantMap> figures = diagnostic.call(QStringLiteral("GetDiagnostics"));
        if (figures.isValid()) {
            link.standard =
                newestMode({figures.value().value(QStringLiteral("RxMode")).toString(),
                            figures.value().value(QStringLiteral("TxMode")).toString()});
        }
        return link;
    }
    return link;
}

std::optional<QString> LinuxNetworkProbes::standardFromFrequency(uint megahertz)
{
    if (megahertz >= 5925 && megahertz <= 7125) {
        return QStringLiteral("802.11ax");
    }
    return std::nullopt;
}

std::optional<QString> LinuxNetworkProbes::newestMode(const QStringList &modes)
{
    // Oldest first.
    static const QStringList generations{QStringLiteral("802.11a"),  QStringLiteral("802.11b"),
                                         QStringLiteral("802.11g"),  QStringLiteral("802.11n"),
                                         QStringLiteral("802.11ac"), QStringLiteral("802.11ax"),
                                         QStringLiteral("802.11be")};
    qsizetype newest = -1;
    for (const QString &mode : modes) {
        newest = std::max(newest, generations.indexOf(mode.trimmed()));
    }
    if (newest < 0) {
        return std::nullopt;
    }
    return generations.at(newest);
}

std::unique_ptr<NetworkProbes> NetworkProbes::create(ToolRunner &runner)
{
    return std::make_unique<LinuxNetworkProbes>(runner, QDBusConnection::systemBus());
}

namespace {

/// LinuxNetworkProbes with a tool runner of its own.
class OwningNetworkProbes final : public NetworkProbes {
public:
    OwningNetworkProbes()
        : m_probes(m_runner, QDBusConnection::systemBus())
    {
    }

    QCoro::Task<std::optional<QByteArray>> pingOnce() override { return m_probes.pingOnce(); }
    QCoro::Task<std::optional<QString>> wifiName(QString interfaceName) override
    {
        return m_probes.wifiName(std::move(interfaceName));
    }
    QCoro::Task<std::optional<QString>> wifiStandard(QString interfaceName) override
    {
        return m_probes.wifiStandard(std::move(interfaceName));
    }

private:
    ProcessToolRunner m_runner;
    LinuxNetworkProbes m_probes;
};

} // namespace

std::unique_ptr<NetworkProbes> NetworkProbes::create()
{
    return std::make_unique<OwningNetworkProbes>();
}

} // namespace platform
