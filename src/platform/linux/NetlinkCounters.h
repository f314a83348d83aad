#pragma once

#include "PseudoFileReader.h"
#include "platform/NetworkCounters.h"

#include <QByteArray>
#include <QString>

#include <span>

struct ifaddrs;

namespace platform {

/// Interface counters from the kernel: an rtnetlink RTM_GETLINK dump with 64-bit IFLA_STATS64,
/// getifaddrs' 32-bit AF_PACKET statistics as the fallback, and the default route from
/// /proc/net/route and /proc/net/ipv6_route (under the given proc root). The netlink socket is
/// opened on first use, in the network namespace of the calling thread, and kept, and so are the
/// route tables once read.
class NetlinkCounters final : public NetworkCounters {
public:
    explicit NetlinkCounters(QString procRoot = QStringLiteral("/proc"));
    ~NetlinkCounters() override;
    NetlinkCounters(const NetlinkCounters &) = delete;
    NetlinkCounters &operator=(const NetlinkCounters &) = delete;

    [[nodiscard]] LinkList links() override;
    [[nodiscard]] Totals fallbackTotals() override;
    [[nodiscard]] QString defaultRouteInterface() override;

    /// The flags an interface must have, masked with flagMask: up and running, not loopback.
    static constexpr unsigned flagMask = 0x49;
    static constexpr unsigned flagValue = 0x41;

    /// Result of reading one buffer of a dump.
    struct DumpChunk {
        QList<InterfaceBytes> interfaces;
        bool done = false; ///< NLMSG_DONE seen
        int error = 0;     ///< a negative NLMSG_ERROR code seen, as a positive errno
    };
    /// Reads the RTM_NEWLINK messages of one received buffer; messages of another sequence number
    /// (when sequence is non-zero) are ignored. Malformed or truncated messages end the walk.
    [[nodiscard]] static DumpChunk parseLinkDump(std::span<const char> buffer,
                                                 quint32 sequence = 0);

    /// The fallback over a getifaddrs list: the 32-bit counters of every AF_PACKET entry
    /// that is up, running and not loopback, summed, skipping entries with a counter at 2^32 - 1.
    [[nodiscard]] static Totals sumPacketEntries(const ifaddrs *list);

    /// The interface of the lowest-metric default route in /proc/net/route text; empty if none.
    [[nodiscard]] static QString defaultRouteFromIpv4Table(const QByteArray &table);
    /// The interface that carries a tunnel, from /proc/net/route text: the route to the tunnel's
    /// endpoint (a host route through a gateway on another interface), else the best default
    /// route through another interface; empty if none.
    [[nodiscard]] static QString tunnelCarrierFromIpv4Table(const QByteArray &table,
                                                            const QString &tunnel);
    /// The same from this system's table.
    [[nodiscard]] QString tunnelCarrier(const QString &tunnel) const;
    /// The same from /proc/net/ipv6_route text (reject routes and loopback skipped).
    [[nodiscard]] static QString defaultRouteFromIpv6Table(const QByteArray &table);

private:
    bool openSocket(LinkList &result);

    QString m_procRoot;
    PseudoFileReader m_ipv4Routes;
    PseudoFileReader m_ipv6Routes;
    int m_socket = -1;
    quint32 m_sequence = 0;
};

} // namespace platform
