#include "TestFiles.h"
#include "platform/linux/ApplicationName.h"
#include "platform/linux/EwmhRunningApplications.h"
#include "platform/linux/ProcessIdentity.h"
#include "platform/linux/ProcessRunningApplications.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

using namespace Qt::StringLiterals;
using platform::ProcessRunningApplications;
using platform::RunningApplication;

/// Finding the user's applications from their processes when there is no X server: a process
/// table of the test's own in a temporary folder, named through desktop entries.
class TestProcessApplications : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_root;

    QString proc() const { return m_root.filePath(u"proc"_s); }
    QString applicationsFolder() const { return m_root.filePath(u"applications"_s); }

    void process(qint32 pid, const QByteArray &comm, const QByteArray &cgroup,
                 const QByteArray &environment = {})
    {
        const QString folder = proc() + u'/' + QString::number(pid);
        QVERIFY(QDir().mkpath(folder));
        QVERIFY(TestFiles::write(folder + u"/comm"_s, comm + '\n'));
        QVERIFY(TestFiles::write(folder + u"/cgroup"_s, cgroup));
        QVERIFY(TestFiles::write(folder + u"/environ"_s, environment));
        QVERIFY(TestFiles::write(folder + u"/stat"_s, stat(pid, comm, startTimeOf(pid))));
    }

    static quint64 startTimeOf(qint32 pid) { return quint64(pid) * 1000 + 7; }

    // /proc/PID/stat's line: the name in parentheses, then fields 3 to 22 and more.
    static QByteArray stat(qint32 pid, const QByteArray &comm, quint64 startTime)
    {
        QByteArray line = QByteArray::number(pid) + " (" + comm + ") S";
        for (int field = 4; field <= 21; ++field) {
            line += ' ' + QByteArray::number(field);
        }
        return line + ' ' + QByteArray::number(startTime) + " 23 24\n";
    }

    void entry(const QString &id, const QByteArray &name)
    {
        QVERIFY(
            TestFiles::write(applicationsFolder() + u'/' + id + u".desktop"_s,
                             "[Desktop Entry]\nType=Application\nName=" + name + "\nExec=true\n"));
    }

    ProcessRunningApplications scanner(uint uid = ::getuid()) const
    {
        return ProcessRunningApplications(
            proc(), platform::DesktopEntryIndex({applicationsFolder()}), 4242, uid);
    }

    // A process environment as the kernel shows it: each variable ended by a zero byte.
    static QByteArray environmentBlock(std::initializer_list<const char *> variables)
    {
        QByteArray result;
        for (const char *variable : variables) {
            result.append(variable);
            result.append('\0');
        }
        return result;
    }

    static QList<qint32> pids(const QList<RunningApplication> &applications)
    {
        QList<qint32> result;
        for (const RunningApplication &application : applications) {
            result.append(application.pid);
        }
        return result;
    }

