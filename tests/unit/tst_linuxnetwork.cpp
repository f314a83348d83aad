#include "TestEnvironment.h"
#include "TestFiles.h"
#include "platform/linux/LinuxConnectionPath.h"
#include "platform/linux/LinuxNetworkProbes.h"
#include "platform/linux/NetlinkCounters.h"

#include <QDir>
#include <QGuiApplication>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <cstring>
#include <ifaddrs.h>
#include <linux/if_link.h>
#include <linux/if_packet.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sys/resource.h>

using namespace Qt::StringLiterals;
using platform::InterfaceBytes;
using platform::LinuxConnectionPath;
using platform::LinuxNetworkProbes;
using platform::NetlinkCounters;
using platform::PathStatus;

namespace {

constexpr unsigned upRunning = IFF_UP | IFF_RUNNING;

/// One RTM_NEWLINK message as the kernel sends it in a dump.
QByteArray linkMessage(const QByteArray &name, unsigned flags, quint64 rx, quint64 tx,
                       quint32 sequence = 1, bool stats64 = true)
{
    QByteArray attributes;
    const auto attribute = [&](unsigned short type, const QByteArray &payload) {
        rtattr header{};
        header.rta_type = type;
        header.rta_len = static_cast<unsigned short>(RTA_LENGTH(payload.size()));
        QByteArray bytes(reinterpret_cast<const char *>(&header), sizeof header);
        bytes += payload;
        bytes.resize(RTA_ALIGN(bytes.size()), '\0');
        attributes += bytes;
    };
    if (!name.isNull()) {
        attribute(IFLA_IFNAME, name + '\0');
    }
    if (stats64) {
        rtnl_link_stats64 stats{};
        stats.rx_bytes = rx;
        stats.tx_bytes = tx;
        attribute(IFLA_STATS64, QByteArray(reinterpret_cast<const char *>(&stats), sizeof stats));
    } else {
        rtnl_link_stats stats{};
        stats.rx_bytes = quint32(rx);
        stats.tx_bytes = quint32(tx);
        attribute(IFLA_STATS, QByteArray(reinterpret_cast<const char *>(&stats), sizeof stats));
    }
    ifinfomsg info{};
    info.ifi_family = AF_UNSPEC;
    info.ifi_flags = flags;
    nlmsghdr header{};
    header.nlmsg_type = RTM_NEWLINK;
    header.nlmsg_flags = NLM_F_MULTI;
    header.nlmsg_seq = sequence;
    header.nlmsg_len = NLMSG_LENGTH(NLMSG_ALIGN(sizeof info) + attributes.size());
    QByteArray message(reinterpret_cast<const char *>(&header), sizeof header);
    message += QByteArray(reinterpret_cast<const char *>(&info), sizeof info);
    message.resize(NLMSG_HDRLEN + NLMSG_ALIGN(sizeof info), '\0');
    message += attributes;
    return message;
}

QByteArray doneMessage(quint32 sequence = 1)
{
    nlmsghdr header{};
    header.nlmsg_type = NLMSG_DONE;
    header.nlmsg_seq = sequence;
    header.nlmsg_len = NLMSG_LENGTH(sizeof(int));
    QByteArray message(reinterpret_cast<const char *>(&header), sizeof header);
    message += QByteArray(sizeof(int), '\0');
    return message;
}

QList<InterfaceBytes> parse(const QByteArray &dump, quint32 sequence = 0)
{
    return NetlinkCounters::parseLinkDump(std::span<const char>(dump.constData(), dump.size()),
                                          sequence)
        .interfaces;
}

QByteArray iwFixture(const QString &name)
{
    return TestFiles::read(QStringLiteral(KV_SOURCE_DIR "/tests/fixtures/linux/iw/") + name);
}

/// getifaddrs entries built by hand.
struct FakeIfaddrs {
    struct Node {
        ifaddrs entry{};
        sockaddr_ll address{};
        rtnl_link_stats stats{};
        QByteArray name;
    };
    std::vector<std::unique_ptr<Node>> nodes;

