#pragma once

#include "platform/ToolRunner.h"

#include <QList>

#include <functional>

/// A tool runner that records every request and answers with what the test decides, at once.
class RecordingToolRunner final : public platform::ToolRunner {
public:
    QList<platform::ToolRequest> requests;
    /// The answer to a request; by default every tool exits 0 printing nothing.
    std::function<platform::ToolResult(const platform::ToolRequest &)> answer =
        [](const platform::ToolRequest &) {
            platform::ToolResult result;
            result.outcome = platform::ToolResult::Outcome::Finished;
            result.exitCode = 0;
            return result;
        };

    QCoro::Task<platform::ToolResult> run(platform::ToolRequest request) override
    {
        requests.append(request);
        co_return answer(request);
    }

    /// Program and arguments of each request, as one list each.
    [[nodiscard]] QList<QStringList> commandLines() const
    {
        QList<QStringList> lines;
        for (const platform::ToolRequest &request : requests) {
            lines.append(QStringList{request.program} + request.arguments);
        }
        return lines;
    }

    static platform::ToolResult finished(int exitCode, QByteArray output = {},
                                         QByteArray errors = {})
    {
        platform::ToolResult result;
        result.outcome = platform::ToolResult::Outcome::Finished;
        result.exitCode = exitCode;
        result.standardOutput = std::move(output);
        result.standardError = std::move(errors);
        return result;
    }
};
