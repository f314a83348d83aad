#include "XrandrDisplayResolution.h"

#include "XrandrQuery.h"

namespace platform {

XrandrDisplayResolution::XrandrDisplayResolution(ToolRunner &runner)
    : m_runner(runner)
{
}

ToolRequest XrandrDisplayResolution::queryRequest()
{
    ToolRequest request;
    request.program = QStringLiteral("xrandr");
    request.arguments = {QStringLiteral("--current")};
    request.timeout = std::chrono::seconds(5);
    return request;
}

QCoro::Task<DisplayResolution::Query> XrandrDisplayResolution::current()
{
    Query query;
    const ToolResult result = co_await m_runner.run(queryRequest());
    if (result.outcome != ToolResult::Outcome::Finished) {
        query.error = QStringLiteral("xrandr could not be run");
        co_return query;
    }
    if (const auto output = XrandrQuery::mainOutput(result.outputBytes())) {
        query.size = output->size;
    }
    co_return query;
}

QCoro::Task<bool> XrandrDisplayResolution::change(QSize size)
{
    if (size.isEmpty()) {
        co_return false;
    }
    const ToolResult before = co_await m_runner.run(queryRequest());
    const auto output = XrandrQuery::mainOutput(before.outputBytes());
    if (!output) {
        co_return false;
    }
    ToolRequest request;
    request.program = QStringLiteral("xrandr");
    request.arguments = {QStringLiteral("--output"), output->name, QStringLiteral("--mode"),
                         QString::number(size.width()) + u'x' + QString::number(size.height())};
    request.timeout = std::chrono::seconds(10);
    const ToolResult changed = co_await m_runner.run(std::move(request));
    if (!changed.succeeded()) {
        co_return false;
    }
    // xrandr exits 0 for some refusals: only the mode read back counts.
    const ToolResult after = co_await m_runner.run(queryRequest());
    const auto now = XrandrQuery::mainOutput(after.outputBytes());
    // The same output: one unplugged meanwhile may leave another main that shows the size.
    co_return now && now->name == output->name && now->size == size;
}

} // namespace platform
