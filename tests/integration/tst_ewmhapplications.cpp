#include "TestFiles.h"
#include "platform/linux/EwmhRunningApplications.h"
#include "platform/linux/ProcessIdentity.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <cstdlib>
#include <unistd.h>
#include <xcb/xcb.h>

using namespace Qt::StringLiterals;
using platform::RunningApplication;

namespace {

xcb_atom_t atom(xcb_connection_t *connection, const char *name)
{
    xcb_intern_atom_reply_t *reply = xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, uint16_t(qstrlen(name)), name), nullptr);
    const xcb_atom_t value = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    std::free(reply);
    return value;
}

} // namespace

/// Game detection's source for real: windows of processes this test started, managed by openbox
/// in a private X server, named through desktop entries in a temporary data folder.
class TestEwmhApplications : public QObject {
    Q_OBJECT

private:
    xcb_connection_t *m_x = nullptr;
    xcb_window_t m_root = 0;
    QList<QProcess *> m_children;
    QTemporaryDir m_data;

    static QByteArray hostName()
    {
        char name[256] = {};
        gethostname(name, sizeof name - 1);
        return QByteArray(name);
    }

    static quint64 startTime(qint32 pid)
    {
        const auto identity = platform::ProcessIdentity::read(u"/proc"_s, pid);
        return identity ? identity->startTime : 0;
    }

    struct Client {
        qint32 pid = 0;
        QList<xcb_window_t> windows;
    };

    // An X client of its own with the windows asked for (see WindowClient.cpp), started through
    // wrapper when one is given; returns once every window exists.
    Client startClient(const QStringList &arguments, const QStringList &wrapper = {})
    {
        auto *child = new QProcess(this);
        const QString client = QStringLiteral(KV_WINDOW_CLIENT);
        if (wrapper.isEmpty()) {
            child->start(client, arguments);
        } else {
            child->start(wrapper.constFirst(), wrapper.mid(1) + QStringList{client} + arguments);
        }
        m_children.append(child);
        Client started;
        if (!child->waitForStarted()) {
            return started;
        }
        started.pid = qint32(child->processId());
        const qsizetype expected = arguments.count(u"+"_s) + 1;
        QElapsedTimer waited;
        waited.start();
        while (started.windows.size() < expected && waited.elapsed() < 10000) {
            if (!child->canReadLine() && !child->waitForReadyRead(1000)) {
                continue;
            }
            while (child->canReadLine()) {
                started.windows.append(xcb_window_t(child->readLine().trimmed().toUInt()));
            }
        }
        return started;
    }

    qint32 startChild(const QString &program = u"sleep"_s, const QStringList &arguments = {u"60"_s})
    {
        auto *child = new QProcess(this);
        child->start(program, arguments);
        child->waitForStarted();
        m_children.append(child);
        return qint32(child->processId());
    }

