#include "NetlinkCounters.h"

#include "PseudoFileReader.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <ifaddrs.h>
#include <limits>
#include <linux/if_link.h>
#include <linux/netlink.h>
#include <linux/route.h>
#include <linux/rtnetlink.h>
#include <optional>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace platform {

namespace {

constexpr std::size_t receiveBufferSize = 64 * 1024;
constexpr qsizetype maximumTableBytes = 4 * 1024 * 1024;

template <typename T>
T readAt(std::span<const char> bytes, std::size_t offset)
{
    T value{};
    std::memcpy(&value, bytes.data() + offset, sizeof(T));
    return value;
}

bool isSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

// The first `Count` white-space separated words of a line (empty past its last) and how many
// words it has in all, without copying it.
template <std::size_t Count>
std::pair<std::array<QByteArrayView, Count>, std::size_t> wordsOf(QByteArrayView line)
{
    std::array<QByteArrayView, Count> words;
    std::size_t count = 0;
    for (qsizetype at = 0;;) {
        while (at < line.size() && isSpace(line[at])) {
            ++at;
        }
        if (at == line.size()) {
            break;
        }
        const qsizetype start = at;
        while (at < line.size() && !isSpace(line[at])) {
            ++at;
        }
        if (count < Count) {
            words.at(count) = line.sliced(start, at - start);
        }
        ++count;
    }
    return {words, count};
}

// A number as Qt reads one: up to a NUL as in a C string, an optional '+', in base 16 an optional
// "0x", then digits and nothing else.
template <typename Number>
std::optional<Number> numberIn(QByteArrayView word, int base)
{
    if (const qsizetype nul = word.indexOf('\0'); nul >= 0) {
        word = word.first(nul);
    }
    if (word.startsWith('+')) {
        word = word.sliced(1);
    }
    if (base == 16 && word.size() > 2 && word[0] == '0' && (word[1] == 'x' || word[1] == 'X')) {
        word = word.sliced(2);
    }
    Number value = 0;
    const char *end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, value, base);
    if (word.isEmpty() || error != std::errc() || stop != end) {
        return std::nullopt;
    }
    return value;
}

// Calls `line` with each line of the text, without copying it.
template <typename Line>
void forEachLine(QByteArrayView text, Line line)
{
    for (qsizetype start = 0; start <= text.size();) {
        qsizetype end = text.indexOf('\n', start);
        if (end < 0) {
            end = text.size();
        }
        line(text.sliced(start, end - start));
        start = end + 1;
    }
}

QByteArray readSmallFile(const QString &path)
{
    // /proc files report size 0; read until the end, but never more than a sane table.
    PseudoFileReader reader(path, maximumTableBytes);
    return reader.read().value_or(QByteArrayView()).toByteArray();
}

} // namespace

NetlinkCounters::NetlinkCounters(QString procRoot)
    : m_procRoot(std::move(procRoot))
    , m_ipv4Routes(m_procRoot + u"/net/route", maximumTableBytes)
    , m_ipv6Routes(m_procRoot + u"/net/ipv6_route", maximumTableBytes)
{
}

NetlinkCounters::~NetlinkCounters()
{
    if (m_socket >= 0) {
        ::close(m_socket);
    }
}

bool NetlinkCounters::openSocket(LinkList &result)
{
    if (m_socket >= 0) {
        return true;
    }
    const int fd = ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
    if (fd < 0) {
        result.error = errno;
        result.failedStep = QStringLiteral("socket");
        return false;
    }
    // A reply that never comes must not hold the sampler: a dump answers at once or not at all.
    timeval timeout{1, 0};
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    sockaddr_nl local{};
    local.nl_family = AF_NETLINK;
    if (::bind(fd, reinterpret_cast<const sockaddr *>(&local), sizeof local) < 0) {
        result.error = errno;
        result.failedStep = QStringLiteral("bind");
        ::close(fd);
        return false;
    }
    m_socket = fd;
    return true;
}

NetworkCounters::LinkList NetlinkCounters::links()
{
    LinkList result;
    if (!openSocket(result)) {
        return result;
    }

    struct {
        nlmsghdr header;
        ifinfomsg info;
    } request{};
    request.header.nlmsg_len = NLMSG_LENGTH(sizeof(ifinfomsg));
    request.header.nlmsg_type = RTM_GETLINK;
    request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    request.header.nlmsg_seq = ++m_sequence == 0 ? ++m_sequence : m_sequence;
    request.info.ifi_family = AF_UNSPEC;

    sockaddr_nl kernel{};
    kernel.nl_family = AF_NETLINK;
    if (::sendto(m_socket, &request, request.header.nlmsg_len, 0,
                 reinterpret_cast<const sockaddr *>(&kernel), sizeof kernel) < 0) {
        result.error = errno;
        result.failedStep = QStringLiteral("send");
        ::close(m_socket);
        m_socket = -1;
        return result;
    }

    static thread_local std::array<char, receiveBufferSize> buffer;
    for (;;) {
        const ssize_t received = ::recv(m_socket, buffer.data(), buffer.size(), 0);
        if (received < 0) {
            if (errno == EINTR) {
                continue;
            }
            result.error = errno;
            result.failedStep = QStringLiteral("recv");
            // The rest of this dump may still arrive later; a fresh socket cannot mix it up.
            ::close(m_socket);
            m_socket = -1;
            return result;
        }
        if (received == 0) {
            result.error = EPIPE;
            result.failedStep = QStringLiteral("recv");
            ::close(m_socket);
            m_socket = -1;
            return result;
        }
        DumpChunk chunk = parseLinkDump(std::span<const char>(buffer.data(), std::size_t(received)),
                                        request.header.nlmsg_seq);
        result.interfaces.append(std::move(chunk.interfaces));
        if (chunk.error != 0) {
            result.error = chunk.error;
            result.failedStep = QStringLiteral("dump");
            return result;
        }
        if (chunk.done) {
            result.ok = true;
            return result;
        }
    }
}

