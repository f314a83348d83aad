#pragma once

#include "ToolPing.h"
#include "platform/NetworkProbes.h"
#include "platform/ToolRunner.h"

#include <QDBusConnection>

#include <optional>

namespace platform {

/// The network probes on Linux: iputils ping, iw for the Wi-Fi link and, where NetworkManager
/// answers on the given bus, its active access point's SSID first.
class LinuxNetworkProbes final : public NetworkProbes {
public:
    /// bus: where to look for NetworkManager; nothing skips it.
    LinuxNetworkProbes(ToolRunner &runner, std::optional<QDBusConnection> bus);

    QCoro::Task<std::optional<QByteArray>> pingOnce() override;
    QCoro::Task<std::optional<QString>> wifiName(QString interfaceName) override;
    QCoro::Task<std::optional<QString>> wifiStandard(QString interfaceName) override;

    static constexpr QStringView iwPath = u"/usr/sbin/iw";

    /// The naming rule applied to an SSID the system reported: the SSID itself when it is
    /// non-empty and does not contain "Off", otherwise "Connected".
    [[nodiscard]] static QString nameFromSsid(const QString &ssid);
    /// The name from `iw dev IF link` output: nameFromSsid() of the "SSID:" line's value, or
    /// "WiFi" when there is no such line ("Not connected."). iw's \xNN escapes are undone.
    [[nodiscard]] static QString nameFromIwLink(const QByteArray &output);
    /// The standard from the same output's "tx bitrate"/"rx bitrate" lines, the highest
    /// generation seen: EHT-MCS 802.11be, HE-MCS 802.11ax, VHT-MCS 802.11ac, MCS 802.11n.
    [[nodiscard]] static std::optional<QString> standardFromIwLink(const QByteArray &output);

private:
    QCoro::Task<ToolResult> runIwLink(const QString &interfaceName);
    std::optional<QString> ssidFromNetworkManager(const QString &interfaceName) const;

    ToolRunner &m_runner;
    ToolPing m_ping;
    std::optional<QDBusConnection> m_bus;
};

} // namespace platform
