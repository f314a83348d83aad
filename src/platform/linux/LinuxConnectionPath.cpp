#include "LinuxConnectionPath.h"

#include "NetlinkCounters.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QNetworkInformation>
#include <QSocketNotifier>

#include <algorithm>
#include <array>
#include <cerrno>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <unistd.h>

namespace platform {

namespace {

QByteArray readSmall(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return file.read(64 * 1024);
}

PathStatus::Medium fromTransportMedium(QNetworkInformation::TransportMedium medium)
{
    switch (medium) {
    case QNetworkInformation::TransportMedium::WiFi:
        return PathStatus::Medium::WiFi;
    case QNetworkInformation::TransportMedium::Ethernet:
        return PathStatus::Medium::Ethernet;
    case QNetworkInformation::TransportMedium::Cellular:
        return PathStatus::Medium::Cellular;
    default:
        return PathStatus::Medium::Other;
    }
}

} // namespace

LinuxConnectionPath::LinuxConnectionPath(QString procRoot, QString sysRoot, Backend backend)
    : m_procRoot(std::move(procRoot))
    , m_sysRoot(std::move(sysRoot))
    , m_backend(backend)
{
}

LinuxConnectionPath::~LinuxConnectionPath()
{
    delete m_notifier;
    if (m_socket >= 0) {
        ::close(m_socket);
    }
}

void LinuxConnectionPath::start()
{
    if (m_started) {
        return;
    }
    m_started = true;
    m_routes = std::make_unique<NetlinkCounters>(m_procRoot);

    // Route and link changes wake the watcher whatever else runs: an interface NetworkManager
    // does not manage changes the path without a word from it.
    const int fd = ::socket(AF_NETLINK, SOCK_RAW | SOCK_NONBLOCK | SOCK_CLOEXEC, NETLINK_ROUTE);
    if (fd >= 0) {
        sockaddr_nl local{};
        local.nl_family = AF_NETLINK;
        local.nl_groups = RTMGRP_LINK | RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE;
        if (::bind(fd, reinterpret_cast<const sockaddr *>(&local), sizeof local) == 0) {
            m_socket = fd;
            m_activeBackend = QStringLiteral("netlink");
            m_notifier = new QSocketNotifier(qintptr(fd), QSocketNotifier::Read, this);
            connect(m_notifier, &QSocketNotifier::activated, this,
                    &LinuxConnectionPath::drainNetlink);
        } else {
            ::close(fd);
        }
    }

    if (m_backend == Backend::Automatic &&
        QNetworkInformation::loadBackendByName(QStringLiteral("networkmanager"))) {
        QNetworkInformation *information = QNetworkInformation::instance();
        m_activeBackend = QStringLiteral("networkmanager");
        connect(information, &QNetworkInformation::reachabilityChanged, this,
                &LinuxConnectionPath::evaluate);
        connect(information, &QNetworkInformation::transportMediumChanged, this,
                &LinuxConnectionPath::evaluate);
    }
    evaluate();
}

void LinuxConnectionPath::drainNetlink()
{
    // The notifications only say that something changed; the state is read afresh.
    std::array<char, 16 * 1024> buffer{};
    for (;;) {
        const ssize_t received = ::recv(m_socket, buffer.data(), buffer.size(), MSG_DONTWAIT);
        if (received > 0 || (received < 0 && errno == EINTR)) {
            continue;
        }
        // ENOBUFS (the kernel dropped notifications) means "changed" too; EAGAIN means drained.
        break;
    }
    evaluate();
}

void LinuxConnectionPath::evaluate()
{
    const QString routeInterface = m_routes->defaultRouteInterface();
    bool upAndRunning = false;
    if (!routeInterface.isEmpty()) {
        // The link dump sees this thread's network namespace, which /sys may not show.
        const NetworkCounters::LinkList links = m_routes->links();
        if (links.ok) {
            upAndRunning = std::any_of(
                links.interfaces.cbegin(), links.interfaces.cend(),
                [&](const InterfaceBytes &link) { return link.name == routeInterface; });
        } else {
            upAndRunning = isUpAndRunning(m_sysRoot, routeInterface);
        }
    }
    std::optional<ManagerView> manager;
    if (m_activeBackend == u"networkmanager") {
        QNetworkInformation *information = QNetworkInformation::instance();
        const auto reachability = information->reachability();
        manager = ManagerView{reachability == QNetworkInformation::Reachability::Online ||
                                  reachability == QNetworkInformation::Reachability::Site,
                              fromTransportMedium(information->transportMedium())};
    }
    // Reported after every evaluation, changed or not: each one ends with the Wi-Fi probes.
    Q_EMIT pathUpdated(
        combine(routeInterface, upAndRunning, classify(m_sysRoot, routeInterface), manager));
}

PathStatus LinuxConnectionPath::combine(const QString &routeInterface, bool upAndRunning,
                                        PathStatus::Medium sysMedium,
                                        const std::optional<ManagerView> &manager)
{
    PathStatus status;
    status.interfaceName = routeInterface;
    if (routeInterface.isEmpty()) {
        return status;
    }
    status.satisfied = upAndRunning;
    status.medium = sysMedium;
    if (status.medium == PathStatus::Medium::Other && manager && manager->online) {
        status.medium = manager->medium;
    }
    return status;
}

PathStatus::Medium LinuxConnectionPath::classify(const QString &sysRoot, const QString &name)
{
    if (name.isEmpty() || name.contains(u'/') || name == u"." || name == u"..") {
        return PathStatus::Medium::Other;
    }
    const QString folder = sysRoot + u"/class/net/" + name;
    if (QFileInfo::exists(folder + u"/wireless") || QFileInfo::exists(folder + u"/phy80211")) {
        return PathStatus::Medium::WiFi;
    }
    const QList<QByteArray> uevent = readSmall(folder + u"/uevent").split('\n');
    if (uevent.contains(QByteArrayLiteral("DEVTYPE=wwan"))) {
        return PathStatus::Medium::Cellular;
    }
    if (readSmall(folder + u"/type").trimmed() == "1" && QFileInfo::exists(folder + u"/device")) {
        return PathStatus::Medium::Ethernet;
    }
    return PathStatus::Medium::Other;
}

bool LinuxConnectionPath::isTunnel(const QString &sysRoot, const QString &name)
{
    if (name.isEmpty() || name.contains(u'/') || name == u"." || name == u"..") {
        return false;
    }
    return readSmall(sysRoot + u"/class/net/" + name + u"/type").trimmed() == "65534";
}

bool LinuxConnectionPath::isUpAndRunning(const QString &sysRoot, const QString &name)
{
    if (name.isEmpty() || name.contains(u'/')) {
        return false;
    }
    const QString folder = sysRoot + u"/class/net/" + name;
    bool ok = false;
    const uint flags = readSmall(folder + u"/flags").trimmed().toUInt(&ok, 16);
    if (!ok || !(flags & 0x1)) {
        return false;
    }
    const QByteArray operstate = readSmall(folder + u"/operstate").trimmed();
    return operstate == "up" || operstate == "unknown";
}

std::unique_ptr<ConnectionPath> ConnectionPath::create()
{
    return std::make_unique<LinuxConnectionPath>();
}

} // namespace platform
