#include "ToolAudioOutput.h"

namespace platform {

std::unique_ptr<AudioOutput> AudioOutput::create(ToolRunner &runner)
{
    return std::make_unique<ToolAudioOutput>(runner);
}

ToolAudioOutput::ToolAudioOutput(ToolRunner &runner)
    : m_runner(runner)
{
}

QList<ToolRequest> ToolAudioOutput::requestsFor(bool muted)
{
    const QString flag = muted ? QStringLiteral("1") : QStringLiteral("0");
    QList<ToolRequest> requests(3);
    requests[0].program = QStringLiteral("pactl");
    requests[0].arguments = {QStringLiteral("set-sink-mute"), QStringLiteral("@DEFAULT_SINK@"),
                             flag};
    requests[1].program = QStringLiteral("wpctl");
    requests[1].arguments = {QStringLiteral("set-mute"), QStringLiteral("@DEFAULT_AUDIO_SINK@"),
                             flag};
    requests[2].program = QStringLiteral("amixer");
    requests[2].arguments = {QStringLiteral("-q"), QStringLiteral("set"), QStringLiteral("Master"),
                             muted ? QStringLiteral("mute") : QStringLiteral("unmute")};
    for (ToolRequest &request : requests) {
        request.timeout = std::chrono::seconds(5);
    }
    return requests;
}

QCoro::Task<bool> ToolAudioOutput::setMuted(bool muted)
{
    for (ToolRequest &request : requestsFor(muted)) {
        // A tool that is missing, or whose sound server is not running, passes to the next.
        const ToolResult result = co_await m_runner.run(std::move(request));
        if (result.succeeded()) {
            co_return true;
        }
    }
    co_return false;
}

} // namespace platform
