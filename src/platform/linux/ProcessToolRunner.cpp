#include "ProcessToolRunner.h"

#include <QCoro/QCoroProcess>
#include <QCoro/QCoroTimer>
#include <QDir>
#include <QProcess>
#include <QStandardPaths>
#include <QTimer>

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

std::unique_ptr<ToolRunner> ToolRunner::create()
{
    return std::make_unique<ProcessToolRunner>();
}

QString ProcessToolRunner::resolve(const QString &program)
{
    if (QDir::isAbsolutePath(program)) {
        return program;
    }
    const QMutexLocker lock(&m_resolvedLock);
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

    const auto drain = [&] {
        // Read as the tool writes, so a chatty tool never stalls on a full pipe.
        output.append(process.readAllStandardOutput().left(maximumOutputBytes - output.size()));
        if (request.captureStandardError) {
            errors.append(process.readAllStandardError().left(maximumOutputBytes - errors.size()));
        }
    };
    QObject::connect(&process, &QProcess::readyReadStandardOutput, &process, drain);
    QObject::connect(&process, &QProcess::readyReadStandardError, &process, drain);

    // One timer is both the deadline and the wake-up call: the tool's end, or its failure to
    // start (after which no "finished" follows), cuts it short.
    QTimer wake;
    wake.setSingleShot(true);
    bool failedToStart = false;
    QObject::connect(&process, &QProcess::finished, &wake, [&wake] { wake.start(0); });
    QObject::connect(&process, &QProcess::errorOccurred, &wake, [&](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) {
            failedToStart = true;
            wake.start(0);
        }
    });
    wake.start(request.timeout);
    // A cancelled request is looked for every 20 ms: its owner is going away and waits.
    QTimer cancelled;
    if (request.cancel) {
        QObject::connect(&cancelled, &QTimer::timeout, &wake, [&wake, &request] {
            if (request.cancel->load()) {
                wake.start(0);
            }
        });
        cancelled.start(std::chrono::milliseconds(20));
    }
    process.start(executable, request.arguments, QIODevice::ReadOnly);
    co_await qCoro(wake).waitForTimeout();
    cancelled.stop();

    if (failedToStart) {
        co_return result;
    }
    if (process.state() != QProcess::NotRunning) {
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
