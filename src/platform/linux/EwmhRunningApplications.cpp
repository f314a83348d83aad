#include "EwmhRunningApplications.h"

#include "ProcessIdentity.h"
#include "ProcessRunningApplications.h"
#include "SwayRunningApplications.h"
#include "WindowApplicationName.h"
#include "platform/MergedRunningApplications.h"
#include "platform/SteamLibrary.h"
#include "platform/SystemRoots.h"

#include <QHash>

#include <cstdlib>
#include <limits>
#include <unistd.h>
#include <vector>
#include <xcb/res.h>
#include <xcb/xcb.h>

namespace platform {

namespace {

// More than any desktop shows; a bound on what one reply may make us allocate.
constexpr quint32 maximumWindows = 4096;

template <typename Reply>
struct ReplyDeleter {
    void operator()(Reply *reply) const { std::free(reply); }
};
template <typename Reply>
using ReplyPointer = std::unique_ptr<Reply, ReplyDeleter<Reply>>;

QByteArray thisHostName()
{
    char name[256] = {};
    if (gethostname(name, sizeof name - 1) != 0) {
        return {};
    }
    return QByteArray(name);
}

std::vector<quint32> atomsOrWindows(xcb_get_property_reply_t *reply)
{
    std::vector<quint32> values;
    if (reply && reply->format == 32) {
        const auto *data = static_cast<const quint32 *>(xcb_get_property_value(reply));
        const int count = xcb_get_property_value_length(reply) / 4;
        values.assign(data, data + count);
    }
    return values;
}

// The client pid in the server's answer to a client-id query, when it knows one.
std::optional<qint32> clientPidIn(xcb_res_query_client_ids_reply_t *reply)
{
    if (!reply) {
        return std::nullopt;
    }
    for (xcb_res_client_id_value_iterator_t it = xcb_res_query_client_ids_ids_iterator(reply);
         it.rem > 0; xcb_res_client_id_value_next(&it)) {
        if ((it.data->spec.mask & XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID) != 0 &&
            it.data->length >= 4) {
            const quint32 pid = *xcb_res_client_id_value_value(it.data);
            if (pid >= 1 && pid <= quint32(std::numeric_limits<qint32>::max())) {
                return qint32(pid);
            }
        }
    }
    return std::nullopt;
}

xcb_res_query_client_ids_cookie_t askClientPid(xcb_connection_t *connection, quint32 window)
{
    const xcb_res_client_id_spec_t spec{window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    return xcb_res_query_client_ids(connection, 1, &spec);
}

std::optional<qint32> wmPidIn(xcb_get_property_reply_t *reply)
{
    const std::vector<quint32> value = atomsOrWindows(reply);
    if (value.empty() || qint32(value.front()) < 1) {
        return std::nullopt;
    }
    return qint32(value.front());
}

} // namespace

struct EwmhRunningApplications::Atoms {
    xcb_atom_t clientList = XCB_ATOM_NONE;
    xcb_atom_t activeWindow = XCB_ATOM_NONE;
    xcb_atom_t wmPid = XCB_ATOM_NONE;
    xcb_atom_t wmState = XCB_ATOM_NONE;
    xcb_atom_t skipTaskbar = XCB_ATOM_NONE;
    xcb_atom_t windowType = XCB_ATOM_NONE;
    xcb_atom_t typeNormal = XCB_ATOM_NONE;
};

std::unique_ptr<RunningApplications> RunningApplications::create()
{
    const SystemRoots roots = SystemRoots::current();
    const DesktopEntryIndex index(
        DesktopEntryIndex::standardFolders(roots.dataHome, roots.dataDirs, roots.home));
    auto processes = std::make_unique<ProcessRunningApplications>(QStringLiteral("/proc"), index,
                                                                  qint32(::getpid()), ::getuid());
    // Applications closed to the tray run on without a window: the processes that desktops
    // launch as applications follow the windows' list.
    std::unique_ptr<RunningApplications> windowed;
    // sway lists every window, native and XWayland, in its own tree.
    const QString swaySocket = qEnvironmentVariable("SWAYSOCK");
    if (!swaySocket.isEmpty()) {
        windowed = std::make_unique<SwayRunningApplications>(
            [swaySocket] { return SwayRunningApplications::askForTree(swaySocket); }, index,
            qint32(::getpid()), nullptr, QStringLiteral("/proc"), ::getuid(),
            SteamLibrary::standardRoots(roots.home, roots.dataHome));
    } else {
        windowed =
            std::make_unique<EwmhRunningApplications>(QByteArray(), index, qint32(::getpid()));
    }
    return std::make_unique<MergedRunningApplications>(std::move(windowed), std::move(processes));
}

EwmhRunningApplications::EwmhRunningApplications(QByteArray display, DesktopEntryIndex index,
                                                 qint32 ownPid,
                                                 std::unique_ptr<RunningApplications> withoutX,
                                                 QString procRoot, uint uid, QByteArray hostName,
                                                 QStringList steamRoots)
    : m_display(std::move(display))
    , m_index(std::move(index))
    , m_ownPid(ownPid)
    , m_withoutX(std::move(withoutX))
    , m_procRoot(std::move(procRoot))
    , m_uid(uid)
    , m_hostName(hostName.isEmpty() ? thisHostName() : std::move(hostName))
    , m_steamRoots(std::move(steamRoots))
{
}

EwmhRunningApplications::~EwmhRunningApplications()
{
    disconnect();
}

void EwmhRunningApplications::disconnect()
{
    if (m_connection) {
        xcb_disconnect(m_connection);
        m_connection = nullptr;
    }
    m_atoms.reset();
}

bool EwmhRunningApplications::connect()
{
    if (m_connection && xcb_connection_has_error(m_connection) == 0) {
        return true;
    }
    disconnect();
    int screenNumber = 0;
    m_connection =
        xcb_connect(m_display.isEmpty() ? nullptr : m_display.constData(), &screenNumber);
    if (xcb_connection_has_error(m_connection) != 0) {
        disconnect();
        return false;
    }
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(m_connection));
    for (int i = 0; i < screenNumber && screens.rem > 0; ++i) {
        xcb_screen_next(&screens);
    }
    if (screens.rem == 0) {
        disconnect();
        return false;
    }
    m_root = screens.data->root;

