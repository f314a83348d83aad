// Game detection against a real window manager: opens N windows, each from a child process of
// its own (the X server names a window's process), a tenth of them games, in the X server of
// $DISPLAY, waits until the window manager lists them all,
// then times one detection (window list, properties, desktop entries, rules, sorting).
// Run it only in a private X server: bench/game-detection.sh starts one.

#include "optimizer/GameRules.h"
#include "platform/linux/EwmhRunningApplications.h"

#include <QCoreApplication>
#include <QDir>
#include <QThread>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>
#include <xcb/xcb.h>

namespace {

xcb_atom_t atom(xcb_connection_t *connection, const char *name)
{
    xcb_intern_atom_reply_t *reply = xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, uint16_t(qstrlen(name)), name), nullptr);
    const xcb_atom_t value = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    std::free(reply);
    return value;
}

// In a child: opens window number i on a connection of its own and keeps it until killed.
[[noreturn]] void keepWindow(int i)
{
    xcb_connection_t *x = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(x)) {
        _exit(1);
    }
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(x)).data->root;
    const xcb_window_t window = xcb_generate_id(x);
    xcb_create_window(x, XCB_COPY_FROM_PARENT, window, root, (i % 20) * 60, (i / 20) * 60, 50, 40,
                      0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
    const QByteArray name = i % 10 == 0 ? QByteArray("racer-game-") + QByteArray::number(i)
                                        : QByteArray("tool-") + QByteArray::number(i);
    const QByteArray wmClass = name + '\0' + name.toUpper() + '\0';
    xcb_change_property(x, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8,
                        uint32_t(wmClass.size()), wmClass.constData());
    char host[256] = {};
    gethostname(host, sizeof host - 1);
    xcb_change_property(x, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLIENT_MACHINE,
                        XCB_ATOM_STRING, 8, uint32_t(qstrlen(host)), host);
    const uint32_t pid = uint32_t(getpid());
    xcb_change_property(x, XCB_PROP_MODE_REPLACE, window, atom(x, "_NET_WM_PID"), XCB_ATOM_CARDINAL,
                        32, 1, &pid);
    xcb_map_window(x, window);
    xcb_flush(x);
    for (;;) {
        pause();
    }
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const int windows = argc > 1 ? std::max(1, std::atoi(argv[1])) : 200;
    const int rounds = argc > 2 ? std::max(1, std::atoi(argv[2])) : 200;

    std::vector<pid_t> children;
    for (int i = 0; i < windows; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            keepWindow(i);
        }
        if (child > 0) {
            children.push_back(child);
        }
    }
    const auto endChildren = [&children] {
        for (const pid_t child : children) {
            kill(child, SIGKILL);
        }
        for (const pid_t child : children) {
            waitpid(child, nullptr, 0);
        }
    };

    const QString home = QDir::homePath();
    platform::EwmhRunningApplications applications(
        {},
        platform::DesktopEntryIndex(platform::DesktopEntryIndex::standardFolders(
            qEnvironmentVariable("XDG_DATA_HOME", home + QStringLiteral("/.local/share")),
            qEnvironmentVariable("XDG_DATA_DIRS", QStringLiteral("/usr/local/share:/usr/share"))
                .split(u':', Qt::SkipEmptyParts),
            home)),
        qint32(::getpid()));
    for (int tries = 0; applications.applications().size() < windows; ++tries) {
        if (tries == 300) {
            std::fprintf(stderr, "the window manager listed %lld of %d windows\n",
                         static_cast<long long>(applications.applications().size()), windows);
            endChildren();
            return 1;
        }
        QThread::msleep(100);
    }

    std::vector<double> microseconds;
    qsizetype games = 0;
    for (int i = 0; i < rounds; ++i) {
        const auto start = std::chrono::steady_clock::now();
        const QList<RunningAppInfo> found =
            GameRules::sortedByName(GameRules::detectGames(applications.applications()));
        const auto end = std::chrono::steady_clock::now();
        microseconds.push_back(std::chrono::duration<double, std::micro>(end - start).count());
        games = found.size();
    }
    std::sort(microseconds.begin(), microseconds.end());
    const auto at = [&](double q) {
        return microseconds[std::size_t(q * double(microseconds.size() - 1))] / 1000.0;
    };
    std::printf("game detection with %d windows (%lld games) over %d rounds: median %.2f ms, "
                "p90 %.2f ms, max %.2f ms\n",
                windows, static_cast<long long>(games), rounds, at(0.5), at(0.9),
                microseconds.back() / 1000.0);
    endChildren();
    return 0;
}
