#include "TestFiles.h"
#include "platform/linux/SystemdSchedulingGroups.h"

#include <QCoro/QCoroTask>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <limits>
#include <unistd.h>

using namespace Qt::StringLiterals;
using platform::SchedulingGroupChange;
using platform::SystemdSchedulingGroups;
using Share = platform::SchedulingGroups::Share;
using Result = SchedulingGroupChange::Result;

namespace {

constexpr quint64 unset = std::numeric_limits<quint64>::max();

// The user's service manager, reduced to the three calls a weight change makes: GetUnit, the
// units' CPUWeight property and SetUnitProperties.
class FakeUserManager : public QDBusVirtualObject {
    Q_OBJECT

public:
    struct Set {
        QString unit;
        bool runtime;
        QString property;
        quint64 value;
    };
    QHash<QString, quint64> weights; ///< the units there are, with their CPUWeight
    QSet<QString> refusing;          ///< units that refuse any property
    QList<Set> sets;
    QStringList interfacesAsked;

    QString introspect(const QString &) const override { return {}; }

    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        const QString member = message.member();
        const QList<QVariant> arguments = message.arguments();
        if (member == u"GetUnit"_s) {
            const QString unit = arguments.value(0).toString();
            if (!weights.contains(unit)) {
                connection.send(message.createErrorReply(u"org.freedesktop.systemd1.NoSuchUnit"_s,
                                                         u"Unit "_s + unit + u" not loaded."_s));
                return true;
            }
            connection.send(message.createReply(QVariant::fromValue(QDBusObjectPath(
                u"/org/freedesktop/systemd1/unit/u"_s + QString::number(qHash(unit) % 100000)))));
            return true;
        }
        if (member == u"Get"_s) {
            interfacesAsked.append(arguments.value(0).toString());
            const QString path = message.path();
            for (auto it = weights.cbegin(); it != weights.cend(); ++it) {
                if (path.endsWith(u"/u"_s + QString::number(qHash(it.key()) % 100000))) {
                    connection.send(message.createReply(
                        QVariant::fromValue(QDBusVariant(QVariant::fromValue(it.value())))));
                    return true;
                }
            }
            connection.send(message.createErrorReply(u"org.freedesktop.DBus.Error.UnknownObject"_s,
                                                     u"No such unit"_s));
            return true;
        }
        if (member == u"SetUnitProperties"_s) {
            const QString unit = arguments.value(0).toString();
            const bool runtime = arguments.value(1).toBool();
            const QDBusArgument list = arguments.value(2).value<QDBusArgument>();
            list.beginArray();
            while (!list.atEnd()) {
                QString name;
                QDBusVariant value;
                list.beginStructure();
                list >> name >> value;
                list.endStructure();
                sets.append({unit, runtime, name, value.variant().toULongLong()});
            }
            list.endArray();
            if (refusing.contains(unit)) {
                connection.send(message.createErrorReply(
                    u"org.freedesktop.DBus.Error.AccessDenied"_s, u"Permission denied"_s));
                return true;
            }
            weights[unit] = sets.last().value;
            connection.send(message.createReply());
            return true;
        }
        return false;
    }
};

} // namespace

/// Unit weights against a fake user manager on a private bus, for processes laid out in a /proc
/// of the test's own.
class TestSystemdGroups : public QObject {
    Q_OBJECT

private:
    QProcess m_bus;
    QString m_address;
    std::unique_ptr<QTemporaryDir> m_proc;
    std::unique_ptr<FakeUserManager> m_manager;

    static constexpr qint32 ownPid = 10;

    QDBusConnection service() const
    {
        return QDBusConnection::connectToBus(m_address, u"service"_s);
    }
    QDBusConnection client() const { return QDBusConnection::connectToBus(m_address, u"client"_s); }

    // A process of this user started at startTime in the given cgroup.
    void makeProcess(qint32 pid, const QByteArray &cgroup, quint64 startTime = 500)
    {
        const QString folder = m_proc->filePath(QString::number(pid));
        QVERIFY(QDir().mkpath(folder));
        QByteArray stat = QByteArray::number(pid) + " (game) S";
        for (int field = 4; field <= 21; ++field) {
            stat += ' ' + QByteArray::number(field);
        }
        stat += ' ' + QByteArray::number(startTime) + " 23\n";
        QVERIFY(TestFiles::write(folder + u"/stat"_s, stat));
        QVERIFY(TestFiles::write(folder + u"/cgroup"_s, "0::" + cgroup + '\n'));
    }