    // All names asked at once, then all answers read: one round trip.
    static constexpr const char *names[] = {"_NET_CLIENT_LIST",
                                            "_NET_ACTIVE_WINDOW",
                                            "_NET_WM_PID",
                                            "_NET_WM_STATE",
                                            "_NET_WM_STATE_SKIP_TASKBAR",
                                            "_NET_WM_WINDOW_TYPE",
                                            "_NET_WM_WINDOW_TYPE_NORMAL"};
    xcb_intern_atom_cookie_t cookies[std::size(names)];
    for (std::size_t i = 0; i < std::size(names); ++i) {
        cookies[i] = xcb_intern_atom(m_connection, 0, uint16_t(qstrlen(names[i])), names[i]);
    }
    xcb_atom_t atoms[std::size(names)];
    for (std::size_t i = 0; i < std::size(names); ++i) {
        ReplyPointer<xcb_intern_atom_reply_t> reply(
            xcb_intern_atom_reply(m_connection, cookies[i], nullptr));
        atoms[i] = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    }
    m_atoms = std::make_unique<Atoms>(
        Atoms{atoms[0], atoms[1], atoms[2], atoms[3], atoms[4], atoms[5], atoms[6]});

    // Client pids came with version 1.2 of the extension.
    m_serverKnowsPids = false;
    const xcb_query_extension_reply_t *resource = xcb_get_extension_data(m_connection, &xcb_res_id);
    if (resource && resource->present) {
        ReplyPointer<xcb_res_query_version_reply_t> version(xcb_res_query_version_reply(
            m_connection, xcb_res_query_version(m_connection, 1, 2), nullptr));
        m_serverKnowsPids = version && (version->server_major > 1 ||
                                        (version->server_major == 1 && version->server_minor >= 2));
    }
    return true;
}

QList<RunningApplication> EwmhRunningApplications::applications()
{
    if (!connect()) {
        return m_withoutX ? m_withoutX->applications() : QList<RunningApplication>();
    }
    ReplyPointer<xcb_get_property_reply_t> listReply(
        xcb_get_property_reply(m_connection,
                               xcb_get_property(m_connection, 0, m_root, m_atoms->clientList,
                                                XCB_ATOM_WINDOW, 0, maximumWindows),
                               nullptr));
    const std::vector<quint32> windows = atomsOrWindows(listReply.get());

    struct Pending {
        xcb_get_property_cookie_t pid, wmClass, state, type, machine;
        std::optional<xcb_res_query_client_ids_cookie_t> clientPid;
    };
    std::vector<Pending> pending;
    pending.reserve(windows.size());
    for (const quint32 window : windows) {
        pending.push_back({
            xcb_get_property(m_connection, 0, window, m_atoms->wmPid, XCB_ATOM_CARDINAL, 0, 1),
            xcb_get_property(m_connection, 0, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 256),
            xcb_get_property(m_connection, 0, window, m_atoms->wmState, XCB_ATOM_ATOM, 0, 64),
            xcb_get_property(m_connection, 0, window, m_atoms->windowType, XCB_ATOM_ATOM, 0, 64),
            xcb_get_property(m_connection, 0, window, XCB_ATOM_WM_CLIENT_MACHINE,
                             XCB_GET_PROPERTY_TYPE_ANY, 0, 64),
            m_serverKnowsPids ? std::optional(askClientPid(m_connection, window)) : std::nullopt,
        });
    }

    QList<RunningApplication> result;
    QHash<qint32, qsizetype> indexByPid;
    WindowApplicationName naming(m_index, m_steamRoots);
    for (const Pending &cookies : pending) {
        ReplyPointer<xcb_get_property_reply_t> pidReply(
            xcb_get_property_reply(m_connection, cookies.pid, nullptr));
        ReplyPointer<xcb_get_property_reply_t> classReply(
            xcb_get_property_reply(m_connection, cookies.wmClass, nullptr));
        ReplyPointer<xcb_get_property_reply_t> stateReply(
            xcb_get_property_reply(m_connection, cookies.state, nullptr));
        ReplyPointer<xcb_get_property_reply_t> typeReply(
            xcb_get_property_reply(m_connection, cookies.type, nullptr));
        ReplyPointer<xcb_get_property_reply_t> machineReply(
            xcb_get_property_reply(m_connection, cookies.machine, nullptr));

        std::optional<qint32> clientPid;
        if (cookies.clientPid) {
            ReplyPointer<xcb_res_query_client_ids_reply_t> clientReply(
                xcb_res_query_client_ids_reply(m_connection, *cookies.clientPid, nullptr));
            clientPid = clientPidIn(clientReply.get());
        }
        // The server's word over the window's: only a server that cannot say (an old one, or a
        // client it reached some other way) leaves the pid to what the window claims.
        const std::optional<qint32> found = clientPid ? clientPid : wmPidIn(pidReply.get());
        if (!found || *found == m_ownPid) {
            continue;
        }
        const qint32 pid = *found;
        // A window from another machine (ssh -X) carries that machine's pids; one that does
        // not say where it runs is not trusted either.
        QByteArray machine;
        if (machineReply && machineReply->format == 8) {
            machine =
                QByteArray(static_cast<const char *>(xcb_get_property_value(machineReply.get())),
                           xcb_get_property_value_length(machineReply.get()));
            while (machine.endsWith('\0')) {
                machine.chop(1);
            }
        }
        if (machine.isEmpty() || machine != m_hostName) {
            continue;
        }
        const std::optional<ProcessIdentity> identity = ProcessIdentity::read(m_procRoot, pid);
        if (!identity || identity->ownerUid != m_uid) {
            continue;
        }

        // WM_CLASS holds two NUL-terminated strings: the instance, then the class.
        QString instance;
        QString windowClass;
        if (classReply && classReply->format == 8) {
            const QByteArray raw(
                static_cast<const char *>(xcb_get_property_value(classReply.get())),
                xcb_get_property_value_length(classReply.get()));
            const QList<QByteArray> parts = raw.split('\0');
            instance = parts.size() > 0 ? QString::fromUtf8(parts[0]) : QString();
            windowClass = parts.size() > 1 ? QString::fromUtf8(parts[1]) : QString();
        }

        const std::vector<quint32> states = atomsOrWindows(stateReply.get());
        const std::vector<quint32> types = atomsOrWindows(typeReply.get());
        const bool skipsTaskbar =
            std::find(states.begin(), states.end(), m_atoms->skipTaskbar) != states.end();
        // A window without a type is a normal one, as the EWMH says for managed windows.
        const bool normal = types.empty() || types.front() == m_atoms->typeNormal;

        RunningApplication application;
        application.pid = pid;
        application.startTime = identity->startTime;
        application.regular = normal && !skipsTaskbar;
        naming.describe(application, instance, windowClass);

        // One entry per process; a process's ordinary window speaks for it over its dialogs.
        if (const auto seen = indexByPid.constFind(pid); seen != indexByPid.cend()) {
            if (!result[*seen].regular && application.regular) {
                result[*seen] = application;
            }
            continue;
        }
        indexByPid.insert(pid, result.size());
        result.append(application);
    }
    if (xcb_connection_has_error(m_connection) != 0) {
        disconnect();
    }
    return result;
}

std::optional<qint32> EwmhRunningApplications::frontmostPid()
{
    if (!connect()) {
        return std::nullopt;
    }
    ReplyPointer<xcb_get_property_reply_t> activeReply(xcb_get_property_reply(
        m_connection,
        xcb_get_property(m_connection, 0, m_root, m_atoms->activeWindow, XCB_ATOM_WINDOW, 0, 1),
        nullptr));
    const std::vector<quint32> active = atomsOrWindows(activeReply.get());
    if (active.empty() || active.front() == XCB_WINDOW_NONE) {
        return std::nullopt;
    }
    return pidOf(active.front());
}

std::optional<qint32> EwmhRunningApplications::pidOf(quint32 window)
{
    if (m_serverKnowsPids) {
        ReplyPointer<xcb_res_query_client_ids_reply_t> clientReply(xcb_res_query_client_ids_reply(
            m_connection, askClientPid(m_connection, window), nullptr));
        if (const std::optional<qint32> pid = clientPidIn(clientReply.get())) {
            return pid;
        }
    }
    ReplyPointer<xcb_get_property_reply_t> pidReply(xcb_get_property_reply(
        m_connection,
        xcb_get_property(m_connection, 0, window, m_atoms->wmPid, XCB_ATOM_CARDINAL, 0, 1),
        nullptr));
    return wmPidIn(pidReply.get());
}

} // namespace platform
