#include "ToolLatencyProbe.h"

#include "PingCommand.h"

namespace platform {

std::unique_ptr<LatencyProbe> LatencyProbe::create(ToolRunner &runner)
{
    return std::make_unique<ToolLatencyProbe>(runner);
}

ToolLatencyProbe::ToolLatencyProbe(ToolRunner &runner)
    : m_runner(runner)
{
}

QStringList ToolLatencyProbe::argumentsFor(const QString &host)
{
    return PingCommand::arguments(host, 3, true);
}

QCoro::Task<std::optional<QByteArray>> ToolLatencyProbe::measure(QString host)
{
    ToolRequest request = PingCommand::request(host, 3, true, std::chrono::seconds(15));
    // Error text stays apart from the summary that is parsed.
    request.captureStandardError = true;
    const ToolResult result = co_await m_runner.run(std::move(request));
    if (result.outcome == ToolResult::Outcome::FailedToStart) {
        co_return std::nullopt;
    }
    co_return result.standardOutput;
}

} // namespace platform