    SystemdSchedulingGroups groups(QDBusConnection bus)
    {
        return SystemdSchedulingGroups(bus, m_proc->path(), ownPid, getuid());
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_bus.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address=1"_s});
        if (!m_bus.waitForStarted(5000)) {
            QSKIP("dbus-daemon is not installed");
        }
        QVERIFY(m_bus.waitForReadyRead(5000));
        m_address = QString::fromUtf8(m_bus.readLine()).trimmed();
        QVERIFY(service().isConnected());
        QVERIFY(service().registerService(u"org.freedesktop.systemd1"_s));
    }

    void cleanupTestCase()
    {
        QDBusConnection::disconnectFromBus(u"service"_s);
        QDBusConnection::disconnectFromBus(u"client"_s);
        m_bus.kill();
        m_bus.waitForFinished();
    }

    void init()
    {
        m_proc = std::make_unique<QTemporaryDir>();
        m_manager = std::make_unique<FakeUserManager>();
        QVERIFY(service().registerVirtualObject(u"/org/freedesktop/systemd1"_s, m_manager.get(),
                                                QDBusConnection::SubPath));
        const QByteArray apps = "/user.slice/user-1000.slice/user@1000.service/app.slice/";
        makeProcess(ownPid, apps + "app-kestrelvanta-1.scope");
        makeProcess(20, apps + "app-steam-2.scope");
        makeProcess(30, apps + "app-discord-3.scope");
        makeProcess(31, apps + "app-discord-3.scope");
        makeProcess(40, "/user.slice/user-1000.slice/session-2.scope");
        makeProcess(50, "/user.slice/user-1000.slice/user@1000.service/session.slice/"
                        "org.gnome.Shell@wayland.service");
        makeProcess(60, apps + "app-slack-6.scope");
        makeProcess(70, apps + "app-spotify-7.service");
        m_manager->weights = {{u"app-kestrelvanta-1.scope"_s, unset},
                              {u"app-steam-2.scope"_s, unset},
                              {u"app-discord-3.scope"_s, 100},
                              {u"app-slack-6.scope"_s, unset},
                              {u"app-spotify-7.service"_s, 200}};
        m_manager->refusing = {u"app-slack-6.scope"_s};
    }

    void cleanup() { service().unregisterObject(u"/org/freedesktop/systemd1"_s); }

    void raisesLowersAndRestoresLatestFirstAtRuntimeOnly()
    {
        auto scheduling = groups(client());
        const SchedulingGroupChange raised =
            QCoro::waitFor(scheduling.change(20, 500, Share::Raised));
        QCOMPARE(raised.result, Result::Changed);
        QCOMPARE(raised.group, u"app-steam-2.scope"_s);
        const SchedulingGroupChange lowered =
            QCoro::waitFor(scheduling.change(30, 500, Share::Lowered));
        QCOMPARE(lowered.result, Result::Changed);
        // Another process of the same unit: the unit is changed once.
        QCOMPARE(QCoro::waitFor(scheduling.change(31, 500, Share::Lowered)).result,
                 Result::Skipped);
        QCOMPARE(QCoro::waitFor(scheduling.change(70, 500, Share::Lowered)).result,
                 Result::Changed);
        QCOMPARE(m_manager->interfacesAsked, (QStringList{u"org.freedesktop.systemd1.Scope"_s,
                                                          u"org.freedesktop.systemd1.Scope"_s,
                                                          u"org.freedesktop.systemd1.Service"_s}));
        QCOMPARE(m_manager->sets.size(), 3);
        for (const FakeUserManager::Set &set : std::as_const(m_manager->sets)) {
            QVERIFY(set.runtime);
            QCOMPARE(set.property, u"CPUWeight"_s);
        }
        QCOMPARE(m_manager->weights[u"app-steam-2.scope"_s], SystemdSchedulingGroups::raisedWeight);
        QCOMPARE(m_manager->weights[u"app-discord-3.scope"_s],
                 SystemdSchedulingGroups::loweredWeight);
        QCOMPARE(m_manager->weights[u"app-spotify-7.service"_s],
                 SystemdSchedulingGroups::loweredWeight);

        m_manager->sets.clear();
        const QList<SchedulingGroupChange> restored = QCoro::waitFor(scheduling.restore());
        QCOMPARE(restored.size(), 3);
        QCOMPARE(restored[0].pid, 70);
        QCOMPARE(restored[1].pid, 30);
        QCOMPARE(restored[2].pid, 20);
        for (const SchedulingGroupChange &change : restored) {
            QCOMPARE(change.result, Result::Changed);
        }
        QCOMPARE(m_manager->sets.size(), 3);
        QCOMPARE(m_manager->sets[0].unit, u"app-spotify-7.service"_s);
        QVERIFY(m_manager->sets[2].runtime);
        QCOMPARE(m_manager->weights[u"app-spotify-7.service"_s], quint64(200));
        QCOMPARE(m_manager->weights[u"app-discord-3.scope"_s], quint64(100));
        // A weight that was never set is unset again.
        QCOMPARE(m_manager->weights[u"app-steam-2.scope"_s], unset);
        QVERIFY(QCoro::waitFor(scheduling.restore()).isEmpty());
    }

