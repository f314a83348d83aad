#pragma once

#include "platform/LatencyProbe.h"

namespace platform {

/// iputils' ping: three numeric echo requests, quiet, two seconds at most for each answer.
class ToolLatencyProbe final : public LatencyProbe {
public:
    explicit ToolLatencyProbe(ToolRunner &runner);

    QCoro::Task<std::optional<QByteArray>> measure(QString host) override;

    [[nodiscard]] static QStringList argumentsFor(const QString &host);

private:
    ToolRunner &m_runner;
};

} // namespace platform
