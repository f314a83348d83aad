#pragma once

#include "platform/Ping.h"

namespace platform {

/// iputils' ping: numeric output, one probe, at most two seconds of waiting for the answer.
class ToolPing final : public Ping {
public:
    explicit ToolPing(ToolRunner &runner);

    QCoro::Task<std::optional<QByteArray>> echoOnce(QString host) override;

private:
    ToolRunner &m_runner;
};

} // namespace platform