    void theDesktopAndThisProgramAreLeftAlone()
    {
        auto scheduling = groups(client());
        for (const qint32 pid : {ownPid, qint32(40), qint32(50)}) {
            QCOMPARE(QCoro::waitFor(scheduling.change(pid, 500, Share::Lowered)).result,
                     Result::Shared);
        }
        QVERIFY(m_manager->sets.isEmpty());
    }

    void aUnitRefusingThePropertyIsReported()
    {
        auto scheduling = groups(client());
        const SchedulingGroupChange change =
            QCoro::waitFor(scheduling.change(60, 500, Share::Lowered));
        QCOMPARE(change.result, Result::Failed);
        QCOMPARE(change.reason, u"Permission denied"_s);
        QVERIFY(QCoro::waitFor(scheduling.restore()).isEmpty());
    }

    void aUnitTheManagerDoesNotKnowIsReported()
    {
        makeProcess(80, "/user.slice/user-1000.slice/user@1000.service/app.slice/app-gone-8.scope");
        auto scheduling = groups(client());
        const SchedulingGroupChange change =
            QCoro::waitFor(scheduling.change(80, 500, Share::Raised));
        QCOMPARE(change.result, Result::Failed);
        QCOMPARE(change.reason, u"Unit app-gone-8.scope not loaded."_s);
        QVERIFY(m_manager->sets.isEmpty());
    }

    void goneProcessesAreSkippedSilently()
    {
        auto scheduling = groups(client());
        // Gone before the change: a pid naming another process now, and no process at all.
        QCOMPARE(QCoro::waitFor(scheduling.change(20, 501, Share::Raised)).result, Result::Skipped);
        QCOMPARE(QCoro::waitFor(scheduling.change(99, 500, Share::Raised)).result, Result::Skipped);
        QCOMPARE(QCoro::waitFor(scheduling.change(30, 500, Share::Lowered)).result,
                 Result::Changed);
        // Gone before the restore.
        QVERIFY(QDir(m_proc->filePath(u"30"_s)).removeRecursively());
        m_manager->sets.clear();
        const QList<SchedulingGroupChange> restored = QCoro::waitFor(scheduling.restore());
        QCOMPARE(restored.size(), 1);
        QCOMPARE(restored[0].result, Result::Skipped);
        QVERIFY(m_manager->sets.isEmpty());
    }

    void noSessionBusIsReported()
    {
        auto scheduling =
            groups(QDBusConnection::connectToBus(u"unix:path=/nonexistent/bus"_s, u"nowhere"_s));
        const SchedulingGroupChange change =
            QCoro::waitFor(scheduling.change(20, 500, Share::Raised));
        QCOMPARE(change.result, Result::Failed);
        QCOMPARE(change.reason, u"no session bus"_s);
    }
};

QTEST_GUILESS_MAIN(TestSystemdGroups)
#include "tst_systemdgroups.moc"
