#include "WlrRandrDisplayResolution.h"

#include "WlrRandrQuery.h"

namespace platform {

WlrRandrDisplayResolution::WlrRandrDisplayResolution(ToolRunner &runner)
    : m_runner(runner)
{
}

ToolRequest WlrRandrDisplayResolution::queryRequest()
{
    ToolRequest request;
    request.program = QStringLiteral("wlr-randr");
    request.arguments = {};
    request.timeout = std::chrono::seconds(5);
    return request;
}

ToolRequest WlrRandrDisplayResolution::changeRequest(const QString &output,
                                                     const WaylandOutputMode &mode)
{
    ToolRequest request;
    request.program = QStringLiteral("wlr-randr");
    request.arguments = {QStringLiteral("--output"), output, QStringLiteral("--mode"),
                         QString::number(mode.size.width()) + u'x' +
                             QString::number(mode.size.height())};
    request.timeout = std::chrono::seconds(10);
    return request;
}

QCoro::Task<DisplayResolution::Query> WlrRandrDisplayResolution::current()
{
    Query query;
    const ToolResult result = co_await m_runner.run(queryRequest());
    if (result.outcome != ToolResult::Outcome::Finished) {
        query.error = QStringLiteral("wlr-randr could not be run");
        co_return query;
    }
    if (const auto output = WlrRandrQuery::mainOutput(result.standardOutput)) {
        query.size = output->current->size;
    }
    co_return query;
}

QCoro::Task<bool> WlrRandrDisplayResolution::change(QSize size)
{
    if (size.isEmpty()) {
        co_return false;
    }
    const ToolResult before = co_await m_runner.run(queryRequest());
    const auto output = WlrRandrQuery::mainOutput(before.standardOutput);
    if (!before.succeeded() || !output) {
        co_return false;
    }
    // A size the display does not offer is refused here rather than left to the compositor.
    const std::optional<WaylandOutputMode> mode = output->modeFor(size);
    if (!mode) {
        co_return false;
    }
    const ToolResult changed = co_await m_runner.run(changeRequest(output->name, *mode));
    if (!changed.succeeded()) {
        co_return false;
    }
    const ToolResult after = co_await m_runner.run(queryRequest());
    const auto now = WlrRandrQuery::mainOutput(after.standardOutput);
    co_return now && now->current->size == size;
}

} // namespace platform