    void add(const char *name, unsigned flags, int family, quint32 rx, quint32 tx)
    {
        auto node = std::make_unique<Node>();
        node->name = name;
        node->address.sll_family = static_cast<unsigned short>(family);
        node->stats.rx_bytes = rx;
        node->stats.tx_bytes = tx;
        node->entry.ifa_name = node->name.data();
        node->entry.ifa_flags = flags;
        node->entry.ifa_addr = reinterpret_cast<sockaddr *>(&node->address);
        node->entry.ifa_data = family == AF_PACKET ? &node->stats : nullptr;
        if (!nodes.empty()) {
            nodes.back()->entry.ifa_next = &node->entry;
        }
        nodes.push_back(std::move(node));
    }
    [[nodiscard]] const ifaddrs *list() const
    {
        return nodes.empty() ? nullptr : &nodes.front()->entry;
    }
};

} // namespace

// The Linux network readers on fixtures: the netlink link dump, the getifaddrs fallback, the route
// tables, the /sys classification and iw's output.
class TestLinuxNetwork : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void linkDumpKeepsUpRunningNonLoopbackInterfaces()
    {
        const QByteArray dump = linkMessage("lo", upRunning | IFF_LOOPBACK, 900, 900) +
                                linkMessage("eth0", upRunning, 100, 200) +
                                linkMessage("wlan0", IFF_UP, 300, 400) +       // no carrier
                                linkMessage("virbr0", IFF_RUNNING, 500, 600) + // down
                                linkMessage("wg0", upRunning | IFF_POINTOPOINT, 7, 8) +
                                doneMessage();
        const auto chunk =
            NetlinkCounters::parseLinkDump(std::span<const char>(dump.constData(), dump.size()), 1);
        QVERIFY(chunk.done);
        QCOMPARE(chunk.error, 0);
        QCOMPARE(chunk.interfaces,
                 QList<InterfaceBytes>({{u"eth0"_s, 100, 200}, {u"wg0"_s, 7, 8}}));
    }

    // IFLA_STATS64 carries totals past 4 GiB unchanged; the 32-bit IFLA_STATS is the fallback.
    void sixtyFourBitCountersPastFourGiB()
    {
        const quint64 big = 0x1'2345'6789ULL;
        QCOMPARE(parse(linkMessage("eth0", upRunning, big, big * 2)),
                 QList<InterfaceBytes>({{u"eth0"_s, big, big * 2}}));
        QCOMPARE(parse(linkMessage("eth1", upRunning, big, 5, 1, false)),
                 QList<InterfaceBytes>({{u"eth1"_s, quint64(quint32(big)), 5}}));
    }

    void malformedDumpsEndTheWalk_data()
    {
        QTest::addColumn<QByteArray>("dump");
        QTest::addColumn<int>("interfaces");
        const QByteArray good = linkMessage("eth0", upRunning, 1, 2);
        QTest::newRow("empty") << QByteArray() << 0;
        QTest::newRow("truncated header") << good.left(10) << 0;
        QTest::newRow("truncated message") << good.left(good.size() - 8) << 0;
        QByteArray lengthTooBig = good;
        lengthTooBig[0] = char(0xff);
        lengthTooBig[1] = char(0xff);
        QTest::newRow("length past the end") << lengthTooBig << 0;
        QTest::newRow("good then garbage") << good + QByteArray(40, '\xff') << 1;
        QTest::newRow("no name") << linkMessage(QByteArray(), upRunning, 1, 2) << 0;
        QTest::newRow("garbage") << QByteArray(500, '\x5a') << 0;
    }

    void malformedDumpsEndTheWalk()
    {
        QFETCH(QByteArray, dump);
        QFETCH(int, interfaces);
        QCOMPARE(parse(dump).size(), interfaces);
    }

    void otherSequencesAndErrors()
    {
        const QByteArray dump = linkMessage("old0", upRunning, 1, 1, 6) +
                                linkMessage("eth0", upRunning, 2, 2, 7) + doneMessage(7);
        QCOMPARE(parse(dump, 7), QList<InterfaceBytes>({{u"eth0"_s, 2, 2}}));

        nlmsghdr header{};
        header.nlmsg_type = NLMSG_ERROR;
        header.nlmsg_seq = 7;
        header.nlmsg_len = NLMSG_LENGTH(sizeof(nlmsgerr));
        nlmsgerr error{};
        error.error = -EPERM;
        QByteArray message(reinterpret_cast<const char *>(&header), sizeof header);
        message += QByteArray(reinterpret_cast<const char *>(&error), sizeof error);
        const auto chunk = NetlinkCounters::parseLinkDump(
            std::span<const char>(message.constData(), message.size()), 7);
        QCOMPARE(chunk.error, EPERM);
    }

    // An error message whose code is the most negative int (no errno has it) is a protocol
    // error; the input the fuzz target found.
    void anErrorCodeThatIsNoErrnoIsAProtocolError()
    {
        const QByteArray message = TestFiles::read(
            QStringLiteral(KV_SOURCE_DIR "/tests/fixtures/linux/netlink/fuzz-error-int-min.bin"));
        QVERIFY(!message.isEmpty());
        const auto chunk = NetlinkCounters::parseLinkDump(
            std::span<const char>(message.constData(), message.size()));
        QCOMPARE(chunk.error, EPROTO);
        QVERIFY(chunk.interfaces.isEmpty());
    }

    // The real dump of this machine: it answers, and every entry has a name.
    void theKernelAnswers()
    {
        NetlinkCounters counters;
        const auto links = counters.links();
        QVERIFY2(links.ok, qPrintable(links.failedStep));
        for (const InterfaceBytes &link : links.interfaces) {
            QVERIFY(!link.name.isEmpty());
            QVERIFY(link.name != u"lo");
        }
        QVERIFY(counters.fallbackTotals().ok);
    }

    // No file descriptor left: the netlink socket cannot be opened, and neither can getifaddrs'.
    void aSocketThatCannotBeOpened()
    {
        NetlinkCounters counters;
        rlimit saved{};
        QCOMPARE(::getrlimit(RLIMIT_NOFILE, &saved), 0);
        rlimit none = saved;
        none.rlim_cur = 0;
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &none), 0);
        const auto links = counters.links();
        const auto totals = counters.fallbackTotals();
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &saved), 0);
        QVERIFY(!links.ok);
        QCOMPARE(links.failedStep, u"socket"_s);
        QCOMPARE(links.error, EMFILE);
        QVERIFY(!totals.ok);
        // Once descriptors are available again it recovers.
        QVERIFY(counters.links().ok);
    }

    // The fallback sums the 32-bit counters of up, running, non-loopback packet entries and
    // skips an entry with a counter at 2^32 − 1.
    void fallbackSumsThirtyTwoBitCounters()
    {
        FakeIfaddrs entries;
        entries.add("lo", upRunning | IFF_LOOPBACK, AF_PACKET, 1000, 1000);
        entries.add("eth0", upRunning, AF_PACKET, 4'294'967'000U, 10);
        entries.add("eth0", upRunning, AF_INET, 0, 0);
        entries.add("wlan0", upRunning, AF_PACKET, 500, 20);
        entries.add("wlan1", IFF_UP, AF_PACKET, 77, 77);
        entries.add("tun0", upRunning, AF_PACKET, 4'294'967'295U, 5);
        const auto totals = NetlinkCounters::sumPacketEntries(entries.list());
        QVERIFY(totals.ok);
        QCOMPARE(totals.received, 4'294'967'500ULL);
        QCOMPARE(totals.sent, 30ULL);
        QVERIFY(totals.hasValidData);

        FakeIfaddrs idle;
        idle.add("eth0", upRunning, AF_PACKET, 0, 0);
        QVERIFY(!NetlinkCounters::sumPacketEntries(idle.list()).hasValidData);
        QCOMPARE(NetlinkCounters::sumPacketEntries(nullptr).received, 0ULL);
    }

    void ipv4DefaultRoute_data()
    {
        QTest::addColumn<QByteArray>("table");
        QTest::addColumn<QString>("interface");
        const QByteArray head = "Iface\tDestination\tGateway \tFlags\tRefCnt\tUse\tMetric\tMask"
                                "\t\tMTU\tWindow\tIRTT\n";
        QTest::newRow("one default")
            << head + "eth0\t00000000\t0102A8C0\t0003\t0\t0\t100\t00000000\t"
                      "0\t0\t0\n"
                      "eth0\t0002A8C0\t00000000\t0001\t0\t0\t100\t00FFFFFF\t"
                      "0\t0\t0\n"
            << u"eth0"_s;
        QTest::newRow("lowest metric wins")
            << head + "wlan0\t00000000\t0101A8C0\t0003\t0\t0\t600\t00000000\t0\t0\t0\n"
                      "eth0\t00000000\t0102A8C0\t0003\t0\t0\t100\t00000000\t0\t0\t0\n"
            << u"eth0"_s;
        QTest::newRow("no default")
            << head + "eth0\t0002A8C0\t00000000\t0001\t0\t0\t100\t00FFFFFF\t"
                      "0\t0\t0\n"
            << QString();
        QTest::newRow("route not up")
            << head + "eth0\t00000000\t0102A8C0\t0002\t0\t0\t100\t00000000\t0\t0\t0\n"
            << QString();
        QTest::newRow("empty") << QByteArray() << QString();
        QTest::newRow("garbage") << QByteArray("\x01\x02 nonsense\n\n\t\t") << QString();
    }

    void ipv4DefaultRoute()
    {
        QFETCH(QByteArray, table);
        QFETCH(QString, interface);
        QCOMPARE(NetlinkCounters::defaultRouteFromIpv4Table(table), interface);
    }

    // A full-tunnel VPN's carrier: the route to its endpoint, else the best other default.
    void tunnelCarrier_data()
    {
        QTest::addColumn<QString>("fixture");
        QTest::addColumn<QString>("tunnel");
        QTest::addColumn<QString>("defaultRoute");
        QTest::addColumn<QString>("carrier");
        QTest::newRow("endpoint route through Wi-Fi")
            << u"vpn-replaces-default.txt"_s << u"tun0"_s << u"tun0"_s << u"wlp2s0"_s;
        QTest::newRow("WireGuard over Ethernet")
            << u"wireguard-over-ethernet.txt"_s << u"wg0"_s << u"wg0"_s << u"enp3s0"_s;
        QTest::newRow("no other gateway")
            << u"no-default.txt"_s << u"eth0"_s << QString() << QString();
    }

    void tunnelCarrier()
    {
        QFETCH(QString, fixture);
        QFETCH(QString, tunnel);
        QFETCH(QString, defaultRoute);
        QFETCH(QString, carrier);
        const QByteArray table =
            TestFiles::read(QStringLiteral(KV_FIXTURES_DIR "/linux/proc-net-route/") + fixture);
        QVERIFY(!table.isEmpty());
        QCOMPARE(NetlinkCounters::defaultRouteFromIpv4Table(table), defaultRoute);
        QCOMPARE(NetlinkCounters::tunnelCarrierFromIpv4Table(table, tunnel), carrier);
    }

    void tunnelDevices()
    {
        QTemporaryDir sys;
        for (const auto &[name, type] :
             {std::pair{u"wg0"_s, "65534"}, {u"tun0"_s, "65534"}, {u"wlan0"_s, "1"}}) {
            QVERIFY(QDir().mkpath(sys.filePath(u"class/net/"_s + name)));
            QVERIFY(TestFiles::write(sys.filePath(u"class/net/"_s + name + u"/type"),
                                     QByteArray(type) + '\n'));
        }
        QVERIFY(LinuxConnectionPath::isTunnel(sys.path(), u"wg0"_s));
        QVERIFY(LinuxConnectionPath::isTunnel(sys.path(), u"tun0"_s));
        QVERIFY(!LinuxConnectionPath::isTunnel(sys.path(), u"wlan0"_s));
        QVERIFY(!LinuxConnectionPath::isTunnel(sys.path(), u"missing"_s));
        QVERIFY(!LinuxConnectionPath::isTunnel(sys.path(), u"../wg0"_s));
    }

    void ipv6DefaultRoute()
    {
        const QByteArray zero(32, '0');
        const QByteArray table =
            zero + " 00 " + zero + " 00 " + zero + " ffffffff 00000001 00000000 00200200 lo\n" +
            "fe800000000000000000000000000000 40 " + zero + " 00 " + zero +
            " 00000100 00000001 00000000 00000001 wlan0\n" + zero + " 00 " + zero + " 00 " +
            "fe800000000000000000000000000001 00000400 00000001 00000000 00000003 wlan0\n";
        QCOMPARE(NetlinkCounters::defaultRouteFromIpv6Table(table), u"wlan0"_s);
        QCOMPARE(NetlinkCounters::defaultRouteFromIpv6Table({}), QString());
    }

    void defaultRouteFromProcRoot()
    {
        QTemporaryDir proc;
        QVERIFY(QDir(proc.path()).mkpath(u"net"_s));
        QVERIFY(
            TestFiles::write(proc.filePath(u"net/route"_s),
                             "Iface\tDestination\tGateway\tFlags\tRefCnt\tUse\tMetric\tMask\n"));
        const QByteArray zero(32, '0');
        QVERIFY(TestFiles::write(proc.filePath(u"net/ipv6_route"_s),
                                 zero + " 00 " + zero + " 00 " + zero +
                                     " 00000400 00000001 00000000 00000003 eth7\n"));
        NetlinkCounters counters(proc.path());
        QCOMPARE(counters.defaultRouteInterface(), u"eth7"_s);
        NetlinkCounters missing(proc.filePath(u"nowhere"_s));
        QCOMPARE(missing.defaultRouteInterface(), QString());
    }

    void classification_data()
    {
        QTest::addColumn<QStringList>("entries"); // "file=content" or "dir/"
        QTest::addColumn<int>("medium");
        QTest::newRow("wireless folder")
            << QStringList{u"wireless/"_s, u"type=1"_s} << int(PathStatus::Medium::WiFi);
        QTest::newRow("phy80211 link")
            << QStringList{u"phy80211/"_s, u"type=1"_s} << int(PathStatus::Medium::WiFi);
        QTest::newRow("wwan") << QStringList{u"uevent=INTERFACE=wwan0\nDEVTYPE=wwan\n"_s,
                                             u"type=1"_s, u"device/"_s}
                              << int(PathStatus::Medium::Cellular);
        QTest::newRow("wired") << QStringList{u"type=1"_s, u"device/"_s,
                                              u"uevent=INTERFACE=enp3s0\n"_s}
                               << int(PathStatus::Medium::Ethernet);
        QTest::newRow("virtual ethernet")
            << QStringList{u"type=1"_s} << int(PathStatus::Medium::Other);
        QTest::newRow("tunnel") << QStringList{u"type=65534"_s, u"device/"_s}
                                << int(PathStatus::Medium::Other);
        QTest::newRow("nothing there") << QStringList{} << int(PathStatus::Medium::Other);
    }

    void classification()
    {
        QFETCH(QStringList, entries);
        QFETCH(int, medium);
        QTemporaryDir sys;
        const QString folder = sys.filePath(u"class/net/if0"_s);
        QVERIFY(QDir().mkpath(folder));
        for (const QString &entry : entries) {
            if (entry.endsWith(u'/')) {
                QVERIFY(QDir(folder).mkpath(entry));
            } else {
                const qsizetype at = entry.indexOf(u'=');
                QVERIFY(TestFiles::write(folder + u'/' + entry.left(at),
                                         entry.mid(at + 1).toUtf8() + '\n'));
            }
        }
        QCOMPARE(int(LinuxConnectionPath::classify(sys.path(), u"if0"_s)), medium);
        QCOMPARE(int(LinuxConnectionPath::classify(sys.path(), u"../if0"_s)),
                 int(PathStatus::Medium::Other));
    }

    // Connected follows the routing table, whoever manages the interface; NetworkManager only
    // names a link /sys cannot.
    void pathFromRoutesAndManager_data()
    {
        using Medium = PathStatus::Medium;
        QTest::addColumn<QString>("route");
        QTest::addColumn<bool>("up");
        QTest::addColumn<int>("sysMedium");
        QTest::addColumn<int>("manager"); // -1: not running, else its medium, online
        QTest::addColumn<bool>("managerOnline");
        QTest::addColumn<bool>("satisfied");
        QTest::addColumn<int>("medium");
        QTest::newRow("no NetworkManager, working route")
            << u"eth0"_s << true << int(Medium::Ethernet) << -1 << false << true
            << int(Medium::Ethernet);
        // ifupdown or systemd-networkd's interface while NetworkManager manages nothing.
        QTest::newRow("unmanaged route, NetworkManager offline")
            << u"eth0"_s << true << int(Medium::Ethernet) << int(Medium::Other) << false << true
            << int(Medium::Ethernet);
        QTest::newRow("NetworkManager online but no route")
            << QString() << false << int(Medium::Other) << int(Medium::WiFi) << true << false
            << int(Medium::Other);
        QTest::newRow("route over a link that is down")
            << u"wlan0"_s << false << int(Medium::WiFi) << int(Medium::WiFi) << true << false
            << int(Medium::WiFi);
        QTest::newRow("NetworkManager names what /sys cannot")
            << u"ppp0"_s << true << int(Medium::Other) << int(Medium::Cellular) << true << true
            << int(Medium::Cellular);
        QTest::newRow("/sys wins over NetworkManager")
            << u"wlan0"_s << true << int(Medium::WiFi) << int(Medium::Ethernet) << true << true
            << int(Medium::WiFi);
    }

    void pathFromRoutesAndManager()
    {
        QFETCH(QString, route);
        QFETCH(bool, up);
        QFETCH(int, sysMedium);
        QFETCH(int, manager);
        QFETCH(bool, managerOnline);
        QFETCH(bool, satisfied);
        QFETCH(int, medium);
        std::optional<LinuxConnectionPath::ManagerView> view;
        if (manager >= 0) {
            view = LinuxConnectionPath::ManagerView{managerOnline, PathStatus::Medium(manager)};
        }
        const PathStatus status =
            LinuxConnectionPath::combine(route, up, PathStatus::Medium(sysMedium), view);
        QCOMPARE(status.satisfied, satisfied);
        QCOMPARE(int(status.medium), medium);
        QCOMPARE(status.interfaceName, route);
    }

    void upAndRunningFromSys()
    {
        QTemporaryDir sys;
        const QString folder = sys.filePath(u"class/net/eth0"_s);
        QVERIFY(QDir().mkpath(folder));
        QVERIFY(TestFiles::write(folder + u"/flags", "0x1003\n"));
        QVERIFY(TestFiles::write(folder + u"/operstate", "up\n"));
        QVERIFY(LinuxConnectionPath::isUpAndRunning(sys.path(), u"eth0"_s));
        QVERIFY(TestFiles::write(folder + u"/operstate", "down\n"));
        QVERIFY(!LinuxConnectionPath::isUpAndRunning(sys.path(), u"eth0"_s));
        QVERIFY(TestFiles::write(folder + u"/operstate", "unknown\n"));
        QVERIFY(TestFiles::write(folder + u"/flags", "0x1002\n"));
        QVERIFY(!LinuxConnectionPath::isUpAndRunning(sys.path(), u"eth0"_s));
        QVERIFY(!LinuxConnectionPath::isUpAndRunning(sys.path(), u"missing"_s));
    }

    void iwOutputs_data()
    {
        QTest::addColumn<QString>("fixture");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("standard"); // empty: none
        QTest::newRow("HT") << u"ht.txt"_s << u"HomeNet"_s << u"802.11n"_s;
        QTest::newRow("VHT, escaped UTF-8") << u"vht.txt"_s << u"Café 5G"_s << u"802.11ac"_s;
        QTest::newRow("HE") << u"he.txt"_s << u"Lab AX"_s << u"802.11ax"_s;
        QTest::newRow("EHT receive, HE transmit")
            << u"eht.txt"_s << u"Studio BE"_s << u"802.11be"_s;
        QTest::newRow("Not connected.") << u"not-connected.txt"_s << u"WiFi"_s << QString();
        QTest::newRow("legacy rates") << u"legacy.txt"_s << u"Cafe"_s << QString();
        QTest::newRow("hidden network") << u"empty-ssid.txt"_s << u"Connected"_s << u"802.11n"_s;
    }

    void iwOutputs()
    {
        QFETCH(QString, fixture);
        QFETCH(QString, name);
        QFETCH(QString, standard);
        const QByteArray output = iwFixture(fixture);
        QVERIFY(!output.isEmpty());
        QCOMPARE(LinuxNetworkProbes::nameFromIwLink(output), name);
        QCOMPARE(LinuxNetworkProbes::standardFromIwLink(output).value_or(QString()), standard);
    }

    void ssidNamingRule_data()
    {
        QTest::addColumn<QString>("ssid");
        QTest::addColumn<QString>("name");
        QTest::newRow("plain") << u"HomeNet"_s << u"HomeNet"_s;
        QTest::newRow("one word") << u"x"_s << u"x"_s;
        QTest::newRow("padded") << u"  Home  "_s << u"Home"_s;
        QTest::newRow("empty") << QString() << u"Connected"_s;
        // The rule for a "Wi-Fi power is Off" report is kept as written.
        QTest::newRow("contains Off") << u"Office"_s << u"Connected"_s;
    }

    void ssidNamingRule()
    {
        QFETCH(QString, ssid);
        QFETCH(QString, name);
        QCOMPARE(LinuxNetworkProbes::nameFromSsid(ssid), name);
    }

    void iwGarbage()
    {
        QCOMPARE(LinuxNetworkProbes::nameFromIwLink(QByteArray("\xff\xfe\x00garbage", 10)),
                 u"WiFi"_s);
        QVERIFY(!LinuxNetworkProbes::standardFromIwLink(QByteArray(10'000, 'M')));
        QCOMPARE(LinuxNetworkProbes::nameFromIwLink("\tSSID: a\\x"), u"a\\x"_s);
    }
};

KV_TEST_MAIN(TestLinuxNetwork)
#include "tst_linuxnetwork.moc"
