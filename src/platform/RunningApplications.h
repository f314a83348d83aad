#pragma once

#include <QList>
#include <QString>

#include <memory>
#include <optional>

namespace platform {

/// A user-facing application with a window, as the desktop presents it.
struct RunningApplication {
    qint32 pid = 0;
    QString name;             ///< the display name; empty when unknown
    QString bundleIdentifier; ///< the desktop entry's id, or the window's class; may be empty
    bool regular = true;      ///< an ordinary application window, shown in the task bar
    /// When the process started, in the system's own units (0 when unknown): with the pid it
    /// names this process and not a later one given the same pid.
    quint64 startTime = 0;

    friend bool operator==(const RunningApplication &, const RunningApplication &) = default;
};

/// The applications the user is running and which one is in front.
class RunningApplications {
public:
    virtual ~RunningApplications() = default;

    /// One entry per process, in the order the desktop lists their windows; the program itself
    /// is left out. Empty when the desktop cannot be asked.
    [[nodiscard]] virtual QList<RunningApplication> applications() = 0;
    /// The process owning the active window, when known.
    [[nodiscard]] virtual std::optional<qint32> frontmostPid() = 0;

    /// The desktop this process runs in.
    static std::unique_ptr<RunningApplications> create();

protected:
    RunningApplications() = default;
    RunningApplications(const RunningApplications &) = default;
    RunningApplications &operator=(const RunningApplications &) = default;
};

} // namespace platform
