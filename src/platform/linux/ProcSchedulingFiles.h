#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace platform {

/// Reads what /proc says about the group a process is scheduled in.
class ProcSchedulingFiles {
public:
    /// The unit a process runs in, from its cgroup v2 line.
    struct Unit {
        QString name;             ///< "app-firefox@1a2b.scope", "session-2.scope"
        bool userManager = false; ///< the unit belongs to the user's own service manager

        friend bool operator==(const Unit &, const Unit &) = default;
    };
    /// A process's autogroup and the group's nice value.
    struct Autogroup {
        quint64 id = 0;
        int nice = 0;

        friend bool operator==(const Autogroup &, const Autogroup &) = default;
    };

    /// The innermost ".scope" or ".service" of the "0::" line of /proc/PID/cgroup; nothing
    /// when the process is in no unit or the text is not such a file.
    [[nodiscard]] static std::optional<Unit> unitIn(const QByteArray &cgroup);
    /// "/autogroup-54 nice 0" as /proc/PID/autogroup gives it.
    [[nodiscard]] static std::optional<Autogroup> autogroupIn(const QByteArray &autogroup);
};

} // namespace platform
