#include "ProcessToolRunner.h"

#include <QCoro/QCoroProcess>
#include <QCoro/QCoroSignal>
#include <QDir>
#include <QProcess>
#include <QStandardPaths>

namespace platform {

namespace {

QProcessEnvironment toolEnvironment()
{
    // Tools localize their output otherwise, and the parsers read the C locale's text.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C"));
    environment.remove(QStringLiteral("LANGUAGE"));
    return environment;
}

} // namespace

QString ProcessToolRunner::resolve(const QString &program)
{
    if (QDir::isAbsolutePath(program)) {
        return program;
    }
    const auto cached = m_resolved.constFind(program);
    if (cached != m_resolved.cend()) {
        return *cached;
    }
    const QString found = QStandardPaths::findExecutable(program);
    m_resolved.insert(program, found);
    return found;
}

QCoro::Task<ToolResult> ProcessToolRunner::run(ToolRequest request)
{
    ToolResult result;
    const QString executable = resolve(request.program);
    if (executable.isEmpty()) {
        co_return result;
    }

    // The buffers outlive the process object, whose last signals may still fill them.
    QByteArray output;
    QByteArray errors;
    QProcess process;
    process.setProcessEnvironment(toolEnvironment());
    process.setStandardInputFile(QProcess::nullDevice());
    if (!request.captureStandardError) {
        process.setStandardErrorFile(QProcess::nullDevice());
    }

    // Waiting for "started" alone would sit out the whole timeout when the program cannot be
    // executed; the state change reports both outcomes.
    process.start(executable, request.arguments, QIODevice::ReadOnly);
    if (process.state() == QProcess::Starting) {
        co_await qCoro(&process, &QProcess::stateChanged, request.timeout);
    }
    if (process.state() != QProcess::Running) {
        process.kill();
        co_return result;
    }

    const auto drain = [&] {
        // Read as the tool writes, so a chatty tool never stalls on a full pipe.
        output.append(process.readAllStandardOutput().left(maximumOutputBytes - output.size()));
        if (request.captureStandardError) {
            errors.append(process.readAllStandardError().left(maximumOutputBytes - errors.size()));
        }
    };
    QObject::connect(&process, &QProcess::readyReadStandardOutput, &process, drain);
    QObject::connect(&process, &QProcess::readyReadStandardError, &process, drain);

    const bool finished = co_await qCoro(process).waitForFinished(request.timeout);
    if (!finished) {
        process.kill();
        co_await qCoro(process).waitForFinished(std::chrono::seconds(5));
        result.outcome = ToolResult::Outcome::TimedOut;
    } else if (process.exitStatus() == QProcess::CrashExit) {
        result.outcome = ToolResult::Outcome::Crashed;
    } else {
        result.outcome = ToolResult::Outcome::Finished;
        result.exitCode = process.exitCode();
    }
    drain();
    result.standardOutput = std::move(output);
    result.standardError = std::move(errors);
    co_return result;
}

} // namespace platform
