#include "ProcSchedulingFiles.h"

#include <QList>
#include <QRegularExpression>

namespace platform {

std::optional<ProcSchedulingFiles::Unit> ProcSchedulingFiles::unitIn(const QByteArray &cgroup)
{
    for (const QByteArray &line : cgroup.split('\n')) {
        if (!line.startsWith("0::/")) {
            continue;
        }
        const QList<QByteArray> parts = line.mid(4).split('/');
        static const QRegularExpression userManager(QStringLiteral("^user@[0-9]+\\.service$"));
        bool underManager = false;
        std::optional<Unit> found;
        for (const QByteArray &part : parts) {
            const QString name = QString::fromUtf8(part);
            if (userManager.match(name).hasMatch()) {
                underManager = true;
                // The manager itself is the user's, not one of its units.
                found = Unit{name, false};
                continue;
            }
            if (name.endsWith(QLatin1String(".scope")) ||
                name.endsWith(QLatin1String(".service"))) {
                found = Unit{name, underManager};
            }
        }
        return found;
    }
    return std::nullopt;
}

std::optional<ProcSchedulingFiles::Autogroup>
ProcSchedulingFiles::autogroupIn(const QByteArray &autogroup)
{
    static const QRegularExpression line(
        QStringLiteral("^/autogroup-([0-9]{1,19}) nice (-?[0-9]{1,2})\n?$"));
    const QRegularExpressionMatch match = line.match(QString::fromLatin1(autogroup));
    if (!match.hasMatch()) {
        return std::nullopt;
    }
    bool idOk = false;
    const quint64 id = match.captured(1).toULongLong(&idOk);
    const int nice = match.captured(2).toInt();
    if (!idOk || nice < -20 || nice > 19) {
        return std::nullopt;
    }
    return Autogroup{id, nice};
}

} // namespace platform
