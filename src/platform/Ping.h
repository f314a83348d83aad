#pragma once

#include <QByteArray>
#include <QCoro/QCoroTask>
#include <QString>

#include <memory>
#include <optional>

namespace platform {

class ToolRunner;

/// The system's ping tool: one echo request to a host, answered by the tool's own text.
class Ping {
public:
    virtual ~Ping() = default;

    /// Sends one echo request and completes with everything the tool printed, or with nothing
    /// when the tool could not be started.
    virtual QCoro::Task<std::optional<QByteArray>> echoOnce(QString host) = 0;

    /// The system's tool, started through the given runner (which must outlive the result).
    static std::unique_ptr<Ping> create(ToolRunner &runner);

protected:
    Ping() = default;
    Ping(const Ping &) = default;
    Ping &operator=(const Ping &) = default;
};

} // namespace platform
