#pragma once

#include "platform/ConnectionPath.h"

#include <QString>

#include <optional>

class QSocketNotifier;

namespace platform {

class NetlinkCounters;

/// The connection path on Linux. Where Qt's NetworkManager backend of QNetworkInformation loads,
/// it gives reachability and the transport medium; otherwise an rtnetlink socket subscribed to
/// link and route changes wakes the watcher (no polling), which classifies the default route's
/// interface from /sys/class/net. Either way the interface name is the default route's.
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
    std::optional<PathStatus> m_last;
};

} // namespace platform
