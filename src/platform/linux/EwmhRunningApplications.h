#pragma once

#include "DesktopEntryIndex.h"
#include "platform/RunningApplications.h"

#include <QByteArray>

#include <memory>
#include <unistd.h>

struct xcb_connection_t;

namespace platform {

/// The applications behind the windows an EWMH window manager lists, read through an X
/// connection of our own (so it works under XWayland and whatever Qt itself draws with). A
/// window's process is the one the X server itself saw connect (the X-Resource extension's
/// client pid): a sandboxed client's _NET_WM_PID names a process in its sandbox (often 2, a
/// kernel thread on the host), and any client may write any number there. _NET_WM_PID is read
/// only where the server cannot say.
class EwmhRunningApplications final : public RunningApplications {
public:
    /// display: an X display name such as ":1" (empty: $DISPLAY); ownPid: left out of the list;
    /// withoutX: asked instead while there is no X server to connect to. A window's pid counts
    /// only when the window says it runs on hostName (empty: this machine's name) and the
    /// process under procRoot belongs to uid: any X client can claim any pid, and one forwarded
    /// from another machine names that machine's processes. A game run through Proton (window
    /// class "steam_app_N") is named by its manifest in the libraries of steamRoots.
    EwmhRunningApplications(QByteArray display, DesktopEntryIndex index, qint32 ownPid,
                            std::unique_ptr<RunningApplications> withoutX = {},
                            QString procRoot = QStringLiteral("/proc"), uint uid = ::getuid(),
                            QByteArray hostName = {}, QStringList steamRoots = {});
    ~EwmhRunningApplications() override;
    EwmhRunningApplications(const EwmhRunningApplications &) = delete;
    EwmhRunningApplications &operator=(const EwmhRunningApplications &) = delete;

    QList<RunningApplication> applications() override;
    std::optional<qint32> frontmostPid() override;

private:
    struct Atoms;
    bool connect();
    void disconnect();
    /// The pid of the window's client: the server's answer when it has one, else the window's
    /// _NET_WM_PID; nothing when neither says.
    std::optional<qint32> pidOf(quint32 window);

    QByteArray m_display;
    DesktopEntryIndex m_index;
    qint32 m_ownPid;
    std::unique_ptr<RunningApplications> m_withoutX;
    QString m_procRoot;
    uint m_uid;
    QByteArray m_hostName;
    QStringList m_steamRoots;
    xcb_connection_t *m_connection = nullptr;
    quint32 m_root = 0;
    std::unique_ptr<Atoms> m_atoms;
    /// The server answers client-id queries for a client's pid (X-Resource 1.2 or later).
    bool m_serverKnowsPids = false;
};

} // namespace platform
