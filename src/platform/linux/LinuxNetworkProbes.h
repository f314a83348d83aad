#pragma once

#include "ToolPing.h"
#include "platform/NetworkProbes.h"
#include "platform/ToolRunner.h"

#include <QDBusConnection>

#include <optional>

namespace platform {

/// The network probes on Linux: iputils ping and, for the Wi-Fi link, what answers first of
/// NetworkManager (its active access point's SSID and frequency), iwd (its station's network
/// and diagnostics) and, as the last resort, iw.
class LinuxNetworkProbes final : public NetworkProbes {
public:
    /// bus: where to look for NetworkManager and iwd; nothing skips both.
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
    /// The standard an access point's frequency (MHz) implies: the 6 GHz band is 802.11ax or
    /// later; other bands say nothing.
    [[nodiscard]] static std::optional<QString> standardFromFrequency(uint megahertz);
    /// The newest of the modes iwd's diagnostics name ("802.11n", "802.11ac", "802.11ax", …).
    [[nodiscard]] static std::optional<QString> newestMode(const QStringList &modes);

    /// What the Wi-Fi services on the bus say about one interface's link.
    struct ServiceLink {
        std::optional<QString> ssid;     ///< the network's name, as reported
        std::optional<QString> standard; ///< "802.11ax", …
        bool notConnected = false;       ///< the service knows the interface and it has no link
    };
    [[nodiscard]] ServiceLink fromNetworkManager(const QString &interfaceName) const;
    [[nodiscard]] ServiceLink fromIwd(const QString &interfaceName) const;

private:
    QCoro::Task<ToolResult> runIwLink(const QString &interfaceName);
    [[nodiscard]] bool serviceRuns(const QString &service) const;

    ToolRunner &m_runner;
    ToolPing m_ping;
    std::optional<QDBusConnection> m_bus;
};

} // namespace platform
