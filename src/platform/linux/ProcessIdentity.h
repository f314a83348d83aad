#pragma once

#include <QString>

#include <optional>

namespace platform {

/// Who owns a process and when it started, read from /proc. The start time tells the process
/// the program saw from a later one that was given the same pid; the root helper checks both
/// before it changes anything.
struct ProcessIdentity {
    uint ownerUid = 0;
    quint64 startTime = 0; ///< /proc/PID/stat's 22nd field, clock ticks since boot

    /// The identity of pid under procRoot, or nothing when it has gone or cannot be read.
    [[nodiscard]] static std::optional<ProcessIdentity> read(const QString &procRoot, qint32 pid);
    /// The start time in the text of /proc/PID/stat; the name in field 2 may hold spaces and
    /// parentheses, so the fields are counted after its last closing parenthesis.
    [[nodiscard]] static std::optional<quint64> startTimeIn(const QByteArray &stat);
};

} // namespace platform
