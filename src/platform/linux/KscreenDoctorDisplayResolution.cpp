#include "KscreenDoctorDisplayResolution.h"

#include "KscreenDoctorQuery.h"

namespace platform {

KscreenDoctorDisplayResolution::KscreenDoctorDisplayResolution(ToolRunner &runner)
    : m_runner(runner)
{
}

ToolRequest KscreenDoctorDisplayResolution::queryRequest()
{
    ToolRequest request;
    request.program = QStringLiteral("kscreen-doctor");
    request.arguments = {QStringLiteral("--json")};
    request.timeout = std::chrono::seconds(5);
    return request;
}

ToolRequest KscreenDoctorDisplayResolution::changeRequest(const QString &output,
                                                          const WaylandOutputMode &mode)
{
    ToolRequest request;
    request.program = QStringLiteral("kscreen-doctor");
    request.arguments = {QStringLiteral("output.%1.mode.%2x%3@%4")
                             .arg(output)
                             .arg(mode.size.width())
                             .arg(mode.size.height())
                             .arg(qRound(mode.refreshRate))};
    request.timeout = std::chrono::seconds(10);
    return request;
}

QCoro::Task<DisplayResolution::Query> KscreenDoctorDisplayResolution::current()
{
    Query query;
    const ToolResult result = co_await m_runner.run(queryRequest());
    if (result.outcome != ToolResult::Outcome::Finished) {
        query.error = QStringLiteral("kscreen-doctor could not be run");
        co_return query;
    }
    if (const auto output = KscreenDoctorQuery::mainOutput(result.standardOutput)) {
        query.size = output->current->size;
    }
    co_return query;
}

QCoro::Task<bool> KscreenDoctorDisplayResolution::change(QSize size)
{
    if (size.isEmpty()) {
        co_return false;
    }
    const ToolResult before = co_await m_runner.run(queryRequest());
    const auto output = KscreenDoctorQuery::mainOutput(before.standardOutput);
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
    const auto now = KscreenDoctorQuery::mainOutput(after.standardOutput);
    co_return now && now->current->size == size;
}

} // namespace platform