private Q_SLOTS:
    void unitNames_data()
    {
        QTest::addColumn<QByteArray>("cgroup");
        QTest::addColumn<QString>("application");
        QTest::addColumn<QStringList>("candidates");
        QTest::newRow("GNOME scope")
            << QByteArray("0::/user.slice/user-1000.slice/user@1000.service/app.slice/"
                          "app-gnome-org.example.Racer-4312.scope\n")
            << u"gnome-org.example.Racer"_s
            << QStringList{u"gnome-org.example.Racer"_s, u"org.example.Racer"_s};
        QTest::newRow("escaped dashes, Flatpak")
            << QByteArray("0::/user.slice/user-1000.slice/user@1000.service/app.slice/"
                          "app-flatpak-com.example.Space\\x2dGame-88121.scope\n")
            << u"flatpak-com.example.Space-Game"_s
            << QStringList{u"flatpak-com.example.Space-Game"_s, u"com.example.Space-Game"_s};
        QTest::newRow("service with an instance")
            << QByteArray("0::/user.slice/user-1000.slice/user@1000.service/app.slice/"
                          "app-steam@autostart.service\n")
            << u"steam"_s << QStringList{u"steam"_s};
        QTest::newRow("KDE scope, hexadecimal suffix")
            << QByteArray("0::/user.slice/user-1000.slice/user@1000.service/app.slice/"
                          "app-org.kde.konsole-7c9a2e.scope\n")
            << u"org.kde.konsole"_s << QStringList{u"org.kde.konsole"_s};
        QTest::newRow("a session's own service")
            << QByteArray("0::/user.slice/user-1000.slice/user@1000.service/session.slice/"
                          "pipewire.service\n")
            << QString() << QStringList();
        QTest::newRow("the slice itself")
            << QByteArray("0::/user.slice/user-1000.slice/user@1000.service/app.slice\n")
            << QString() << QStringList();
        QTest::newRow("cgroup v1 lines only")
            << QByteArray("12:pids:/user.slice/app-gnome-x-1.scope\n1:name=systemd:/\n")
            << QString() << QStringList();
        QTest::newRow("empty") << QByteArray() << QString() << QStringList();
        // An escaped "/" or NUL never becomes part of a desktop file id.
        QTest::newRow("escaped slashes")
            << QByteArray(
                   "0::/user.slice/app.slice/app-gnome-..\\x2f..\\x2fetc\\x2fgame-42.scope\n")
            << QString() << QStringList();
        QTest::newRow("escaped NUL")
            << QByteArray("0::/user.slice/app.slice/app-gnome-game\\x00x-42.scope\n") << QString()
            << QStringList();
        QTest::newRow("found by the fuzz target")
            << TestFiles::read(
                   QStringLiteral(KV_FIXTURES_DIR "/linux/cgroup/fuzz-escaped-slash.txt"))
            << QString() << QStringList();
    }

    void unitNames()
    {
        QFETCH(QByteArray, cgroup);
        QFETCH(QString, application);
        QFETCH(QStringList, candidates);
        QCOMPARE(ProcessRunningApplications::unitApplication(cgroup), application);
        QCOMPARE(ProcessRunningApplications::candidateIds(application), candidates);
    }

    void init()
    {
        QVERIFY(m_root.isValid());
        QDir(proc()).removeRecursively();
        QDir(applicationsFolder()).removeRecursively();
        QVERIFY(QDir().mkpath(proc()));
        QVERIFY(QDir().mkpath(applicationsFolder()));
    }

    void findsApplicationsFromScopesAndLaunches()
    {
        entry(u"org.example.Racer"_s, "Racer Game");
        entry(u"org.example.Editor"_s, "Text Editor");
        const QByteArray scope = "0::/user.slice/user-1000.slice/user@1000.service/app.slice/"
                                 "app-gnome-org.example.Racer-4312.scope\n";
        process(300, "racer", scope);
        process(301, "racer-helper", scope); // the same application: one entry
        process(310, "editor", "0::/user.slice/session.slice/x.service\n",
                environmentBlock({"HOME=/home/u",
                                  "GIO_LAUNCHED_DESKTOP_FILE=/usr/share/applications/"
                                  "org.example.Editor.desktop",
                                  "GIO_LAUNCHED_DESKTOP_FILE_PID=310"}));
        // A child of the editor inherited its environment but was not launched from the entry.
        process(311, "spell-checker", "0::/user.slice/session.slice/x.service\n",
                environmentBlock({"GIO_LAUNCHED_DESKTOP_FILE=/usr/share/applications/"
                                  "org.example.Editor.desktop",
                                  "GIO_LAUNCHED_DESKTOP_FILE_PID=310"}));
        process(320, "pipewire", "0::/user.slice/session.slice/pipewire.service\n");
        process(4242, "kestrelvanta",
                "0::/user.slice/app.slice/app-gnome-io.example.Kestrelvanta-1.scope\n");
        process(330, "unknown-tool", "0::/user.slice/app.slice/app-gnome-made.up.Tool-99.scope\n");
        QVERIFY(QDir().mkpath(proc() + u"/self"_s));

        auto applications = scanner();
        const QList<RunningApplication> found = applications.applications();
        QCOMPARE(pids(found), (QList<qint32>{300, 310, 330}));
        QCOMPARE(found[0].name, u"Racer Game"_s);
        QCOMPARE(found[0].bundleIdentifier, u"org.example.Racer"_s);
        QVERIFY(found[0].regular);
        // Each with the start time that tells it from a later process given its pid.
        QCOMPARE(found[0].startTime, startTimeOf(300));
        QCOMPARE(found[1].startTime, startTimeOf(310));
        QCOMPARE(found[1].name, u"Text Editor"_s);
        QCOMPARE(found[1].bundleIdentifier, u"org.example.Editor"_s);
        // No desktop entry: the process's name and the id without the launcher.
        QCOMPARE(found[2].name, u"unknown-tool"_s);
        QCOMPARE(found[2].bundleIdentifier, u"made.up.Tool"_s);
        QCOMPARE(applications.frontmostPid(), std::nullopt);
    }

    void aWindowsProgramIsNamedWithoutItsSuffix_data()
    {
        QTest::addColumn<QByteArray>("comm");
        QTest::addColumn<QString>("name");
        QTest::newRow("Proton game") << QByteArray("Witcher3.exe") << u"Witcher3"_s;
        QTest::newRow("upper case") << QByteArray("LAUNCHER.EXE") << u"LAUNCHER"_s;
        QTest::newRow("only the suffix") << QByteArray(".exe") << u".exe"_s;
        QTest::newRow("not at the end") << QByteArray("game.exe.bak") << u"game.exe.bak"_s;
        QTest::newRow("no suffix") << QByteArray("wineserver") << u"wineserver"_s;
    }

    void aWindowsProgramIsNamedWithoutItsSuffix()
    {
        QFETCH(QByteArray, comm);
        QFETCH(QString, name);
        process(300, comm, "0::/user.slice/app.slice/app-steam-1234.scope\n");
        const QList<RunningApplication> found = scanner().applications();
        QCOMPARE(found.size(), 1);
        QCOMPARE(found[0].name, name);
    }

    // The same rule names a window by its class when no desktop entry does.
    void aWindowClassIsNamedWithoutItsSuffix()
    {
        QCOMPARE(platform::ApplicationName::fromProgram(u"Witcher3.exe"_s), u"Witcher3"_s);
        QCOMPARE(platform::ApplicationName::fromProgram(u"steam_app_292030"_s),
                 u"steam_app_292030"_s);
        QCOMPARE(platform::ApplicationName::fromProgram(QString()), QString());
    }

    void anotherUsersProcessesAreLeftOut()
    {
        process(300, "racer", "0::/user.slice/app.slice/app-gnome-org.example.Racer-1.scope\n");
        QVERIFY(scanner(::getuid() + 1).applications().isEmpty());
        QCOMPARE(scanner().applications().size(), 1);
    }

    void startTimes_data()
    {
        QTest::addColumn<QByteArray>("stat");
        QTest::addColumn<std::optional<quint64>>("startTime");
        QTest::newRow("plain") << stat(300, "racer", 98765) << std::optional<quint64>(98765);
        QTest::newRow("a name with spaces and parentheses")
            << stat(300, "a) b (c d) 1 2", 42) << std::optional<quint64>(42);
        QTest::newRow("cut short") << QByteArray("300 (racer) S 1 2 3") << std::optional<quint64>();
        QTest::newRow("no name") << QByteArray("300 racer S") << std::optional<quint64>();
        QTest::newRow("not a number")
            << stat(300, "racer", 1).replace(" 1 23 24", " x 23 24") << std::optional<quint64>();
    }

    void startTimes()
    {
        QFETCH(QByteArray, stat);
        QFETCH(std::optional<quint64>, startTime);
        QCOMPARE(platform::ProcessIdentity::startTimeIn(stat), startTime);
    }

    void aProcessWithoutAStartTimeIsLeftOut()
    {
        process(300, "racer", "0::/user.slice/app.slice/app-gnome-org.example.Racer-1.scope\n");
        QVERIFY(QFile::remove(proc() + u"/300/stat"_s));
        QVERIFY(scanner().applications().isEmpty());
    }

    void unreadableOrMissingProcessTable()
    {
        // A process that exited between the listing and the reads has no files left.
        QVERIFY(QDir().mkpath(proc() + u"/500"_s));
        QVERIFY(scanner().applications().isEmpty());
        ProcessRunningApplications nowhere(m_root.filePath(u"missing"_s),
                                           platform::DesktopEntryIndex(), 1, ::getuid());
        QVERIFY(nowhere.applications().isEmpty());
    }

    void usedWhenThereIsNoXServer()
    {
        entry(u"org.example.Racer"_s, "Racer Game");
        process(300, "racer", "0::/user.slice/app.slice/app-gnome-org.example.Racer-1.scope\n");
        platform::EwmhRunningApplications applications(
            "/nonexistent/kv:0", platform::DesktopEntryIndex(), 4242,
            std::make_unique<ProcessRunningApplications>(
                proc(), platform::DesktopEntryIndex({applicationsFolder()}), 4242, ::getuid()));
        const QList<RunningApplication> found = applications.applications();
        QCOMPARE(pids(found), QList<qint32>{300});
        QCOMPARE(found[0].name, u"Racer Game"_s);
        QCOMPARE(applications.frontmostPid(), std::nullopt);

        platform::EwmhRunningApplications alone("/nonexistent/kv:0", platform::DesktopEntryIndex(),
                                                4242);
        QVERIFY(alone.applications().isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestProcessApplications)
#include "tst_processapplications.moc"
