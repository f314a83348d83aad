#pragma once

#include "platform/ToolRunner.h"

#include <QString>
#include <QStringList>

#include <chrono>

namespace platform {

/// iputils' ping, the one tool behind every echo the program sends (the dashboard's per-second
/// latency and the DNS benchmark): where it is and how it is called.
class PingCommand {
public:
    /// Numeric output, COUNT echoes, at most two seconds of waiting for each answer; with
    /// summaryOnly only the closing statistics are printed.
    [[nodiscard]] static ToolRequest request(const QString &host, int count, bool summaryOnly,
                                             std::chrono::milliseconds timeout);
    [[nodiscard]] static QStringList arguments(const QString &host, int count, bool summaryOnly);

    /// The tool's absolute path on this system, looked up once.
    [[nodiscard]] static QString program();
    /// The first candidate that is an executable file; the first candidate when none is (it then
    /// fails to start, which the callers report as a missing tool).
    [[nodiscard]] static QString resolve(const QStringList &candidates);
    /// Where distributions install it; never the user's PATH.
    [[nodiscard]] static QStringList candidates();
};

} // namespace platform