NetlinkCounters::DumpChunk NetlinkCounters::parseLinkDump(std::span<const char> buffer,
                                                          quint32 sequence)
{
    DumpChunk chunk;
    std::size_t offset = 0;
    while (buffer.size() - offset >= sizeof(nlmsghdr)) {
        const auto header = readAt<nlmsghdr>(buffer, offset);
        if (header.nlmsg_len < sizeof(nlmsghdr) || header.nlmsg_len > buffer.size() - offset) {
            break;
        }
        const std::span<const char> message = buffer.subspan(offset, header.nlmsg_len);
        offset += std::min<std::size_t>(NLMSG_ALIGN(header.nlmsg_len), buffer.size() - offset);
        if (sequence != 0 && header.nlmsg_seq != sequence) {
            continue;
        }
        if (header.nlmsg_type == NLMSG_DONE) {
            chunk.done = true;
            break;
        }
        if (header.nlmsg_type == NLMSG_ERROR) {
            int code = 0;
            if (message.size() >= NLMSG_LENGTH(sizeof(int))) {
                code = readAt<int>(message, NLMSG_HDRLEN);
            }
            // A code that is no errno (the most negative int has no positive) is a protocol error.
            chunk.error = code < 0 && code != std::numeric_limits<int>::min() ? -code : EPROTO;
            break;
        }
        if (header.nlmsg_type != RTM_NEWLINK || message.size() < NLMSG_LENGTH(sizeof(ifinfomsg))) {
            continue;
        }
        const auto info = readAt<ifinfomsg>(message, NLMSG_HDRLEN);
        if ((info.ifi_flags & flagMask) != flagValue) {
            continue;
        }
        QString name;
        std::optional<std::pair<quint64, quint64>> bytes64;
        std::optional<std::pair<quint64, quint64>> bytes32;
        std::size_t at = NLMSG_HDRLEN + NLMSG_ALIGN(sizeof(ifinfomsg));
        while (message.size() >= at + sizeof(rtattr)) {
            const auto attribute = readAt<rtattr>(message, at);
            if (attribute.rta_len < sizeof(rtattr) || attribute.rta_len > message.size() - at) {
                break;
            }
            const std::span<const char> payload =
                message.subspan(at + RTA_LENGTH(0), attribute.rta_len - RTA_LENGTH(0));
            switch (attribute.rta_type) {
            case IFLA_IFNAME:
                name = QString::fromUtf8(payload.data(),
                                         qsizetype(::strnlen(payload.data(), payload.size())));
                break;
            case IFLA_STATS64:
                if (payload.size() >= offsetof(rtnl_link_stats64, tx_bytes) + sizeof(__u64)) {
                    bytes64 = {readAt<__u64>(payload, offsetof(rtnl_link_stats64, rx_bytes)),
                               readAt<__u64>(payload, offsetof(rtnl_link_stats64, tx_bytes))};
                }
                break;
            case IFLA_STATS:
                if (payload.size() >= offsetof(rtnl_link_stats, tx_bytes) + sizeof(__u32)) {
                    bytes32 = {readAt<__u32>(payload, offsetof(rtnl_link_stats, rx_bytes)),
                               readAt<__u32>(payload, offsetof(rtnl_link_stats, tx_bytes))};
                }
                break;
            default:
                break;
            }
            at += RTA_ALIGN(attribute.rta_len);
        }
        // As on macOS, an interface without a usable name is skipped.
        if (name.isEmpty() || name.size() > 31) {
            continue;
        }
        const auto bytes = bytes64 ? bytes64 : bytes32;
        if (!bytes) {
            continue;
        }
        chunk.interfaces.append({name, bytes->first, bytes->second});
    }
    return chunk;
}

NetworkCounters::Totals NetlinkCounters::fallbackTotals()
{
    ifaddrs *list = nullptr;
    if (::getifaddrs(&list) != 0) {
        return {};
    }
    Totals totals = sumPacketEntries(list);
    ::freeifaddrs(list);
    return totals;
}

