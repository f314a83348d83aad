#include "PkexecPrivilegedRunner.h"

#include <QFileInfo>

#include <unistd.h>

namespace platform {

namespace {

// pkexec puts this before the reason it could not run the program as root.
constexpr QLatin1StringView pkexecPrefix("Error executing command as another user: ");
// With no agent on the bus pkexec falls back to asking on the terminal; with no terminal either
// (a program started from a bare X session) this is how it gives up.
constexpr QLatin1StringView noTerminalAgentPrefix("Error creating textual authentication agent");
constexpr QLatin1StringView noAgentText("No authentication agent found.");

} // namespace

std::unique_ptr<PrivilegedRunner> PrivilegedRunner::create(ToolRunner &runner)
{
    return std::make_unique<PkexecPrivilegedRunner>(runner, QStringLiteral(KV_HELPER_PATH),
                                                    geteuid() == 0);
}

QString PrivilegedRunner::installationProblem()
{
    return PkexecPrivilegedRunner::installationProblem(
        QStringLiteral(KV_HELPER_PATH), QStringLiteral(KV_HELPER_POLICY_PATH), geteuid() == 0);
}

QString PkexecPrivilegedRunner::installationProblem(const QString &helperPath,
                                                    const QString &policyPath, bool runningAsRoot)
{
    static const QLatin1StringView consequence(
        "Game Mode's priorities, the DNS switch, the DNS flush and the memory purge need the "
        "installed package");
    if (!QFileInfo(helperPath).isExecutable()) {
        return QStringLiteral("kestrelvanta: the root helper is not installed (no %1): %2")
            .arg(helperPath, consequence);
    }
    // pkexec matches the helper's path against the installed actions; without them it would
    // only ever offer its generic action, which the helper's callers do not rely on.
    if (!runningAsRoot && !QFileInfo(policyPath).isFile()) {
        return QStringLiteral("kestrelvanta: the root helper's polkit actions are not installed "
                              "(no %1): %2")
            .arg(policyPath, consequence);
    }
    return {};
}

PkexecPrivilegedRunner::PkexecPrivilegedRunner(ToolRunner &runner, QString helperPath,
                                               bool runningAsRoot)
    : m_runner(runner)
    , m_helperPath(std::move(helperPath))
    , m_runningAsRoot(runningAsRoot)
{
}

ToolRequest PkexecPrivilegedRunner::requestFor(const QString &verb,
                                               const QStringList &arguments) const
{
    ToolRequest request;
    if (m_runningAsRoot) {
        request.program = m_helperPath;
    } else {
        request.program = pkexecPath;
        request.arguments.append(m_helperPath);
    }
    request.arguments.append(verb);
    request.arguments.append(arguments);
    request.timeout = timeout;
    request.captureStandardError = true;
    return request;
}

QCoro::Task<PrivilegedOutcome> PkexecPrivilegedRunner::run(QString verb, QStringList arguments)
{
    if (!QFileInfo(m_helperPath).isExecutable()) {
        co_return PrivilegedOutcome{false, unavailableText};
    }
    const ToolResult result = co_await m_runner.run(requestFor(verb, arguments));
    co_return outcomeOf(result);
}

QStringList PkexecPrivilegedRunner::batchArguments(const QList<PrivilegedStep> &steps)
{
    QStringList arguments;
    for (const PrivilegedStep &step : steps) {
        if (!arguments.isEmpty()) {
            arguments.append(step.onlyAfterSuccess ? ifSucceededSeparator : thenSeparator);
        }
        arguments.append(step.verb);
        arguments.append(step.arguments);
    }
    return arguments;
}

QCoro::Task<QList<PrivilegedOutcome>> PkexecPrivilegedRunner::runSteps(QList<PrivilegedStep> steps)
{
    QList<PrivilegedOutcome> outcomes;
    if (steps.size() == 1) {
        outcomes.append(co_await run(steps.constFirst().verb, steps.constFirst().arguments));
        co_return outcomes;
    }
    qsizetype next = 0;
    while (next < steps.size()) {
        // A step tied to a failed one (across starts) is not sent at all.
        if (steps[next].onlyAfterSuccess && !outcomes.isEmpty() && !outcomes.constLast().success) {
            outcomes.append(PrivilegedOutcome{false, skippedText});
            ++next;
            continue;
        }
        QList<PrivilegedStep> chunk = steps.mid(next, maximumBatchSteps);
        // The first step of a start has none before it in that start.
        chunk.first().onlyAfterSuccess = false;
        if (!QFileInfo(m_helperPath).isExecutable()) {
            for (qsizetype i = 0; i < chunk.size(); ++i) {
                outcomes.append(PrivilegedOutcome{false, unavailableText});
            }
        } else {
            const ToolResult result =
                co_await m_runner.run(requestFor(batchVerb, batchArguments(chunk)));
            outcomes.append(batchOutcomesOf(result, chunk.size()));
        }
        next += chunk.size();
    }
    co_return outcomes;
}

QList<PrivilegedOutcome> PkexecPrivilegedRunner::batchOutcomesOf(const ToolResult &result,
                                                                 qsizetype count)
{
    static constexpr QLatin1StringView succeededLine("ok");
    static constexpr QLatin1StringView failedPrefix("failed: ");
    static constexpr QLatin1StringView skippedLine("skipped");
    QList<PrivilegedOutcome> outcomes;
    if (result.outcome != ToolResult::Outcome::FailedToStart) {
        const QStringList lines = result.outputText().value_or(QString()).split(u'\n');
        for (const QString &line : lines) {
            if (outcomes.size() == count) {
                break;
            }
            if (line == succeededLine) {
                outcomes.append(PrivilegedOutcome{true, {}});
            } else if (line.startsWith(failedPrefix)) {
                const QString message = line.mid(failedPrefix.size()).trimmed();
                outcomes.append(PrivilegedOutcome{
                    false, message.isEmpty() ? QStringLiteral("Unknown error") : message});
            } else if (line == skippedLine) {
                outcomes.append(PrivilegedOutcome{false, skippedText});
            } else {
                // Anything else is not the helper speaking: what is left failed as a whole.
                break;
            }
        }
    }
    if (outcomes.size() < count) {
        PrivilegedOutcome rest = outcomeOf(result);
        if (rest.success) {
            rest = {false, QStringLiteral("Unknown error")};
        }
        while (outcomes.size() < count) {
            outcomes.append(rest);
        }
    }
    return outcomes;
}

PrivilegedOutcome PkexecPrivilegedRunner::outcomeOf(const ToolResult &result)
{
    if (result.outcome == ToolResult::Outcome::FailedToStart) {
        return {false, unavailableText};
    }
    if (result.succeeded()) {
        return {true, {}};
    }
    // pkexec's own reason is the line that carries its prefix (after it may come "This incident
    // has been reported."); the helper prints exactly one line.
    const QStringList lines =
        ToolOutput::text(result.standardError).value_or(QString()).split(u'\n');
    QString message;
    for (const QString &line : lines) {
        if (line.startsWith(pkexecPrefix)) {
            message = line.mid(pkexecPrefix.size()).trimmed();
        } else if (line.startsWith(noTerminalAgentPrefix)) {
            message = noAgentText;
        }
    }
    if (message.isEmpty()) {
        for (auto it = lines.crbegin(); it != lines.crend(); ++it) {
            if (!it->trimmed().isEmpty()) {
                message = it->trimmed();
                break;
            }
        }
    }
    if (message.isEmpty()) {
        message = result.outcome == ToolResult::Outcome::Finished && result.exitCode == 126
                      ? QStringLiteral("Request dismissed")
                      : QStringLiteral("Unknown error");
    }
    return {false, message};
}

} // namespace platform
