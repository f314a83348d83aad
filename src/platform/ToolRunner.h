#pragma once

#include "ToolOutput.h"

#include <QByteArray>
#include <QCoro/QCoroTask>
#include <QString>
#include <QStringList>

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>

namespace platform {

/// One run of a command-line tool: an argument list, never a shell string.
struct ToolRequest {
    QString program; ///< absolute path, or a bare name looked up once in PATH
    QStringList arguments;
    std::chrono::milliseconds timeout{std::chrono::seconds(10)};
    bool captureStandardError = false; ///< otherwise standard error goes to the null device
    /// When set and it becomes true, the tool is killed at once, as at the timeout.
    const std::atomic<bool> *cancel = nullptr;
};

struct ToolResult {
    enum class Outcome {
        Finished,      ///< the tool exited on its own; see exitCode
        FailedToStart, ///< missing, not executable, or could not be forked
        TimedOut,      ///< killed after the request's timeout, or when it was cancelled
        Crashed,       ///< ended by a signal
    };

    Outcome outcome = Outcome::FailedToStart;
    int exitCode = -1;
    QByteArray standardOutput;
    QByteArray standardError;

    /// Standard output as the readers take it: none at all when it is not valid UTF-8.
    [[nodiscard]] std::optional<QString> outputText() const
    {
        return ToolOutput::text(standardOutput);
    }
    /// The same rule for readers that parse bytes.
    [[nodiscard]] QByteArray outputBytes() const { return ToolOutput::bytes(standardOutput); }

    /// Exited on its own with status 0.
    [[nodiscard]] bool succeeded() const { return outcome == Outcome::Finished && exitCode == 0; }
};

/// Runs child tools without blocking the calling thread's event loop.
class ToolRunner {
public:
    virtual ~ToolRunner() = default;

    /// A runner of real child processes on this system.
    [[nodiscard]] static std::unique_ptr<ToolRunner> create();

    /// Starts the tool and completes when it has ended (or was killed at the timeout).
    virtual QCoro::Task<ToolResult> run(ToolRequest request) = 0;

protected:
    ToolRunner() = default;
    ToolRunner(const ToolRunner &) = default;
    ToolRunner &operator=(const ToolRunner &) = default;
};

} // namespace platform
