#pragma once

#include "platform/ConnectionPath.h"

#include <QString>

#include <optional>

class QSocketNotifier;

namespace platform {

class NetlinkCounters;

/// The connection path on Linux. Connected means the path works: a default route, in this
/// process's network namespace, through an interface that is up and running, whoever manages it
/// (NetworkManager, systemd-networkd, ifupdown, wg-quick, a command typed by hand). An rtnetlink
/// socket subscribed to link and route changes wakes the watcher (no polling) in every mode; the
/// link type comes from /sys/class/net. Where Qt's NetworkManager backend of QNetworkInformation
/// loads, its changes wake the watcher too and its transport medium names a link that /sys does
/// not, but it never overrules a working route.
class LinuxConnectionPath final : public ConnectionPath {
    Q_OBJECT

public:
    enum class Backend { Automatic, NetlinkOnly };

    explicit LinuxConnectionPath(QString procRoot = QStringLiteral("/proc"),
                                 QString sysRoot = QStringLiteral("/sys"),
                                 Backend backend = Backend::Automatic);
    ~LinuxConnectionPath() override;

    void start() override;

    /// Which source start() chose: "networkmanager", "netlink", or empty before start() and when
    /// neither could be opened (then one unsatisfied path is reported).
    [[nodiscard]] QString activeBackend() const { return m_activeBackend; }

    /// The kind of link from /sys/class/net/NAME under sysRoot: a wireless/ or phy80211 entry is
    /// Wi-Fi, DEVTYPE=wwan in uevent is cellular, type 1 with a device link is Ethernet.
    [[nodiscard]] static PathStatus::Medium classify(const QString &sysRoot, const QString &name);
    /// What NetworkManager says, where it runs.
    struct ManagerView {
        bool online = false;
        PathStatus::Medium medium = PathStatus::Medium::Other;
    };
    /// The path from the routing table (the default route's interface, empty when there is
    /// none, and whether that interface is up and running), the interface's kind from /sys and,
    /// where it runs, NetworkManager's view: connected follows the route alone; NetworkManager's
    /// medium is used only for a link /sys cannot name.
    [[nodiscard]] static PathStatus combine(const QString &routeInterface, bool upAndRunning,
                                            PathStatus::Medium sysMedium,
                                            const std::optional<ManagerView> &manager);

    /// A tunnel's device (tun, WireGuard): no link-layer address of its own (type 65534).
    [[nodiscard]] static bool isTunnel(const QString &sysRoot, const QString &name);

    /// Up (flags bit 0) with a working link (operstate "up", or "unknown" for links that do not
    /// report one).
    [[nodiscard]] static bool isUpAndRunning(const QString &sysRoot, const QString &name);

private:
    void evaluate();
    void drainNetlink();

    QString m_procRoot;
    QString m_sysRoot;
    Backend m_backend;
    QString m_activeBackend;
    bool m_started = false;
    int m_socket = -1;
    QSocketNotifier *m_notifier = nullptr;
    std::unique_ptr<NetlinkCounters> m_routes;
};

} // namespace platform
