#include "HelperActions.h"
#include "TestFiles.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

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
    QList<std::pair<int, int>> m_signals;
    int m_syncs = 0;
    std::function<HelperSystem::ToolOutcome(const QStringList &)> m_answer;

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
        system.sendSignal = [this](int pid, int signal) {
            m_signals.append({pid, signal});
            return 0;
        };
        system.syncFileSystems = [this] { ++m_syncs; };
        return HelperActions(std::move(system));
    }

    QString tool(const QString &name) const { return path(u"usr/bin/"_s + name); }

private Q_SLOTS:
    void init()
    {
        m_root = std::make_unique<QTemporaryDir>();
        m_commands.clear();
        m_niced.clear();
        m_signals.clear();
        m_syncs = 0;
        m_answer = nullptr;
        makeDir(QStringLiteral("proc"));
        makeDir(QStringLiteral("etc"));
        makeDir(QStringLiteral("run"));
        makeDir(QStringLiteral("usr/bin"));
    }

    void reniceChangesEveryThread()
    {
        for (const char *tid : {"4242", "4243", "4250"}) {
            makeDir(u"proc/4242/task/"_s + QString::fromLatin1(tid));
        }
        QCOMPARE(toQt(actions().renice(4242, -10)), std::nullopt);
        std::sort(m_niced.begin(), m_niced.end());
        QCOMPARE(m_niced, (QList<std::pair<int, int>>{{4242, -10}, {4243, -10}, {4250, -10}}));
    }

    void reniceOfAProcessThatIsGone()
    {
        QCOMPARE(toQt(actions().renice(4242, 10)), QStringLiteral("No such process"));
        QVERIFY(m_niced.isEmpty());
    }

    void reniceIgnoresAThreadThatEndsMeanwhile()
    {
        makeDir(QStringLiteral("proc/500/task/500"));
        makeDir(QStringLiteral("proc/500/task/777"));
        QCOMPARE(toQt(actions().renice(500, 0)), std::nullopt);
    }

    void reniceReportsARefusal()
    {
        makeDir(QStringLiteral("proc/666/task/666"));
        const auto error = toQt(actions().renice(666, -10));
        QVERIFY(error);
        QVERIFY(error->startsWith(u"Could not change the priority: "));
    }

    void setDnsThroughNetworkManager()
    {
        makeFile(QStringLiteral("usr/bin/nmcli"));
        m_answer = [](const QStringList &command) {
            if (command.contains(u"GENERAL.DEVICES"_s)) {
                return HelperSystem::ToolOutcome{0, "wlp2s0\n"};
            }
            return HelperSystem::ToolOutcome{0, {}};
        };
        const std::string uuid = "7d1e8c2a-5f4b-4e3a-8c9d-1a2b3c4d5e6f";
        QCOMPARE(toQt(actions().setDns(uuid, {"8.8.8.8", "8.8.4.4"})), std::nullopt);
        const QString nmcli = tool(QStringLiteral("nmcli"));
        const QString id = QString::fromStdString(uuid);
        QCOMPARE(m_commands, (QList<QStringList>{
                                 {nmcli, u"connection"_s, u"modify"_s, u"uuid"_s, id, u"ipv4.dns"_s,
                                  u"8.8.8.8 8.8.4.4"_s, u"ipv4.ignore-auto-dns"_s, u"yes"_s},
                                 {nmcli, u"-g"_s, u"GENERAL.DEVICES"_s, u"connection"_s, u"show"_s,
                                  u"uuid"_s, id},
                                 {nmcli, u"device"_s, u"reapply"_s, u"wlp2s0"_s},
                             }));
    }

    void setDnsThroughNetworkManagerWithIpv6AndNoDevice()
    {
        makeFile(QStringLiteral("usr/bin/nmcli"));
        const std::string uuid = "7d1e8c2a-5f4b-4e3a-8c9d-1a2b3c4d5e6f";
        QCOMPARE(toQt(actions().setDns(uuid, {"2606:4700:4700::1111", "1.1.1.1"})), std::nullopt);
        const QString nmcli = tool(QStringLiteral("nmcli"));
        QCOMPARE(m_commands.size(), 3);
        QCOMPARE(m_commands[0].mid(5),
                 (QStringList{u"ipv4.dns"_s, u"1.1.1.1"_s, u"ipv4.ignore-auto-dns"_s, u"yes"_s,
                              u"ipv6.dns"_s, u"2606:4700:4700::1111"_s, u"ipv6.ignore-auto-dns"_s,
                              u"yes"_s}));
        QCOMPARE(m_commands[2], (QStringList{nmcli, u"connection"_s, u"up"_s, u"uuid"_s,
                                             QString::fromStdString(uuid)}));
    }

    void setDnsRefusedByNetworkManager()
    {
        makeFile(QStringLiteral("usr/bin/nmcli"));
        m_answer = [](const QStringList &) { return HelperSystem::ToolOutcome{10, {}}; };
        QCOMPARE(toQt(actions().setDns("7d1e8c2a-5f4b-4e3a-8c9d-1a2b3c4d5e6f", {"1.1.1.1"})),
                 QStringLiteral("NetworkManager refused the DNS servers"));
        QCOMPARE(m_commands.size(), 1);
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
        makeFile(QStringLiteral("proc/812/comm"), "dnsmasq\n");
        makeFile(QStringLiteral("proc/813/comm"), "dnsmasq-helper\n");
        QCOMPARE(toQt(actions().flushDns()), std::nullopt);
        QCOMPARE(m_commands,
                 (QList<QStringList>{{tool(QStringLiteral("resolvectl")), u"flush-caches"_s},
                                     {tool(QStringLiteral("nscd")), u"-i"_s, u"hosts"_s}}));
        QCOMPARE(m_signals, (QList<std::pair<int, int>>{{812, SIGHUP}}));
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

    void dropCachesWithoutTheFile()
    {
        QCOMPARE(toQt(actions().dropCaches()), QStringLiteral("Could not drop the page cache"));
    }
};

QTEST_APPLESS_MAIN(TestHelperActions)
#include "tst_helperactions.moc"
