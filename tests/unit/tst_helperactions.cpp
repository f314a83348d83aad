#include "HelperActions.h"
#include "HelperBatch.h"
#include "TestFiles.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QHash>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using helper::HelperActions;
using helper::HelperSystem;

using namespace Qt::StringLiterals;

namespace {

QStringList toQt(const std::vector<std::string> &words)
{
    QStringList result;
    for (const std::string &word : words) {
        result.append(QString::fromStdString(word));
    }
    return result;
}

std::optional<QString> toQt(const std::optional<std::string> &text)
{
    return text ? std::optional<QString>(QString::fromStdString(*text)) : std::nullopt;
}

} // namespace

/// The helper's actions against temporary roots and a recorder: nothing here needs root or
/// touches the machine.
class TestHelperActions : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> m_root;
    QList<QStringList> m_commands;
    QList<std::pair<int, int>> m_niced;
    QList<std::pair<int, int>> m_signals; ///< (pid, signal), for signals sent through a handle
    QList<int> m_closed;
    QHash<int, int> m_signalAnswers;   ///< pid → errno of a signal sent to it
    QSet<int> m_goneAtOpen;            ///< pids whose handle cannot be opened
    QHash<int, QString> m_executables; ///< pid → what /proc/PID/exe says
    int m_syncs = 0;
    bool m_syncInTime = true;
    std::function<HelperSystem::ToolOutcome(const QStringList &)> m_answer;

    /// An installed nmcli whose connections all run on wlp2s0 with IPv6 set as given, and
    /// whose other commands succeed.
    void useNetworkManagerOnWifi(const std::string &ipv6Method = "auto")
    {
        makeFile(QStringLiteral("usr/bin/nmcli"));
        m_answer = [ipv6Method](const QStringList &command) {
            if (command.contains(u"GENERAL.DEVICES"_s)) {
                return HelperSystem::ToolOutcome{0, "wlp2s0\n"};
            }
            if (command.contains(u"ipv6.method"_s)) {
                return HelperSystem::ToolOutcome{0, ipv6Method + "\n"};
            }
            return HelperSystem::ToolOutcome{0, {}};
        };
    }

    QString path(const QString &relative) const { return m_root->filePath(relative); }
    void makeDir(const QString &relative) const { QVERIFY(QDir().mkpath(path(relative))); }
    void makeFile(const QString &relative, const QByteArray &content = {}) const
    {
        QVERIFY(QDir().mkpath(QFileInfo(path(relative)).path()));
        QVERIFY(TestFiles::write(path(relative), content));
    }

    HelperActions actions()
    {
        HelperSystem system;
        system.procRoot = path(QStringLiteral("proc")).toStdString();
        system.etcRoot = path(QStringLiteral("etc")).toStdString();
        system.runRoot = path(QStringLiteral("run")).toStdString();
        system.toolFolders = {path(QStringLiteral("usr/bin")).toStdString()};
        system.runTool = [this](const std::vector<std::string> &argv) {
            const QStringList command = toQt(argv);
            m_commands.append(command);
            return m_answer ? m_answer(command) : HelperSystem::ToolOutcome{0, {}};
        };
        system.setThreadNice = [this](int tid, int nice) {
            m_niced.append({tid, nice});
            return tid == 666 ? EPERM : (tid == 777 ? ESRCH : 0);
        };
        system.sysRoot = path(QStringLiteral("sys")).toStdString();
        system.callerUid = callerUid;
        // A handle is the pid plus 100000, so the test can tell which process it names.
        system.openProcess = [this](int pid) {
            return m_goneAtOpen.contains(pid) ? -ESRCH : pid + 100000;
        };
        system.signalProcess = [this](int handle, int signal) {
            const int pid = handle - 100000;
            if (signal != 0) {
                m_signals.append({pid, signal});
            }
            return m_signalAnswers.value(pid, 0);
        };
        system.closeProcess = [this](int handle) { m_closed.append(handle - 100000); };
        system.executableOf = [this](int pid) { return m_executables.value(pid).toStdString(); };
        system.syncFileSystems = [this] {
            ++m_syncs;
            return m_syncInTime;
        };
        return HelperActions(std::move(system));
    }

    QString tool(const QString &name) const { return path(u"usr/bin/"_s + name); }

    static constexpr unsigned callerUid = 1000;

    // A process as /proc shows it: its uids, its start time and its threads.
    void makeProcess(int pid, unsigned long long startTime, unsigned realUid = callerUid,
                     unsigned effectiveUid = callerUid, const QList<int> &tids = {})
    {
        const QString folder = u"proc/"_s + QString::number(pid);
        makeFile(folder + u"/status"_s, "Name:\tgame\nUid:\t" + QByteArray::number(realUid) + '\t' +
                                            QByteArray::number(effectiveUid) + "\t0\t0\n");
        // A name with spaces and a parenthesis, as any program may choose.
        QByteArray stat = QByteArray::number(pid) + " (evil) 1 2 3) S";
        for (int field = 4; field <= 21; ++field) {
            stat += ' ' + QByteArray::number(field);
        }
        stat += ' ' + QByteArray::number(startTime) + " 23 24\n";
        makeFile(folder + u"/stat"_s, stat);
        for (const int tid : tids.isEmpty() ? QList<int>{pid} : tids) {
            makeDir(folder + u"/task/"_s + QString::number(tid));
        }
    }

    QString resolvConf() const { return path(QStringLiteral("etc/resolv.conf")); }

