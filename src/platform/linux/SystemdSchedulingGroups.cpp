#include "SystemdSchedulingGroups.h"

#include "ProcSchedulingFiles.h"
#include "ProcessIdentity.h"
#include "PseudoFile.h"

#include <QCoro/QCoroDBusPendingCall>
#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVariant>

#include <algorithm>

namespace {

// One entry of SetUnitProperties' a(sv).
struct UnitProperty {
    QString name;
    QDBusVariant value;
};

QDBusArgument &operator<<(QDBusArgument &argument, const UnitProperty &property)
{
    argument.beginStructure();
    argument << property.name << property.value;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, UnitProperty &property)
{
    argument.beginStructure();
    argument >> property.name >> property.value;
    argument.endStructure();
    return argument;
}

} // namespace

Q_DECLARE_METATYPE(UnitProperty)

namespace platform {

namespace {

const QString managerService = QStringLiteral("org.freedesktop.systemd1");
const QString managerPath = QStringLiteral("/org/freedesktop/systemd1");
const QString managerInterface = QStringLiteral("org.freedesktop.systemd1.Manager");

QString errorOf(const QDBusMessage &reply)
{
    if (reply.type() == QDBusMessage::ErrorMessage) {
        const QString message = reply.errorMessage().section(u'\n', 0, 0);
        return message.isEmpty() ? reply.errorName() : message;
    }
    return {};
}

// Units of the user's manager that run the desktop itself rather than an application.
bool isDesktopUnit(const QString &unit)
{
    static const QStringList prefixes = {
        QStringLiteral("init.scope"),
        QStringLiteral("org.gnome.Shell"),
        QStringLiteral("org.gnome.Session"),
        QStringLiteral("gnome-session"),
        QStringLiteral("plasma-"),
        QStringLiteral("dbus"),
        QStringLiteral("xdg-"),
        QStringLiteral("pipewire"),
        QStringLiteral("wireplumber"),
        QStringLiteral("pulseaudio"),
    };
    return std::any_of(prefixes.cbegin(), prefixes.cend(),
                       [&](const QString &prefix) { return unit.startsWith(prefix); });
}

std::optional<ProcSchedulingFiles::Unit> unitOf(const QString &procRoot, qint32 pid)
{
    const std::optional<QByteArray> text =
        PseudoFile::read(procRoot + u'/' + QString::number(pid) + QStringLiteral("/cgroup"));
    return text ? ProcSchedulingFiles::unitIn(*text) : std::nullopt;
}

} // namespace

SystemdSchedulingGroups::SystemdSchedulingGroups(QDBusConnection bus, QString procRoot,
                                                 qint32 ownPid, uint uid)
    : m_bus(std::move(bus))
    , m_procRoot(std::move(procRoot))
    , m_ownPid(ownPid)
    , m_uid(uid)
{
    qDBusRegisterMetaType<UnitProperty>();
    qDBusRegisterMetaType<QList<UnitProperty>>();
}

bool SystemdSchedulingGroups::isSameProcess(qint32 pid, quint64 startTime) const
{
    const std::optional<ProcessIdentity> identity = ProcessIdentity::read(m_procRoot, pid);
    return identity && identity->ownerUid == m_uid &&
           (startTime == 0 || identity->startTime == startTime);
}

QCoro::Task<std::variant<quint64, QString>> SystemdSchedulingGroups::weightOf(QString unit)
{
    QDBusMessage getUnit = QDBusMessage::createMethodCall(
        managerService, managerPath, managerInterface, QStringLiteral("GetUnit"));
    getUnit.setArguments({unit});
    const QDBusMessage found = co_await m_bus.asyncCall(getUnit);
    if (const QString error = errorOf(found); !error.isEmpty()) {
        co_return error;
    }
    const QDBusObjectPath path = found.arguments().value(0).value<QDBusObjectPath>();
    if (path.path().isEmpty()) {
        co_return QStringLiteral("the service manager gave no unit");
    }
    const QString interface = unit.endsWith(QLatin1String(".scope"))
                                  ? QStringLiteral("org.freedesktop.systemd1.Scope")
                                  : QStringLiteral("org.freedesktop.systemd1.Service");
    QDBusMessage get = QDBusMessage::createMethodCall(
        managerService, path.path(), QStringLiteral("org.freedesktop.DBus.Properties"),
        QStringLiteral("Get"));
    get.setArguments({interface, QStringLiteral("CPUWeight")});
    const QDBusMessage reply = co_await m_bus.asyncCall(get);
    if (const QString error = errorOf(reply); !error.isEmpty()) {
        co_return error;
    }
    bool ok = false;
    const quint64 weight =
        reply.arguments().value(0).value<QDBusVariant>().variant().toULongLong(&ok);
    if (!ok) {
        co_return QStringLiteral("the unit has no processor weight");
    }
    co_return weight;
}

QCoro::Task<QString> SystemdSchedulingGroups::setWeight(QString unit, quint64 weight)
{
    QDBusMessage set = QDBusMessage::createMethodCall(managerService, managerPath, managerInterface,
                                                      QStringLiteral("SetUnitProperties"));
    // runtime = true: gone with the unit or the next login, never written to disk.
    const QList<UnitProperty> properties{
        {QStringLiteral("CPUWeight"), QDBusVariant(QVariant::fromValue(weight))}};
    set.setArguments({unit, true, QVariant::fromValue(properties)});
    const QDBusMessage reply = co_await m_bus.asyncCall(set);
    co_return errorOf(reply);
}

QCoro::Task<SchedulingGroupChange> SystemdSchedulingGroups::change(qint32 pid, quint64 startTime,
                                                                   Share share)
{
    SchedulingGroupChange result{pid, SchedulingGroupChange::Result::Skipped, {}, {}};
    const auto unit = unitOf(m_procRoot, pid);
    if (!unit || !isSameProcess(pid, startTime)) {
        co_return result;
    }
    result.group = unit->name;
    for (const Original &done : std::as_const(m_changed)) {
        if (done.unit == unit->name) {
            co_return result;
        }
    }
    const auto own = unitOf(m_procRoot, m_ownPid);
    // A unit outside the user's manager (the login session's scope) holds the desktop shell.
    if (!unit->userManager || isDesktopUnit(unit->name) || (own && own->name == unit->name)) {
        result.result = SchedulingGroupChange::Result::Shared;
        co_return result;
    }
    if (!m_bus.isConnected()) {
        result.result = SchedulingGroupChange::Result::Failed;
        result.reason = QStringLiteral("no session bus");
        co_return result;
    }
    const std::variant<quint64, QString> original = co_await weightOf(unit->name);
    if (const QString *error = std::get_if<QString>(&original)) {
        result.result = SchedulingGroupChange::Result::Failed;
        result.reason = *error;
        co_return result;
    }
    const quint64 weight = share == Share::Raised ? raisedWeight : loweredWeight;
    const QString failure = co_await setWeight(unit->name, weight);
    if (!failure.isEmpty()) {
        result.result = SchedulingGroupChange::Result::Failed;
        result.reason = failure;
        co_return result;
    }
    m_changed.append({pid, startTime, unit->name, std::get<quint64>(original)});
    result.result = SchedulingGroupChange::Result::Changed;
    co_return result;
}

QCoro::Task<QList<SchedulingGroupChange>> SystemdSchedulingGroups::restore()
{
    const QList<Original> changed = std::exchange(m_changed, {});
    QList<SchedulingGroupChange> results;
    for (auto it = changed.crbegin(); it != changed.crend(); ++it) {
        SchedulingGroupChange result{it->pid, SchedulingGroupChange::Result::Skipped, it->unit, {}};
        if (isSameProcess(it->pid, it->startTime)) {
            const QString failure = co_await setWeight(it->unit, it->weight);
            result.result = failure.isEmpty() ? SchedulingGroupChange::Result::Changed
                                              : SchedulingGroupChange::Result::Failed;
            result.reason = failure;
        }
        results.append(result);
    }
    co_return results;
}

} // namespace platform