NetworkCounters::Totals NetlinkCounters::sumPacketEntries(const ifaddrs *list)
{
    Totals totals;
    totals.ok = true;
    constexpr quint32 invalid = std::numeric_limits<quint32>::max();
    for (const ifaddrs *entry = list; entry; entry = entry->ifa_next) {
        if ((entry->ifa_flags & flagMask) != flagValue || !entry->ifa_addr ||
            entry->ifa_addr->sa_family != AF_PACKET || !entry->ifa_data) {
            continue;
        }
        rtnl_link_stats stats{};
        std::memcpy(&stats, entry->ifa_data, sizeof stats);
        if (stats.rx_bytes == invalid || stats.tx_bytes == invalid) {
            continue;
        }
        totals.received += stats.rx_bytes;
        totals.sent += stats.tx_bytes;
        if (stats.rx_bytes != 0 || stats.tx_bytes != 0) {
            totals.hasValidData = true;
        }
    }
    return totals;
}

QString NetlinkCounters::defaultRouteInterface()
{
    const auto table = [](PseudoFileReader &file) {
        const QByteArrayView text = file.read().value_or(QByteArrayView());
        return QByteArray::fromRawData(text.data(), text.size());
    };
    QString name = defaultRouteFromIpv4Table(table(m_ipv4Routes));
    if (name.isEmpty()) {
        name = defaultRouteFromIpv6Table(table(m_ipv6Routes));
    }
    return name;
}

QString NetlinkCounters::defaultRouteFromIpv4Table(const QByteArray &table)
{
    // Iface Destination Gateway Flags RefCnt Use Metric Mask MTU Window IRTT
    QByteArrayView best;
    quint64 bestMetric = std::numeric_limits<quint64>::max();
    bool header = true;
    forEachLine(table, [&](QByteArrayView line) {
        if (std::exchange(header, false)) {
            return;
        }
        const auto [fields, count] = wordsOf<8>(line);
        if (count < 8) {
            return;
        }
        const std::optional<uint> flags = numberIn<uint>(fields[3], 16);
        const std::optional<quint64> metric = numberIn<quint64>(fields[6], 10);
        if (!flags || !metric || !(*flags & RTF_UP) || fields[1] != "00000000" ||
            fields[7] != "00000000") {
            return;
        }
        if (*metric < bestMetric) {
            bestMetric = *metric;
            best = fields[0];
        }
    });
    return QString::fromUtf8(best);
}

QString NetlinkCounters::tunnelCarrier(const QString &tunnel) const
{
    return tunnelCarrierFromIpv4Table(readSmallFile(m_procRoot + u"/net/route"), tunnel);
}

QString NetlinkCounters::tunnelCarrierFromIpv4Table(const QByteArray &table, const QString &tunnel)
{
    QString hostRoute;
    QString defaultRoute;
    quint64 hostMetric = std::numeric_limits<quint64>::max();
    quint64 defaultMetric = std::numeric_limits<quint64>::max();
    const QList<QByteArray> lines = table.split('\n');
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const QList<QByteArray> fields = lines[i].simplified().split(' ');
        if (fields.size() < 8 || QString::fromUtf8(fields[0]) == tunnel) {
            continue;
        }
        bool flagsOk = false;
        bool metricOk = false;
        const uint flags = fields[3].toUInt(&flagsOk, 16);
        const quint64 metric = fields[6].toULongLong(&metricOk);
        if (!flagsOk || !metricOk || !(flags & RTF_UP) || !(flags & RTF_GATEWAY)) {
            continue;
        }
        if (fields[7] == "FFFFFFFF" && metric < hostMetric) {
            hostMetric = metric;
            hostRoute = QString::fromUtf8(fields[0]);
        } else if (fields[1] == "00000000" && fields[7] == "00000000" && metric < defaultMetric) {
            defaultMetric = metric;
            defaultRoute = QString::fromUtf8(fields[0]);
        }
    }
    return hostRoute.isEmpty() ? defaultRoute : hostRoute;
}

QString NetlinkCounters::defaultRouteFromIpv6Table(const QByteArray &table)
{
    // dest plen src splen nexthop metric refcnt use flags iface
    constexpr uint rejectFlag = 0x0200;
    constexpr QByteArrayView anyDestination = "00000000000000000000000000000000";
    QByteArrayView best;
    quint64 bestMetric = std::numeric_limits<quint64>::max();
    forEachLine(table, [&](QByteArrayView line) {
        const auto [fields, count] = wordsOf<10>(line);
        if (count < 10) {
            return;
        }
        const std::optional<uint> flags = numberIn<uint>(fields[8], 16);
        const std::optional<quint64> metric = numberIn<quint64>(fields[5], 16);
        if (!flags || !metric || fields[0] != anyDestination || fields[1] != "00" ||
            !(*flags & RTF_UP) || (*flags & rejectFlag) || fields[9] == "lo") {
            return;
        }
        if (*metric < bestMetric) {
            bestMetric = *metric;
            best = fields[9];
        }
    });
    return QString::fromUtf8(best);
}

std::unique_ptr<NetworkCounters> NetworkCounters::create()
{
    return std::make_unique<NetlinkCounters>();
}

} // namespace platform
