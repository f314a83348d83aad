#include "NmcliConnections.h"

namespace platform {

QStringList NmcliConnections::fields(const QString &line)
{
    QStringList result{QString()};
    for (qsizetype i = 0; i < line.size(); ++i) {
        const QChar c = line.at(i);
        if (c == u'\\' && i + 1 < line.size()) {
            result.last().append(line.at(++i));
        } else if (c == u':') {
            result.append(QString());
        } else {
            result.last().append(c);
        }
    }
    return result;
}

QString NmcliConnections::firstWiredOrWireless(const QByteArray &output)
{
    // Older nmcli names the types by their setting ("802-11-wireless"), newer by their alias.
    static const QStringList wireless{QStringLiteral("802-11-wireless"), QStringLiteral("wifi")};
    static const QStringList wired{QStringLiteral("802-3-ethernet"), QStringLiteral("ethernet")};
    const QStringList lines = QString::fromUtf8(output).split(u'\n');
    for (const QString &line : lines) {
        const QStringList parts = fields(line);
        if (parts.size() < 2) {
            continue;
        }
        const QString type = parts.at(1).trimmed();
        if (wireless.contains(type) || wired.contains(type)) {
            return parts.at(0).trimmed();
        }
    }
    return {};
}

} // namespace platform
