#include "ProcessIdentity.h"

#include "PseudoFile.h"

#include <QFileInfo>

namespace platform {

std::optional<quint64> ProcessIdentity::startTimeIn(const QByteArray &stat)
{
    const qsizetype close = stat.lastIndexOf(')');
    if (close < 0) {
        return std::nullopt;
    }
    // Field 3 is the first after the name; the start time is field 22.
    const QList<QByteArray> fields = stat.mid(close + 1).simplified().split(' ');
    constexpr qsizetype startField = 22 - 3;
    if (fields.size() <= startField) {
        return std::nullopt;
    }
    bool ok = false;
    const quint64 value = fields.at(startField).toULongLong(&ok);
    return ok ? std::optional<quint64>(value) : std::nullopt;
}

std::optional<ProcessIdentity> ProcessIdentity::read(const QString &procRoot, qint32 pid)
{
    const QString folder = procRoot + u'/' + QString::number(pid);
    const QFileInfo info(folder);
    const std::optional<QByteArray> stat = PseudoFile::read(folder + QStringLiteral("/stat"));
    if (!info.exists() || !stat) {
        return std::nullopt;
    }
    const std::optional<quint64> started = startTimeIn(*stat);
    if (!started) {
        return std::nullopt;
    }
    return ProcessIdentity{info.ownerId(), *started};
}

} // namespace platform
