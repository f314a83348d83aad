#include "AutogroupSchedulingGroups.h"
#include "PseudoFile.h"
#include "SystemdSchedulingGroups.h"
#include "platform/NoSchedulingGroups.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QFileInfo>

#include <unistd.h>

namespace platform {

std::unique_ptr<SchedulingGroups> SchedulingGroups::create(PrivilegedRunner &privileged)
{
    const QString proc = QStringLiteral("/proc");
    const auto ownPid = qint32(QCoreApplication::applicationPid());
    // On cgroup v2 the kernel's autogroups only apply to the root cgroup, which holds no user
    // application; the units' weights decide there.
    if (QFileInfo::exists(QStringLiteral("/sys/fs/cgroup/cgroup.controllers"))) {
        return std::make_unique<SystemdSchedulingGroups>(QDBusConnection::sessionBus(), proc,
                                                         ownPid, getuid());
    }
    const std::optional<QByteArray> autogroup =
        PseudoFile::read(QStringLiteral("/proc/sys/kernel/sched_autogroup_enabled"));
    if (autogroup && autogroup->trimmed() == "1") {
        return std::make_unique<AutogroupSchedulingGroups>(proc, privileged, ownPid, getuid());
    }
    return std::make_unique<NoSchedulingGroups>();
}

} // namespace platform