private Q_SLOTS:
    void init()
    {
        m_root = std::make_unique<QTemporaryDir>();
        m_commands.clear();
        m_niced.clear();
        m_signals.clear();
        m_closed.clear();
        m_signalAnswers.clear();
        m_goneAtOpen.clear();
        m_executables.clear();
        m_syncs = 0;
        m_syncInTime = true;
        m_answer = nullptr;
        makeDir(QStringLiteral("proc"));
        makeDir(QStringLiteral("etc"));
        makeDir(QStringLiteral("run"));
        makeDir(QStringLiteral("usr/bin"));
        makeDir(QStringLiteral("sys/class/net/eth0"));
        makeDir(QStringLiteral("sys/class/net/wlp2s0"));
    }

    void reniceChangesEveryThread()
    {
        makeProcess(4242, 9001, callerUid, callerUid, {4242, 4243, 4250});
        QCOMPARE(toQt(actions().renice(4242, -10, 9001)), std::nullopt);
        std::sort(m_niced.begin(), m_niced.end());
        QCOMPARE(m_niced, (QList<std::pair<int, int>>{{4242, -10}, {4243, -10}, {4250, -10}}));
        QCOMPARE(m_closed, QList<int>{4242});
    }

    void reniceOfAProcessThatIsGone()
    {
        m_goneAtOpen.insert(4242);
        QCOMPARE(toQt(actions().renice(4242, 10, 9001)), QStringLiteral("No such process"));
        QVERIFY(m_niced.isEmpty());
    }

    void reniceRefusesAnotherUsersProcess_data()
    {
        QTest::addColumn<uint>("realUid");
        QTest::addColumn<uint>("effectiveUid");
        QTest::newRow("another user") << 1001u << 1001u;
        QTest::newRow("root") << 0u << 0u;
        QTest::newRow("set-uid program of another user") << callerUid << 0u;
        QTest::newRow("started by another user as the caller") << 1001u << callerUid;
    }

    void reniceRefusesAnotherUsersProcess()
    {
        QFETCH(uint, realUid);
        QFETCH(uint, effectiveUid);
        makeProcess(4242, 9001, realUid, effectiveUid);
        QCOMPARE(toQt(actions().renice(4242, -10, 9001)),
                 QStringLiteral("The process belongs to another user"));
        QVERIFY(m_niced.isEmpty());
        QCOMPARE(m_closed, QList<int>{4242});
    }

    void reniceRefusesAReusedPid()
    {
        // The game ended and its pid went to a new process, which started later.
        makeProcess(4242, 9500);
        QCOMPARE(toQt(actions().renice(4242, -10, 9001)), QStringLiteral("No such process"));
        QVERIFY(m_niced.isEmpty());
    }

    void reniceRefusesWhenThePidChangedHandsAfterTheHandleWasOpened()
    {
        // The handle names the process that ended; /proc already shows its successor, which
        // matches in every way: only the handle tells them apart.
        makeProcess(4242, 9001);
        m_signalAnswers.insert(4242, ESRCH);
        QCOMPARE(toQt(actions().renice(4242, -10, 9001)), QStringLiteral("No such process"));
        QVERIFY(m_niced.isEmpty());
    }

    void reniceWithoutReadableStat()
    {
        makeDir(QStringLiteral("proc/4242/task/4242"));
        QCOMPARE(toQt(actions().renice(4242, -10, 9001)), QStringLiteral("No such process"));
        QVERIFY(m_niced.isEmpty());
    }

    void reniceIgnoresAThreadThatEndsMeanwhile()
    {
        makeProcess(500, 77, callerUid, callerUid, {500, 777});
        QCOMPARE(toQt(actions().renice(500, 0, 77)), std::nullopt);
    }

    void reniceReportsARefusal()
    {
        makeProcess(666, 1);
        const auto error = toQt(actions().renice(666, -10, 1));
        QVERIFY(error);
        QVERIFY(error->startsWith(u"Could not change the priority: "));
    }

    void autogroupWritesTheNiceOfTheProcesssGroup()
    {
        makeProcess(4242, 9001);
        makeFile(u"proc/4242/autogroup"_s, "/autogroup-54 nice 0\n");
        QCOMPARE(toQt(actions().setAutogroupNice(4242, -10, 9001)), std::nullopt);
        QCOMPARE(TestFiles::read(path(u"proc/4242/autogroup"_s)), QByteArray("-10"));
        QCOMPARE(m_closed, QList<int>{4242});
    }

    void autogroupRefusesAnotherUsersProcess()
    {
        makeProcess(4242, 9001, callerUid + 1, callerUid + 1);
        makeFile(u"proc/4242/autogroup"_s, "/autogroup-54 nice 0\n");
        QCOMPARE(toQt(actions().setAutogroupNice(4242, -10, 9001)),
                 u"The process belongs to another user"_s);
        QCOMPARE(TestFiles::read(path(u"proc/4242/autogroup"_s)),
                 QByteArray("/autogroup-54 nice 0\n"));
    }

    void autogroupRefusesAPidItCannotRead()
    {
        // A folder with no status or stat: nothing says whose process it is.
        makeFile(u"proc/4242/autogroup"_s, "/autogroup-54 nice 0\n");
        QCOMPARE(toQt(actions().setAutogroupNice(4242, -10, 9001)), u"No such process"_s);
        QCOMPARE(TestFiles::read(path(u"proc/4242/autogroup"_s)),
                 QByteArray("/autogroup-54 nice 0\n"));
    }

    void autogroupRefusesAReusedPid()
    {
        makeProcess(4242, 9002);
        makeFile(u"proc/4242/autogroup"_s, "/autogroup-54 nice 0\n");
        QCOMPARE(toQt(actions().setAutogroupNice(4242, -10, 9001)), u"No such process"_s);
    }

    void autogroupCreatesNoFile()
    {
        makeProcess(4242, 9001);
        QCOMPARE(toQt(actions().setAutogroupNice(4242, -10, 9001)),
                 u"Could not change the priority of the process's group"_s);
        QVERIFY(!QFileInfo::exists(path(u"proc/4242/autogroup"_s)));
    }

    void batchRunsEachStepAndPrintsOneLineForEach()
    {
        makeProcess(4242, 9001);
        makeProcess(666, 1);
        makeFile(u"proc/4242/autogroup"_s, "/autogroup-54 nice 0\n");
        makeFile(u"proc/sys/vm/drop_caches"_s);
        helper::HelperBatch batch;
        helper::HelperCommand raise;
        raise.verb = helper::HelperCommand::Verb::Renice;
        raise.pid = 4242;
        raise.nice = -10;
        raise.startTime = 9001;
        helper::HelperCommand refused = raise;
        refused.pid = 666;
        refused.startTime = 1;
        helper::HelperCommand group = raise;
        group.verb = helper::HelperCommand::Verb::Autogroup;
        helper::HelperCommand drop;
        drop.verb = helper::HelperCommand::Verb::DropCaches;
        batch.steps = {{raise, false}, {refused, false}, {group, false}, {drop, false}};
        HelperActions helperActions = actions();
        QStringList lines;
        const bool allSucceeded =
            batch.run([&](const helper::HelperCommand &step) { return helperActions.run(step); },
                      [&](const std::string &line) { lines.append(QString::fromStdString(line)); });
        QVERIFY(!allSucceeded);
        QCOMPARE(lines.size(), 4);
        QCOMPARE(lines[0], u"ok"_s);
        QVERIFY2(lines[1].startsWith(u"failed: Could not change the priority: "_s),
                 qPrintable(lines[1]));
        QCOMPARE(lines[2], u"ok"_s);
        QCOMPARE(lines[3], u"ok"_s);
        // The step that failed stopped none of the others.
        QVERIFY(m_niced.contains(std::pair(4242, -10)));
        QCOMPARE(TestFiles::read(path(u"proc/4242/autogroup"_s)), QByteArray("-10"));
        QCOMPARE(m_syncs, 1);
    }

    void batchSkipsAStepJoinedToAFailure()
    {
        // set-dns fails without NetworkManager or resolved on a name that is no interface here.
        helper::HelperCommand setDns;
        setDns.verb = helper::HelperCommand::Verb::SetDns;
        setDns.target = "nosuch0";
        setDns.servers = {"1.1.1.1"};
        helper::HelperCommand flush;
        flush.verb = helper::HelperCommand::Verb::FlushDns;
        helper::HelperBatch batch;
        batch.steps = {{setDns, false}, {flush, true}, {flush, true}, {flush, false}};
        QStringList lines;
        int flushes = 0;
        const bool allSucceeded = batch.run(
            [&](const helper::HelperCommand &step) -> std::optional<std::string> {
                if (step.verb == helper::HelperCommand::Verb::FlushDns) {
                    ++flushes;
                    return std::nullopt;
                }
                return std::string("No such interface\nsecond line");
            },
            [&](const std::string &line) { lines.append(QString::fromStdString(line)); });
        QVERIFY(!allSucceeded);
        QCOMPARE(lines, (QStringList{u"failed: No such interface second line"_s, u"skipped"_s,
                                     u"skipped"_s, u"ok"_s}));
        QCOMPARE(flushes, 1);
    }

    void batchWhereEveryStepSucceeds()
    {
        helper::HelperCommand flush;
        flush.verb = helper::HelperCommand::Verb::FlushDns;
        helper::HelperBatch batch;
        batch.steps = {{flush, false}, {flush, true}};
        QStringList lines;
        QVERIFY(batch.run(
            [](const helper::HelperCommand &) { return std::nullopt; },
            [&](const std::string &line) { lines.append(QString::fromStdString(line)); }));
        QCOMPARE(lines, (QStringList{u"ok"_s, u"ok"_s}));
    }

    void setDnsThroughNetworkManager()
    {
        useNetworkManagerOnWifi();
        const std::string uuid = "7d1e8c2a-5f4b-4e3a-8c9d-1a2b3c4d5e6f";
        QCOMPARE(toQt(actions().setDns(uuid, {"8.8.8.8", "8.8.4.4"})), std::nullopt);
        const QString nmcli = tool(QStringLiteral("nmcli"));
        const QString id = QString::fromStdString(uuid);
        // Without IPv6 servers the network's own IPv6 resolvers are dropped all the same.
        QCOMPARE(
            m_commands,
            (QList<QStringList>{
                {nmcli, u"-g"_s, u"ipv6.method"_s, u"connection"_s, u"show"_s, u"uuid"_s, id},
                {nmcli, u"connection"_s, u"modify"_s, u"uuid"_s, id, u"ipv4.dns"_s,
                 u"8.8.8.8 8.8.4.4"_s, u"ipv4.ignore-auto-dns"_s, u"yes"_s, u"ipv6.dns"_s, u""_s,
                 u"ipv6.ignore-auto-dns"_s, u"yes"_s},
                {nmcli, u"-g"_s, u"GENERAL.DEVICES"_s, u"connection"_s, u"show"_s, u"uuid"_s, id},
                {nmcli, u"device"_s, u"reapply"_s, u"wlp2s0"_s},
            }));
    }

    void setDnsOnADualStackConnection()
    {
        useNetworkManagerOnWifi();
        const std::string uuid = "7d1e8c2a-5f4b-4e3a-8c9d-1a2b3c4d5e6f";
        QCOMPARE(toQt(actions().setDns(
                     uuid, {"1.1.1.1", "1.0.0.1", "2606:4700:4700::1111", "2606:4700:4700::1001"})),
                 std::nullopt);
        QCOMPARE(m_commands.size(), 4);
        QCOMPARE(
            m_commands[1].mid(5),
            (QStringList{u"ipv4.dns"_s, u"1.1.1.1 1.0.0.1"_s, u"ipv4.ignore-auto-dns"_s, u"yes"_s,
                         u"ipv6.dns"_s, u"2606:4700:4700::1111 2606:4700:4700::1001"_s,
                         u"ipv6.ignore-auto-dns"_s, u"yes"_s}));
    }

    void setDnsWhereIpv6IsOff_data()
    {
        QTest::addColumn<QString>("method");
        QTest::newRow("disabled") << u"disabled"_s;
        QTest::newRow("ignore") << u"ignore"_s;
    }

    void setDnsWhereIpv6IsOff()
    {
        // NetworkManager refuses IPv6 DNS settings there, which would lose the IPv4 ones too.
        QFETCH(QString, method);
        useNetworkManagerOnWifi(method.toStdString());
        const std::string uuid = "7d1e8c2a-5f4b-4e3a-8c9d-1a2b3c4d5e6f";
        QCOMPARE(toQt(actions().setDns(uuid, {"1.1.1.1", "2606:4700:4700::1111"})), std::nullopt);
        QCOMPARE(m_commands[1].mid(5),
                 (QStringList{u"ipv4.dns"_s, u"1.1.1.1"_s, u"ipv4.ignore-auto-dns"_s, u"yes"_s}));
    }

    void setDnsThroughNetworkManagerWithIpv6AndNoDevice()
    {
        makeFile(QStringLiteral("usr/bin/nmcli"));
        const std::string uuid = "7d1e8c2a-5f4b-4e3a-8c9d-1a2b3c4d5e6f";
        QCOMPARE(toQt(actions().setDns(uuid, {"2606:4700:4700::1111", "1.1.1.1"})), std::nullopt);
        const QString nmcli = tool(QStringLiteral("nmcli"));
        QCOMPARE(m_commands.size(), 4);
        QCOMPARE(m_commands[1].mid(5),
                 (QStringList{u"ipv4.dns"_s, u"1.1.1.1"_s, u"ipv4.ignore-auto-dns"_s, u"yes"_s,
                              u"ipv6.dns"_s, u"2606:4700:4700::1111"_s, u"ipv6.ignore-auto-dns"_s,
                              u"yes"_s}));
        QCOMPARE(m_commands[3], (QStringList{nmcli, u"connection"_s, u"up"_s, u"uuid"_s,
                                             QString::fromStdString(uuid)}));
    }

    void setDnsRefusedByNetworkManager()
    {
        makeFile(QStringLiteral("usr/bin/nmcli"));
        m_answer = [](const QStringList &) { return HelperSystem::ToolOutcome{10, {}}; };
        QCOMPARE(toQt(actions().setDns("7d1e8c2a-5f4b-4e3a-8c9d-1a2b3c4d5e6f", {"1.1.1.1"})),
                 QStringLiteral("NetworkManager refused the DNS servers"));
        QCOMPARE(m_commands.size(), 2);
    }

    void setDnsWithoutNetworkManager()
    {
        QCOMPARE(toQt(actions().setDns("7d1e8c2a-5f4b-4e3a-8c9d-1a2b3c4d5e6f", {"1.1.1.1"})),
                 QStringLiteral("NetworkManager's nmcli is not installed"));
        QVERIFY(m_commands.isEmpty());
    }

    void setDnsThroughResolved()
    {
        makeFile(QStringLiteral("usr/bin/resolvectl"));
        makeDir(QStringLiteral("run/systemd/resolve"));
        QCOMPARE(toQt(actions().setDns("wlp2s0", {"1.1.1.1", "1.0.0.1"})), std::nullopt);
        const QString resolvectl = tool(QStringLiteral("resolvectl"));
        QCOMPARE(m_commands, (QList<QStringList>{
                                 {resolvectl, u"dns"_s, u"wlp2s0"_s, u"1.1.1.1"_s, u"1.0.0.1"_s},
                                 {resolvectl, u"domain"_s, u"wlp2s0"_s, u"~."_s},
                             }));
        QVERIFY(!QFile::exists(path(QStringLiteral("etc/resolv.conf"))));
        // No networkd file configures the link: resolved keeps the servers itself.
        QCOMPARE(TestFiles::read(path(u"etc/systemd/resolved.conf.d/90-kestrelvanta-dns.conf"_s)),
                 QByteArray("# Written by Kestrelvanta; removed when automatic DNS is restored\n"
                            "[Resolve]\nDNS=1.1.1.1 1.0.0.1\nDomains=~.\n"));
    }

    void setDnsThroughResolvedKeepsThemInTheLinksNetworkFile()
    {
        makeFile(QStringLiteral("usr/bin/resolvectl"));
        makeDir(QStringLiteral("run/systemd/resolve"));
        makeFile(QStringLiteral("sys/class/net/wlp2s0/ifindex"), "3\n");
        makeFile(QStringLiteral("run/systemd/netif/links/3"),
                 "# This is private data. Do not parse.\nADMIN_STATE=configured\n"
                 "NETWORK_FILE=/usr/lib/systemd/network/80-wifi-station.network\n");
        const QString dropIn =
            path(u"etc/systemd/network/80-wifi-station.network.d/90-kestrelvanta-dns.conf"_s);
        QCOMPARE(toQt(actions().setDns("wlp2s0", {"1.1.1.1", "2606:4700:4700::1111"})),
                 std::nullopt);
        QCOMPARE(TestFiles::read(dropIn),
                 QByteArray("# Written by Kestrelvanta; removed when automatic DNS is restored\n"
                            "[Network]\nDNS=1.1.1.1\nDNS=2606:4700:4700::1111\nDomains=~.\n\n"
                            "[DHCPv4]\nUseDNS=no\n\n[DHCPv6]\nUseDNS=no\n\n[IPv6AcceptRA]\n"
                            "UseDNS=no\n"));
        QVERIFY(!QFile::exists(path(u"etc/systemd/resolved.conf.d"_s)));
        // A second switch replaces it; restoring removes it.
        QCOMPARE(toQt(actions().setDns("wlp2s0", {"8.8.8.8"})), std::nullopt);
        QVERIFY(TestFiles::read(dropIn).contains("\nDNS=8.8.8.8\nDomains"));
        QCOMPARE(toQt(actions().restoreDns("wlp2s0")), std::nullopt);
        QVERIFY(!QFile::exists(dropIn));
    }

    void theDropInOfSomeoneElseIsLeftAlone()
    {
        makeFile(QStringLiteral("usr/bin/resolvectl"));
        makeDir(QStringLiteral("run/systemd/resolve"));
        const QString dropIn = path(u"etc/systemd/resolved.conf.d/90-kestrelvanta-dns.conf"_s);
        makeFile(u"etc/systemd/resolved.conf.d/90-kestrelvanta-dns.conf"_s,
                 "[Resolve]\nDNS=9.9.9.9\n");
        QCOMPARE(toQt(actions().setDns("wlp2s0", {"1.1.1.1"})),
                 QStringLiteral("Could not keep the DNS servers for the next boot"));
        QCOMPARE(toQt(actions().restoreDns("wlp2s0")), std::nullopt);
        QCOMPARE(TestFiles::read(dropIn), QByteArray("[Resolve]\nDNS=9.9.9.9\n"));
    }

    void setDnsInResolvConfKeepsTheFirstBackup()
    {
        makeFile(QStringLiteral("etc/resolv.conf"), "nameserver 192.168.1.1\n");
        QCOMPARE(toQt(actions().setDns("eth0", {"8.8.8.8", "8.8.4.4"})), std::nullopt);
        QCOMPARE(TestFiles::read(path(QStringLiteral("etc/resolv.conf"))),
                 QByteArray("# Written by Kestrelvanta; the previous file is "
                            "resolv.conf.kestrelvanta-backup\nnameserver 8.8.8.8\nnameserver "
                            "8.8.4.4\n"));
        QCOMPARE(TestFiles::read(path(QStringLiteral("etc/resolv.conf.kestrelvanta-backup"))),
                 QByteArray("nameserver 192.168.1.1\n"));
        QCOMPARE(toQt(actions().setDns("eth0", {"1.1.1.1"})), std::nullopt);
        QVERIFY(TestFiles::read(path(QStringLiteral("etc/resolv.conf")))
                    .endsWith("nameserver 1.1.1.1\n"));
        QCOMPARE(TestFiles::read(path(QStringLiteral("etc/resolv.conf.kestrelvanta-backup"))),
                 QByteArray("nameserver 192.168.1.1\n"));
        QVERIFY(m_commands.isEmpty());
        QVERIFY(!QFile::exists(path(QStringLiteral("etc/.resolv.conf.kestrelvanta"))));
    }

    void setDnsNeverRewritesResolvConfForANameThatIsNoInterface()
    {
        // The program's placeholder when it found no connection.
        makeFile(QStringLiteral("etc/resolv.conf"), "nameserver 192.168.1.1\n");
        QCOMPARE(toQt(actions().setDns("Wi-Fi", {"8.8.8.8"})),
                 QStringLiteral("No such network interface"));
        QCOMPARE(TestFiles::read(resolvConf()), QByteArray("nameserver 192.168.1.1\n"));
        QVERIFY(!QFile::exists(path(QStringLiteral("etc/resolv.conf.kestrelvanta-backup"))));
        QCOMPARE(toQt(actions().restoreDns("Wi-Fi")), QStringLiteral("No such network interface"));
        QVERIFY(m_commands.isEmpty());
    }

    void setDnsLeavesASymlinkedResolvConfAlone()
    {
        makeFile(QStringLiteral("run/systemd/resolve/stub-resolv.conf"), "nameserver 127.0.0.53\n");
        QVERIFY(QFile::link(path(QStringLiteral("run/systemd/resolve/stub-resolv.conf")),
                            resolvConf()));
        QCOMPARE(toQt(actions().setDns("eth0", {"8.8.8.8"})),
                 QStringLiteral("/etc/resolv.conf is managed by another service"));
        QVERIFY(QFileInfo(resolvConf()).isSymLink());
        QCOMPARE(TestFiles::read(path(QStringLiteral("run/systemd/resolve/stub-resolv.conf"))),
                 QByteArray("nameserver 127.0.0.53\n"));
        QVERIFY(!QFile::exists(path(QStringLiteral("etc/resolv.conf.kestrelvanta-backup"))));
        QCOMPARE(toQt(actions().restoreDns("eth0")),
                 QStringLiteral("/etc/resolv.conf is managed by another service"));
        QVERIFY(QFileInfo(resolvConf()).isSymLink());
    }

    void setDnsLeavesAManagersOwnCopyAlone_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("NetworkManager") << QByteArray("# Generated by NetworkManager\n"
                                                      "nameserver 192.168.1.1\n");
        QTest::newRow("systemd-resolved")
            << QByteArray("# This is /run/systemd/resolve/resolv.conf managed by "
                          "man:systemd-resolved(8).\nnameserver 192.168.1.1\n");
        QTest::newRow("resolvconf")
            << QByteArray("# Dynamic resolv.conf(5) file for glibc resolver(3) generated by "
                          "resolvconf(8)\nnameserver 192.168.1.1\n");
    }

    void setDnsLeavesAManagersOwnCopyAlone()
    {
        QFETCH(QByteArray, content);
        makeFile(QStringLiteral("etc/resolv.conf"), content);
        QCOMPARE(toQt(actions().setDns("eth0", {"8.8.8.8"})),
                 QStringLiteral("/etc/resolv.conf is managed by another service"));
        QCOMPARE(TestFiles::read(resolvConf()), content);
        QVERIFY(!QFile::exists(path(QStringLiteral("etc/resolv.conf.kestrelvanta-backup"))));
    }

    void setDnsFollowsNoLinkLeftAtTheStagedOrBackupName()
    {
        makeFile(QStringLiteral("etc/resolv.conf"), "nameserver 192.168.1.1\n");
        makeFile(QStringLiteral("etc/shadow"), "root:secret\n");
        makeFile(QStringLiteral("etc/passwd"), "root:x:0:0\n");
        QVERIFY(QFile::link(path(QStringLiteral("etc/shadow")),
                            path(QStringLiteral("etc/.resolv.conf.kestrelvanta"))));
        QVERIFY(QFile::link(path(QStringLiteral("etc/passwd")),
                            path(QStringLiteral("etc/resolv.conf.kestrelvanta-backup"))));
        QCOMPARE(toQt(actions().setDns("eth0", {"8.8.8.8"})), std::nullopt);
        QCOMPARE(TestFiles::read(path(QStringLiteral("etc/shadow"))), QByteArray("root:secret\n"));
        QCOMPARE(TestFiles::read(path(QStringLiteral("etc/passwd"))), QByteArray("root:x:0:0\n"));
        QVERIFY(!QFileInfo(resolvConf()).isSymLink());
        QVERIFY(TestFiles::read(resolvConf()).endsWith("nameserver 8.8.8.8\n"));
        // Something was already at the backup's name: it is not replaced.
        QVERIFY(QFileInfo(path(QStringLiteral("etc/resolv.conf.kestrelvanta-backup"))).isSymLink());
        QVERIFY(!QFile::exists(path(QStringLiteral("etc/.resolv.conf.kestrelvanta"))));
    }

    void resolvConfFilesAreReadableByAllWhateverTheUmask()
    {
        makeFile(QStringLiteral("etc/resolv.conf"), "nameserver 192.168.1.1\n");
        const mode_t previous = umask(077);
        const auto error = toQt(actions().setDns("eth0", {"8.8.8.8"}));
        umask(previous);
        QCOMPARE(error, std::nullopt);
        for (const QString &name :
             {u"etc/resolv.conf"_s, u"etc/resolv.conf.kestrelvanta-backup"_s}) {
            struct stat info {};
            QCOMPARE(lstat(QFile::encodeName(path(name)).constData(), &info), 0);
            QCOMPARE(info.st_mode & 07777, mode_t(0644));
        }
    }

    void restoreDnsThroughNetworkManager()
    {
        useNetworkManagerOnWifi();
        const std::string uuid = "7d1e8c2a-5f4b-4e3a-8c9d-1a2b3c4d5e6f";
        QCOMPARE(toQt(actions().restoreDns(uuid)), std::nullopt);
        const QString nmcli = tool(QStringLiteral("nmcli"));
        const QString id = QString::fromStdString(uuid);
        QCOMPARE(m_commands, (QList<QStringList>{
                                 {nmcli, u"connection"_s, u"modify"_s, u"uuid"_s, id,
                                  u"ipv4.ignore-auto-dns"_s, u"no"_s, u"ipv4.dns"_s, QString(),
                                  u"ipv6.ignore-auto-dns"_s, u"no"_s, u"ipv6.dns"_s, QString()},
                                 {nmcli, u"-g"_s, u"GENERAL.DEVICES"_s, u"connection"_s, u"show"_s,
                                  u"uuid"_s, id},
                                 {nmcli, u"device"_s, u"reapply"_s, u"wlp2s0"_s},
                             }));
    }

    void restoreDnsRefusedByNetworkManager()
    {
        makeFile(QStringLiteral("usr/bin/nmcli"));
        m_answer = [](const QStringList &) { return HelperSystem::ToolOutcome{10, {}}; };
        QCOMPARE(toQt(actions().restoreDns("7d1e8c2a-5f4b-4e3a-8c9d-1a2b3c4d5e6f")),
                 QStringLiteral("NetworkManager refused to restore automatic DNS"));
        QCOMPARE(m_commands.size(), 1);
    }

    void restoreDnsThroughResolved()
    {
        makeFile(QStringLiteral("usr/bin/resolvectl"));
        makeDir(QStringLiteral("run/systemd/resolve"));
        QCOMPARE(toQt(actions().restoreDns("wlp2s0")), std::nullopt);
        QCOMPARE(m_commands, (QList<QStringList>{
                                 {tool(QStringLiteral("resolvectl")), u"revert"_s, u"wlp2s0"_s}}));
    }

    void restoreDnsPutsTheUsersResolvConfBack()
    {
        makeFile(QStringLiteral("etc/resolv.conf"), "nameserver 192.168.1.1\n");
        QCOMPARE(toQt(actions().setDns("eth0", {"8.8.8.8"})), std::nullopt);
        QCOMPARE(toQt(actions().restoreDns("eth0")), std::nullopt);
        QCOMPARE(TestFiles::read(resolvConf()), QByteArray("nameserver 192.168.1.1\n"));
        QVERIFY(!QFile::exists(path(QStringLiteral("etc/resolv.conf.kestrelvanta-backup"))));
        // Nothing of ours left: a second restore changes nothing.
        QCOMPARE(toQt(actions().restoreDns("eth0")), std::nullopt);
        QCOMPARE(TestFiles::read(resolvConf()), QByteArray("nameserver 192.168.1.1\n"));
    }

    void restoreDnsLeavesAResolvConfThatIsNotOurs()
    {
        makeFile(QStringLiteral("etc/resolv.conf"), "nameserver 10.0.0.1\n");
        makeFile(QStringLiteral("etc/resolv.conf.kestrelvanta-backup"), "nameserver 9.9.9.9\n");
        QCOMPARE(toQt(actions().restoreDns("eth0")), std::nullopt);
        QCOMPARE(TestFiles::read(resolvConf()), QByteArray("nameserver 10.0.0.1\n"));
    }

    void flushWithNoCacheSucceeds()
    {
        makeFile(QStringLiteral("proc/1/comm"), "init\n");
        QCOMPARE(toQt(actions().flushDns()), std::nullopt);
        QVERIFY(m_commands.isEmpty());
        QVERIFY(m_signals.isEmpty());
    }

    void flushEveryCacheThatRuns()
    {
        makeFile(QStringLiteral("usr/bin/resolvectl"));
        makeDir(QStringLiteral("run/systemd/resolve"));
        makeFile(QStringLiteral("usr/bin/nscd"));
        makeFile(QStringLiteral("run/nscd/socket"));
        makeFile(QStringLiteral("usr/bin/dnsmasq"));
        makeDir(QStringLiteral("proc/812"));
        m_executables.insert(812, tool(QStringLiteral("dnsmasq")));
        QCOMPARE(toQt(actions().flushDns()), std::nullopt);
        QCOMPARE(m_commands,
                 (QList<QStringList>{{tool(QStringLiteral("resolvectl")), u"flush-caches"_s},
                                     {tool(QStringLiteral("nscd")), u"-i"_s, u"hosts"_s}}));
        QCOMPARE(m_signals, (QList<std::pair<int, int>>{{812, SIGHUP}}));
        QCOMPARE(m_closed, QList<int>{812});
    }

    void flushSignalsOnlyTheSystemsDnsmasq()
    {
        makeFile(QStringLiteral("usr/bin/dnsmasq"));
        // Another user's program named dnsmasq, a copy of the binary elsewhere, the real one
        // reached through a link, and processes whose executable cannot be read.
        for (const int pid : {812, 813, 814, 815, 816}) {
            makeFile(u"proc/"_s + QString::number(pid) + u"/comm"_s, "dnsmasq\n");
        }
        m_executables.insert(812, path(QStringLiteral("home/eve/dnsmasq")));
        m_executables.insert(813, tool(QStringLiteral("dnsmasq")) + u" (deleted)"_s);
        m_executables.insert(814, tool(QStringLiteral("dnsmasq")));
        m_executables.insert(815, QString());
        QCOMPARE(toQt(actions().flushDns()), std::nullopt);
        QCOMPARE(m_signals, (QList<std::pair<int, int>>{{814, SIGHUP}}));
    }

    void flushWithoutTheDnsmasqBinarySignalsNothing()
    {
        makeDir(QStringLiteral("proc/812"));
        m_executables.insert(812, tool(QStringLiteral("dnsmasq")));
        QCOMPARE(toQt(actions().flushDns()), std::nullopt);
        QVERIFY(m_signals.isEmpty());
    }

    void flushCountsADnsmasqThatJustEndedAsFlushed()
    {
        makeFile(QStringLiteral("usr/bin/dnsmasq"));
        makeDir(QStringLiteral("proc/812"));
        makeDir(QStringLiteral("proc/813"));
        m_executables.insert(812, tool(QStringLiteral("dnsmasq")));
        m_executables.insert(813, tool(QStringLiteral("dnsmasq")));
        m_signalAnswers.insert(812, ESRCH);
        m_goneAtOpen.insert(813);
        QCOMPARE(toQt(actions().flushDns()), std::nullopt);
        QCOMPARE(m_signals, (QList<std::pair<int, int>>{{812, SIGHUP}}));
        m_signalAnswers.insert(812, EPERM);
        QCOMPARE(toQt(actions().flushDns()), QStringLiteral("Could not flush the DNS cache"));
    }

    void flushFailure()
    {
        makeFile(QStringLiteral("usr/bin/resolvectl"));
        makeDir(QStringLiteral("run/systemd/resolve"));
        m_answer = [](const QStringList &) { return HelperSystem::ToolOutcome{1, {}}; };
        QCOMPARE(toQt(actions().flushDns()), QStringLiteral("Could not flush the DNS cache"));
    }

    void dropCachesSyncsThenWritesOne()
    {
        makeFile(QStringLiteral("proc/sys/vm/drop_caches"));
        QCOMPARE(toQt(actions().dropCaches()), std::nullopt);
        QCOMPARE(m_syncs, 1);
        QCOMPARE(TestFiles::read(path(QStringLiteral("proc/sys/vm/drop_caches"))), QByteArray("1"));
    }

    void dropCachesWhenTheWriteBackTakesTooLong()
    {
        makeFile(QStringLiteral("proc/sys/vm/drop_caches"));
        m_syncInTime = false;
        QCOMPARE(toQt(actions().dropCaches()),
                 QStringLiteral("Writing data to disk took too long"));
        QCOMPARE(TestFiles::read(path(QStringLiteral("proc/sys/vm/drop_caches"))), QByteArray());
    }

    void dropCachesWithoutTheFile()
    {
        QCOMPARE(toQt(actions().dropCaches()), QStringLiteral("Could not drop the page cache"));
    }

    // ---- The real system's waits, with short deadlines ----

    void aToolThatClosesItsOutputButRunsOnIsStoppedAtTheDeadline()
    {
        const HelperSystem system = HelperSystem::real(std::chrono::milliseconds(300));
        QElapsedTimer timer;
        timer.start();
        const HelperSystem::ToolOutcome outcome =
            system.runTool({"/bin/sh", "-c", "echo started; exec >&-; exec sleep 30"});
        QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
        QCOMPARE(outcome.exitStatus, -1);
        QCOMPARE(QByteArray::fromStdString(outcome.output), QByteArray("started\n"));
    }

    void aToolWhoseChildHoldsTheOutputIsNotWaitedFor()
    {
        const HelperSystem system = HelperSystem::real(std::chrono::milliseconds(5000));
        QElapsedTimer timer;
        timer.start();
        const HelperSystem::ToolOutcome outcome =
            system.runTool({"/bin/sh", "-c", "sleep 30 & echo done"});
        QVERIFY2(timer.elapsed() < 4000, qPrintable(QString::number(timer.elapsed())));
        QCOMPARE(outcome.exitStatus, 0);
        QCOMPARE(QByteArray::fromStdString(outcome.output), QByteArray("done\n"));
    }

    void aToolThatFinishesGivesItsOutputAndStatus()
    {
        const HelperSystem system = HelperSystem::real();
        const HelperSystem::ToolOutcome outcome =
            system.runTool({"/bin/sh", "-c", "printf 'a\\nb\\n'; exit 3"});
        QCOMPARE(outcome.exitStatus, 3);
        QCOMPARE(QByteArray::fromStdString(outcome.output), QByteArray("a\nb\n"));
    }

    void theWriteBackEndsInTime()
    {
        QVERIFY(HelperSystem::real(std::chrono::seconds(1), std::chrono::seconds(10))
                    .syncFileSystems());
    }

    void theHelperEndsItselfAtItsOverallDeadline()
    {
        // In a child of this test: the deadline ends the process and the tool it waits for.
        const QString pidFile = path(QStringLiteral("tool.pid"));
        const std::string script = "echo $$ > '" + pidFile.toStdString() + "'; exec sleep 60";
        int reported[2];
        QCOMPARE(pipe(reported), 0);
        QElapsedTimer timer;
        timer.start();
        const pid_t child = fork();
        QVERIFY(child >= 0);
        if (child == 0) {
            close(reported[0]);
            dup2(reported[1], STDERR_FILENO);
            HelperSystem::endItselfAfter(std::chrono::seconds(1));
            const HelperSystem system = HelperSystem::real(std::chrono::seconds(60));
            system.runTool({"/bin/sh", "-c", script});
            _exit(0);
        }
        close(reported[1]);
        int status = 0;
        QCOMPARE(waitpid(child, &status, 0), child);
        QVERIFY2(timer.elapsed() < 10000, qPrintable(QString::number(timer.elapsed())));
        QVERIFY(WIFEXITED(status));
        QCOMPARE(WEXITSTATUS(status), 1);
        QByteArray said;
        char buffer[256];
        ssize_t got = 0;
        while ((got = read(reported[0], buffer, sizeof buffer)) > 0) {
            said.append(buffer, got);
        }
        close(reported[0]);
        QCOMPARE(said, QByteArray("The action took too long and was stopped\n"));
        const QByteArray toolPid = TestFiles::read(pidFile).trimmed();
        QVERIFY(!toolPid.isEmpty());
        // Gone, or a zombie waiting for whoever adopted it.
        const auto toolRuns = [&] {
            const QByteArray stat =
                TestFiles::read(u"/proc/"_s + QString::fromLatin1(toolPid) + u"/stat"_s);
            return !stat.isEmpty() && !stat.contains(") Z ");
        };
        QTRY_VERIFY(!toolRuns());
    }
};

QTEST_APPLESS_MAIN(TestHelperActions)
#include "tst_helperactions.moc"
