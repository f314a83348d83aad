#pragma once

#include "platform/SchedulingGroups.h"

#include <QDBusConnection>
#include <QList>
#include <QString>

#include <variant>

namespace platform {

/// Per-application units under the user's systemd on cgroup v2: the processor is shared between
/// units by their CPUWeight, which the user's own manager changes for the user's own units
/// without root. Changes are made at runtime only: nothing is written to disk.
class SystemdSchedulingGroups final : public SchedulingGroups {
public:
    static constexpr quint64 raisedWeight = 1000;
    static constexpr quint64 loweredWeight = 10;

    /// bus: the user's session bus; procRoot: "/proc" (tests give a folder of their own); only
    /// processes of uid are changed; ownPid's unit is never changed.
    SystemdSchedulingGroups(QDBusConnection bus, QString procRoot, qint32 ownPid, uint uid);

    QCoro::Task<SchedulingGroupChange> change(qint32 pid, quint64 startTime, Share share) override;
    QCoro::Task<QList<SchedulingGroupChange>> restore() override;

private:
    struct Original {
        qint32 pid;
        quint64 startTime;
        QString unit;
        quint64 weight;
    };

    /// The unit's CPUWeight (UINT64_MAX when unset), or one line why it cannot be read.
    QCoro::Task<std::variant<quint64, QString>> weightOf(QString unit);
    /// Empty on success, else one line.
    QCoro::Task<QString> setWeight(QString unit, quint64 weight);
    [[nodiscard]] bool isSameProcess(qint32 pid, quint64 startTime) const;

    QDBusConnection m_bus;
    QString m_procRoot;
    qint32 m_ownPid;
    uint m_uid;
    QList<Original> m_changed;
};

} // namespace platform
