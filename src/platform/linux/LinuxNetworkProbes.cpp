#include "LinuxNetworkProbes.h"

#include "ProcessToolRunner.h"

#include <QDBusConnectionInterface>
#include <QDBusInterface>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QStringDecoder>

namespace platform {

namespace {

const QString networkManager = QStringLiteral("org.freedesktop.NetworkManager");
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
    if (const std::optional<QString> ssid = ssidFromNetworkManager(interfaceName)) {
        co_return nameFromSsid(*ssid);
    }
    const ToolResult result = co_await runIwLink(interfaceName);
    if (result.outcome == ToolResult::Outcome::FailedToStart) {
        co_return QStringLiteral("WiFi");
    }
    // Output that is not text publishes nothing.
    if (!decodeUtf8(result.standardOutput)) {
        co_return std::nullopt;
    }
    co_return nameFromIwLink(result.standardOutput);
}

QCoro::Task<std::optional<QString>> LinuxNetworkProbes::wifiStandard(QString interfaceName)
{
    const ToolResult result = co_await runIwLink(interfaceName);
    if (result.outcome == ToolResult::Outcome::FailedToStart) {
        co_return std::nullopt;
    }
    co_return standardFromIwLink(result.standardOutput);
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

std::optional<QString>
LinuxNetworkProbes::ssidFromNetworkManager(const QString &interfaceName) const
{
    if (!m_bus || !m_bus->isConnected() || !m_bus->interface() ||
        !m_bus->interface()->isServiceRegistered(networkManager).value()) {
        return std::nullopt;
    }
    QDBusInterface manager(networkManager, QStringLiteral("/org/freedesktop/NetworkManager"),
                           networkManager, *m_bus);
    manager.setTimeout(dbusTimeoutMs);
    const QDBusReply<QDBusObjectPath> device =
        manager.call(QStringLiteral("GetDeviceByIpIface"), interfaceName);
    if (!device.isValid()) {
        return std::nullopt;
    }
    QDBusInterface wireless(networkManager, device.value().path(),
                            networkManager + u".Device.Wireless", *m_bus);
    wireless.setTimeout(dbusTimeoutMs);
    const QVariant accessPoint = wireless.property("ActiveAccessPoint");
    const QString accessPointPath = accessPoint.value<QDBusObjectPath>().path();
    if (accessPointPath.isEmpty() || accessPointPath == u"/") {
        return std::nullopt;
    }
    QDBusInterface point(networkManager, accessPointPath, networkManager + u".AccessPoint", *m_bus);
    point.setTimeout(dbusTimeoutMs);
    const QVariant ssid = point.property("Ssid");
    if (!ssid.isValid()) {
        return std::nullopt;
    }
    return decodeUtf8(ssid.toByteArray()).value_or(QString::fromLatin1(ssid.toByteArray()));
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