    xcb_window_t openWindow(qint32 pid, const QByteArray &instance, const QByteArray &windowClass,
                            const char *state = nullptr, const char *type = nullptr,
                            const QByteArray &machine = hostName())
    {
        const xcb_window_t window = xcb_generate_id(m_x);
        xcb_create_window(m_x, XCB_COPY_FROM_PARENT, window, m_root, 0, 0, 200, 100, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
        const QByteArray wmClass = instance + '\0' + windowClass + '\0';
        xcb_change_property(m_x, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING,
                            8, uint32_t(wmClass.size()), wmClass.constData());
        if (!machine.isNull()) {
            xcb_change_property(m_x, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLIENT_MACHINE,
                                XCB_ATOM_STRING, 8, uint32_t(machine.size()), machine.constData());
        }
        const uint32_t pidValue = uint32_t(pid);
        xcb_change_property(m_x, XCB_PROP_MODE_REPLACE, window, atom(m_x, "_NET_WM_PID"),
                            XCB_ATOM_CARDINAL, 32, 1, &pidValue);
        if (state) {
            const xcb_atom_t value = atom(m_x, state);
            xcb_change_property(m_x, XCB_PROP_MODE_REPLACE, window, atom(m_x, "_NET_WM_STATE"),
                                XCB_ATOM_ATOM, 32, 1, &value);
        }
        if (type) {
            const xcb_atom_t value = atom(m_x, type);
            xcb_change_property(m_x, XCB_PROP_MODE_REPLACE, window,
                                atom(m_x, "_NET_WM_WINDOW_TYPE"), XCB_ATOM_ATOM, 32, 1, &value);
        }
        xcb_map_window(m_x, window);
        xcb_flush(m_x);
        return window;
    }

    void activate(xcb_window_t window)
    {
        xcb_client_message_event_t event{};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.window = window;
        event.type = atom(m_x, "_NET_ACTIVE_WINDOW");
        event.data.data32[0] = 2; // from a pager: obeyed without focus-stealing checks
        xcb_send_event(m_x, 0, m_root,
                       XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                       reinterpret_cast<const char *>(&event));
        xcb_flush(m_x);
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (qEnvironmentVariableIsEmpty("KV_PRIVATE_X")) {
            QSKIP("needs an X server with an EWMH window manager (run through ewmh_session.sh)");
        }
        m_x = xcb_connect(nullptr, nullptr);
        QVERIFY(xcb_connection_has_error(m_x) == 0);
        m_root = xcb_setup_roots_iterator(xcb_get_setup(m_x)).data->root;
        const QString apps = m_data.filePath(u"applications"_s);
        QVERIFY(QDir().mkpath(apps));
        QVERIFY(TestFiles::write(apps + u"/org.example.Racer.desktop"_s,
                                 "[Desktop Entry]\nName=Turbo Racer\nStartupWMClass=racerwm\n"));
        QVERIFY(TestFiles::write(apps + u"/chat.desktop"_s, "[Desktop Entry]\nName=Discord\n"));
    }

    void cleanupTestCase()
    {
        for (QProcess *child : std::as_const(m_children)) {
            child->kill();
            child->waitForFinished();
        }
        if (m_x) {
            xcb_disconnect(m_x);
        }
    }

    void listsWindowedProcessesWithTheirNames()
    {
        const Client racer =
            startClient({u"racerwm"_s, u"Racer"_s, u"+"_s, u"racerwm"_s, u"Racer"_s, u"--type"_s,
                         u"_NET_WM_WINDOW_TYPE_DIALOG"_s});
        const Client chat = startClient({u"chat"_s, u"Chat"_s});
        const Client tool = startClient({u"xterm"_s, u"XTerm"_s});
        const Client overlay = startClient(
            {u"overlay"_s, u"Game Overlay"_s, u"--state"_s, u"_NET_WM_STATE_SKIP_TASKBAR"_s});
        QCOMPARE(racer.windows.size(), 2);
        QCOMPARE(chat.windows.size(), 1);
        QCOMPARE(tool.windows.size(), 1);
        QCOMPARE(overlay.windows.size(), 1);
        const qint32 own = qint32(QCoreApplication::applicationPid());
        openWindow(own, "kestrelvanta", "Kestrelvanta");

        platform::EwmhRunningApplications applications(
            QByteArray(), platform::DesktopEntryIndex({m_data.filePath(u"applications"_s)}), own);
        QList<RunningApplication> found;
        QTRY_VERIFY_WITH_TIMEOUT((found = applications.applications()).size() >= 4, 10000);
        const auto find = [&](qint32 pid) -> std::optional<RunningApplication> {
            for (const RunningApplication &application : std::as_const(found)) {
                if (application.pid == pid) {
                    return application;
                }
            }
            return std::nullopt;
        };
        QCOMPARE(found.size(), 4);
        QCOMPARE(find(racer.pid),
                 (RunningApplication{racer.pid, u"Turbo Racer"_s, u"org.example.Racer"_s, true,
                                     startTime(racer.pid)}));
        QCOMPARE(find(chat.pid), (RunningApplication{chat.pid, u"Discord"_s, u"chat"_s, true,
                                                     startTime(chat.pid)}));
        QCOMPARE(find(tool.pid),
                 (RunningApplication{tool.pid, u"XTerm"_s, u"xterm"_s, true, startTime(tool.pid)}));
        QVERIFY(startTime(racer.pid) > 0);
        QCOMPARE(find(overlay.pid)->regular, false);
        QVERIFY(!find(own));

        activate(chat.windows.constFirst());
        QTRY_COMPARE_WITH_TIMEOUT(applications.frontmostPid(), std::optional<qint32>(chat.pid),
                                  10000);
    }

    void trustsOnlyLocalWindowsOfTheUsersOwnProcesses()
    {
        startClient({u"localgame"_s, u"Local Game"_s});
        // Forwarded over ssh -X: its pid is another machine's, whatever it is here.
        startClient({u"remotegame"_s, u"Remote Game"_s, u"--machine"_s, u"elsewhere.example"_s});
        startClient({u"unnamedgame"_s, u"Unnamed Game"_s, u"--no-machine"_s});
        // A client of another user, when the test runs as root and can start one.
        if (::getuid() == 0) {
            const Client foreign =
                startClient({u"foreigngame"_s, u"Foreign Game"_s},
                            {u"setpriv"_s, u"--reuid=nobody"_s, u"--regid=nogroup"_s,
                             u"--clear-groups"_s, u"--"_s});
            QCOMPARE(foreign.windows.size(), 1);
        }
        platform::EwmhRunningApplications applications(QByteArray(), platform::DesktopEntryIndex(),
                                                       qint32(QCoreApplication::applicationPid()));
        const auto names = [&] {
            QStringList result;
            for (const RunningApplication &application : applications.applications()) {
                result.append(application.name);
            }
            return result;
        };
        QTRY_VERIFY_WITH_TIMEOUT(names().contains(u"Local Game"_s), 10000);
        // Given the time the local one needed, the others were listed too if they ever would be.
        QTest::qWait(200);
        const QStringList listed = names();
        QVERIFY(!listed.contains(u"Remote Game"_s));
        QVERIFY(!listed.contains(u"Unnamed Game"_s));
        QVERIFY(!listed.contains(u"Foreign Game"_s));
    }

    void theServerNamesTheWindowsProcess()
    {
        // A sandboxed client's _NET_WM_PID names its sandbox's pid (2 on the host is a kernel
        // thread); another names a process of the user's that has no window at all.
        const qint32 bystander = startChild();
        const Client sandboxed =
            startClient({u"sandboxedgame"_s, u"Sandboxed Game"_s, u"--pid"_s, u"2"_s});
        const Client borrowing = startClient(
            {u"borrowinggame"_s, u"Borrowing Game"_s, u"--pid"_s, QString::number(bystander)});
        const Client silent = startClient({u"silentgame"_s, u"Silent Game"_s, u"--no-pid"_s});
        QVERIFY(sandboxed.pid > 0 && borrowing.pid > 0 && silent.pid > 0);
        platform::EwmhRunningApplications applications(QByteArray(), platform::DesktopEntryIndex(),
                                                       qint32(QCoreApplication::applicationPid()));
        const auto pidOf = [&](const QString &name) -> qint32 {
            for (const RunningApplication &application : applications.applications()) {
                if (application.name == name) {
                    return application.pid;
                }
            }
            return 0;
        };
        QTRY_COMPARE_WITH_TIMEOUT(pidOf(u"Sandboxed Game"_s), sandboxed.pid, 10000);
        QTRY_COMPARE_WITH_TIMEOUT(pidOf(u"Borrowing Game"_s), borrowing.pid, 10000);
        QTRY_COMPARE_WITH_TIMEOUT(pidOf(u"Silent Game"_s), silent.pid, 10000);
        for (const RunningApplication &application : applications.applications()) {
            QVERIFY(application.pid != 2);
            QVERIFY(application.pid != bystander);
            if (application.pid == sandboxed.pid) {
                QCOMPARE(application.startTime, startTime(sandboxed.pid));
            }
        }
        activate(sandboxed.windows.constFirst());
        QTRY_COMPARE_WITH_TIMEOUT(applications.frontmostPid(), std::optional<qint32>(sandboxed.pid),
                                  10000);
    }

    void aProtonGameIsNamedByItsManifest()
    {
        // Proton's windows are "steam_app_N"; the name is in the Steam library's manifest.
        QTemporaryDir home;
        const QString root = home.filePath(u"Steam"_s);
        QVERIFY(QDir().mkpath(root + u"/steamapps"_s));
        QVERIFY(TestFiles::write(root + u"/steamapps/libraryfolders.vdf"_s,
                                 "\"libraryfolders\"\n{\n\t\"1\"\n\t{\n\t\t\"path\"\t\t\"" +
                                     QByteArray(KV_FIXTURES_DIR "/steam/library-b") +
                                     "\"\n\t}\n}\n"));
        const Client game = startClient({u"steam_app_1091500"_s, u"steam_app_1091500"_s});
        const Client unknown = startClient({u"steam_app_4242"_s, u"steam_app_4242"_s});
        QVERIFY(game.pid > 0 && unknown.pid > 0);
        platform::EwmhRunningApplications applications(
            QByteArray(), platform::DesktopEntryIndex(), qint32(QCoreApplication::applicationPid()),
            nullptr, u"/proc"_s, ::getuid(), QByteArray(), {root});
        const auto find = [&](qint32 pid) -> RunningApplication {
            for (const RunningApplication &application : applications.applications()) {
                if (application.pid == pid) {
                    return application;
                }
            }
            return {};
        };
        QTRY_COMPARE_WITH_TIMEOUT(find(game.pid).name, u"Cyberpunk 2077"_s, 10000);
        // The class stays its identity: it says Steam, which makes it a game.
        QCOMPARE(find(game.pid).bundleIdentifier, u"steam_app_1091500"_s);
        // No manifest: the class itself, as for any other window.
        QTRY_COMPARE_WITH_TIMEOUT(find(unknown.pid).name, u"steam_app_4242"_s, 10000);
    }

    void withoutAnXServer()
    {
        platform::EwmhRunningApplications applications(":4099", platform::DesktopEntryIndex(), 1);
        QVERIFY(applications.applications().isEmpty());
        QCOMPARE(applications.frontmostPid(), std::nullopt);
    }
};

QTEST_GUILESS_MAIN(TestEwmhApplications)
#include "tst_ewmhapplications.moc"
