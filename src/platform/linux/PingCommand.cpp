#include "PingCommand.h"

#include <QFileInfo>

namespace platform {

ToolRequest PingCommand::request(const QString &host, int count, bool summaryOnly,
                                 std::chrono::milliseconds timeout)
{
    ToolRequest request;
    request.program = program();
    request.arguments = arguments(host, count, summaryOnly);
    request.timeout = timeout;
    return request;
}

QStringList PingCommand::arguments(const QString &host, int count, bool summaryOnly)
{
    QStringList arguments{QStringLiteral("-n"), QStringLiteral("-c"), QString::number(count)};
    if (summaryOnly) {
        arguments << QStringLiteral("-q");
    }
    arguments << QStringLiteral("-W") << QStringLiteral("2") << host;
    return arguments;
}

QString PingCommand::program()
{
    static const QString resolved = resolve(candidates());
    return resolved;
}

QString PingCommand::resolve(const QStringList &candidates)
{
    for (const QString &candidate : candidates) {
        const QFileInfo file(candidate);
        if (file.isAbsolute() && file.isFile() && file.isExecutable()) {
            return candidate;
        }
    }
    return candidates.value(0);
}

QStringList PingCommand::candidates()
{
    return {QStringLiteral("/usr/bin/ping"), QStringLiteral("/bin/ping"),
            QStringLiteral("/usr/sbin/ping"), QStringLiteral("/sbin/ping")};
}

} // namespace platform
