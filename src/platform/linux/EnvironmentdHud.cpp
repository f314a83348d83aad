#include "EnvironmentdHud.h"

#include "platform/SystemRoots.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

namespace platform {

std::unique_ptr<PerformanceHud> PerformanceHud::create()
{
    return std::make_unique<EnvironmentdHud>(SystemRoots::current().configHome);
}

EnvironmentdHud::EnvironmentdHud(QString configHome)
    : m_configHome(std::move(configHome))
{
}

QString EnvironmentdHud::filePath() const
{
    return m_configHome + u"/environment.d/" + fileName;
}

std::optional<QString> EnvironmentdHud::valueIn(const QByteArray &content)
{
    std::optional<QString> value;
    for (const QByteArray &rawLine : content.split('\n')) {
        const QByteArray line = rawLine.trimmed();
        if (!line.startsWith("MANGOHUD=")) {
            continue;
        }
        QByteArray assigned = line.mid(qsizetype(qstrlen("MANGOHUD="))).trimmed();
        if (assigned.size() >= 2 && (assigned.front() == '"' || assigned.front() == '\'') &&
            assigned.back() == assigned.front()) {
            assigned = assigned.mid(1, assigned.size() - 2);
        }
        value = QString::fromUtf8(assigned);
    }
    return value;
}

std::optional<QString> EnvironmentdHud::storedValue()
{
    QFile file(filePath());
    // Only a small regular file is read, so a pipe or a huge file in its place cannot stall us.
    const QFileInfo info(file);
    if (!info.isFile() || info.size() > maximumBytes || !file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    return valueIn(file.read(maximumBytes));
}

bool EnvironmentdHud::write(bool enable)
{
    if (!QDir().mkpath(QFileInfo(filePath()).path())) {
        return false;
    }
    QSaveFile file(filePath());
    if (!file.open(QIODevice::WriteOnly)) {
        return false;
    }
    const QByteArray content =
        QByteArrayLiteral("# Written by Kestrelvanta's performance HUD switch\nMANGOHUD=") +
        (enable ? "1" : "0") + '\n';
    return file.write(content) == content.size() && file.commit();
}

} // namespace platform
