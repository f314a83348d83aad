#pragma once

#include "platform/ToolRunner.h"

#include <QHash>
#include <QMutex>

namespace platform {

/// Runs tools as child processes with QProcess: argument lists only, the C locale, standard input
/// closed, a time limit, and output capped so that a runaway tool cannot exhaust memory.
class ProcessToolRunner final : public ToolRunner {
public:
    static constexpr qint64 maximumOutputBytes = 16 * 1024 * 1024;

    QCoro::Task<ToolResult> run(ToolRequest request) override;

    /// The executable a bare tool name resolves to, looked up once per name; empty when missing.
    [[nodiscard]] QString resolve(const QString &program);

private:
    QMutex m_resolvedLock; ///< the runner may serve coroutines on several threads
    QHash<QString, QString> m_resolved;
};

} // namespace platform
