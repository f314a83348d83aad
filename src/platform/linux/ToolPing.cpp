#include "ToolPing.h"

#include "PingCommand.h"

namespace platform {

std::unique_ptr<Ping> Ping::create(ToolRunner &runner)
{
    return std::make_unique<ToolPing>(runner);
}

ToolPing::ToolPing(ToolRunner &runner)
    : m_runner(runner)
{
}

QCoro::Task<std::optional<QByteArray>> ToolPing::echoOnce(QString host)
{
    const ToolResult result =
        co_await m_runner.run(PingCommand::request(host, 1, false, std::chrono::seconds(5)));
    if (result.outcome == ToolResult::Outcome::FailedToStart) {
        co_return std::nullopt;
    }
    co_return result.standardOutput;
}

} // namespace platform
