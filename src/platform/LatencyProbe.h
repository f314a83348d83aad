#pragma once

#include <QByteArray>
#include <QCoro/QCoroTask>
#include <QString>

#include <memory>
#include <optional>

namespace platform {

class ToolRunner;

/// Three echo requests to a host, summarised by the system's ping tool.
class LatencyProbe {
public:
    virtual ~LatencyProbe() = default;

    /// Completes with the tool's standard output, or nothing when it could not be started.
    virtual QCoro::Task<std::optional<QByteArray>> measure(QString host) = 0;

    static std::unique_ptr<LatencyProbe> create(ToolRunner &runner);

protected:
    LatencyProbe() = default;
    LatencyProbe(const LatencyProbe &) = default;
    LatencyProbe &operator=(const LatencyProbe &) = default;
};

} // namespace platform
