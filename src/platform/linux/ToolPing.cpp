#include "ToolPing.h"

#include "platform/ToolRunner.h"

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
    ToolRequest request;
    request.program = QStringLiteral("ping");
    request.arguments = {QStringLiteral("-n"), QStringLiteral("-c"), QStringLiteral("1"),
                         QStringLiteral("-W"), QStringLiteral("2"),  host};
    request.timeout = std::chrono::seconds(5);
    const ToolResult result = co_await m_runner.run(std::move(request));
    if (result.outcome == ToolResult::Outcome::FailedToStart) {
        co_return std::nullopt;
    }
    co_return result.standardOutput;
}

} // namespace platform
