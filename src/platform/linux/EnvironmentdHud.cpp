#include "EnvironmentdHud.h"

#include "platform/SystemRoots.h"

#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDir>
#include <QFileInfo>
#include <QMap>
#include <QSaveFile>

namespace platform {

using Environment = QMap<QString, QString>;

std::unique_ptr<PerformanceHud> PerformanceHud::create()
{
    const SystemRoots roots = SystemRoots::current();
    QStringList configDirs =
        qEnvironmentVariable("XDG_CONFIG_DIRS").split(u':', Qt::SkipEmptyParts);
    if (configDirs.isEmpty()) {
        configDirs = {QStringLiteral("/etc/xdg")};
    }
    return std::make_unique<EnvironmentdHud>(
        roots.configHome,
        EnvironmentdHud::layerRootsFor(roots.configHome, configDirs, roots.dataHome,
                                       roots.dataDirs),
        QDBusConnection::sessionBus());
}

EnvironmentdHud::EnvironmentdHud(QString configHome, QStringList layerRoots,
                                 std::optional<QDBusConnection> bus)
    : m_configHome(std::move(configHome))
    , m_layerRoots(std::move(layerRoots))
    , m_bus(std::move(bus))
{
    qDBusRegisterMetaType<Environment>();
}

QStringList EnvironmentdHud::layerRootsFor(const QString &configHome, const QStringList &configDirs,
                                           const QString &dataHome, const QStringList &dataDirs)
{
    // The loader's own order: configuration before data, the user's before the system's.
    QStringList roots{configHome};
    roots += configDirs;
    roots.append(QStringLiteral("/etc"));
    roots.append(dataHome);
    roots += dataDirs;
    roots.removeAll(QString());
    roots.removeDuplicates();
    return roots;
}

QString EnvironmentdHud::unavailableReason()
{
    // MangoHud installs its layer as MangoHud.json or MangoHud.<arch>.json, implicit (enabled
    // by MANGOHUD=1) and, in older releases, explicit too.
    for (const QString &root : std::as_const(m_layerRoots)) {
        for (const QString &kind :
             {QStringLiteral("implicit_layer.d"), QStringLiteral("explicit_layer.d")}) {
            const QDir folder(root + u"/vulkan/" + kind);
            const QStringList manifests = folder.entryList(
                {QStringLiteral("MangoHud*.json")}, QDir::Files | QDir::Readable, QDir::Name);
            if (!manifests.isEmpty()) {
                return {};
            }
        }
    }
    return QStringLiteral("MangoHud is not installed (no Vulkan layer manifest for it)");
}

void EnvironmentdHud::tellSession(const QString &value)
{
    if (!m_bus || !m_bus->isConnected()) {
        return;
    }
    // Sent without waiting for the answers: the file is what counts, and a session without
    // these services simply learns the value at the next login.
    QDBusMessage manager = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.systemd1"), QStringLiteral("/org/freedesktop/systemd1"),
        QStringLiteral("org.freedesktop.systemd1.Manager"), QStringLiteral("SetEnvironment"));
    manager.setArguments({QStringList{u"MANGOHUD=" + value}});
    m_bus->send(manager);

    QDBusMessage activation = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("UpdateActivationEnvironment"));
    activation.setArguments(
        {QVariant::fromValue(Environment{{QStringLiteral("MANGOHUD"), value}})});
    m_bus->send(activation);
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
    if (file.write(content) != content.size() || !file.commit()) {
        return false;
    }
    tellSession(enable ? QStringLiteral("1") : QStringLiteral("0"));
    return true;
}

} // namespace platform
