#include "WaylandToolDisplayResolution.h"

#include "KscreenDoctorQuery.h"
#include "SwayOutputsQuery.h"
#include "WlrRandrQuery.h"

namespace platform {

WaylandToolDisplayResolution::Tool WaylandToolDisplayResolution::kscreenDoctor()
{
    return {QStringLiteral("kscreen-doctor"),
            {QStringLiteral("--json")},
            [](const QString &output, const WaylandOutputMode &mode) {
                return QStringList{QStringLiteral("output.%1.mode.%2x%3@%4")
                                       .arg(output)
                                       .arg(mode.size.width())
                                       .arg(mode.size.height())
                                       .arg(qRound(mode.refreshRate))};
            },
            &KscreenDoctorQuery::mainOutput};
}

WaylandToolDisplayResolution::Tool WaylandToolDisplayResolution::wlrRandr()
{
    return {QStringLiteral("wlr-randr"),
            {},
            [](const QString &output, const WaylandOutputMode &mode) {
                return QStringList{QStringLiteral("--output"), output, QStringLiteral("--mode"),
                                   QString::number(mode.size.width()) + u'x' +
                                       QString::number(mode.size.height())};
            },
            &WlrRandrQuery::mainOutput};
}

WaylandToolDisplayResolution::Tool WaylandToolDisplayResolution::swaymsg()
{
    return {QStringLiteral("swaymsg"),
            {QStringLiteral("-t"), QStringLiteral("get_outputs"), QStringLiteral("-r")},
            [](const QString &output, const WaylandOutputMode &mode) {
                // "--" keeps the command's words from being read as swaymsg's own options.
                return QStringList{QStringLiteral("--"), QStringLiteral("output"), output,
                                   QStringLiteral("mode"),
                                   QStringLiteral("%1x%2@%3Hz")
                                       .arg(mode.size.width())
                                       .arg(mode.size.height())
                                       .arg(mode.refreshRate, 0, 'f', 3)};
            },
            &SwayOutputsQuery::mainOutput};
}

WaylandToolDisplayResolution::WaylandToolDisplayResolution(ToolRunner &runner, Tool tool)
    : m_runner(runner)
    , m_tool(std::move(tool))
{
}

ToolRequest WaylandToolDisplayResolution::queryRequest() const
{
    ToolRequest request;
    request.program = m_tool.program;
    request.arguments = m_tool.queryArguments;
    request.timeout = std::chrono::seconds(5);
    return request;
}

QCoro::Task<DisplayResolution::Query> WaylandToolDisplayResolution::current()
{
    // The frame keeps its own copy: the object may be gone when the tool answers.
    const Tool tool = m_tool;
    Query query;
    const ToolResult result = co_await m_runner.run(queryRequest());
    if (result.outcome != ToolResult::Outcome::Finished) {
        query.error = tool.program + u" could not be run";
        co_return query;
    }
    if (const std::optional<WaylandOutput> output = tool.mainOutput(result.outputBytes())) {
        query.size = output->current->size;
    }
    co_return query;
}

QCoro::Task<bool> WaylandToolDisplayResolution::change(QSize size)
{
    if (size.isEmpty()) {
        co_return false;
    }
    const Tool tool = m_tool;
    ToolRunner &runner = m_runner;
    const ToolRequest query = queryRequest();
    const ToolResult before = co_await runner.run(query);
    const std::optional<WaylandOutput> output = tool.mainOutput(before.outputBytes());
    if (!output) {
        co_return false;
    }
    // A size the display does not offer is refused here rather than left to the compositor.
    const std::optional<WaylandOutputMode> mode = output->modeFor(size);
    if (!mode) {
        co_return false;
    }
    ToolRequest changeRequest = query;
    changeRequest.arguments = tool.changeArguments(output->name, *mode);
    changeRequest.timeout = std::chrono::seconds(10);
    const ToolResult changed = co_await runner.run(changeRequest);
    if (!changed.succeeded()) {
        co_return false;
    }
    const ToolResult after = co_await runner.run(query);
    const std::optional<WaylandOutput> now = tool.mainOutput(after.outputBytes());
    // The same output: one that vanished meanwhile may leave another main that shows the size.
    co_return now && now->name == output->name && now->current->size == size;
}

} // namespace platform
