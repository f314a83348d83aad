#pragma once

#include "platform/SchedulingGroups.h"

#include <QList>
#include <QString>

namespace platform {

/// The kernel's autogroups (each session its own group, shared fairly): a group's nice sets its
/// weight against the others. Raising one below 0 needs root and goes through the helper; any
/// other value the user may write to /proc/PID/autogroup of their own processes.
class AutogroupSchedulingGroups final : public SchedulingGroups {
public:
    static constexpr int raisedNice = -10;
    static constexpr int loweredNice = 10;
    /// The helper's action that sets a group's nice.
    static inline const QString helperVerb = QStringLiteral("autogroup");

    /// procRoot: "/proc" (tests give a folder of their own); only processes of uid are changed;
    /// ownPid's group is never changed.
    AutogroupSchedulingGroups(QString procRoot, PrivilegedRunner &privileged, qint32 ownPid,
                              uint uid);

    QCoro::Task<SchedulingGroupChange> change(qint32 pid, quint64 startTime, Share share) override;
    QCoro::Task<QList<SchedulingGroupChange>> restore() override;
    /// Only raising a group (below 0) needs the helper.
    [[nodiscard]] std::optional<PrivilegedStep> stepToChange(qint32 pid, quint64 startTime,
                                                             Share share) const override;
    [[nodiscard]] QList<PrivilegedStep> stepsToRestore() const override;

private:
    struct Original {
        qint32 pid;
        quint64 startTime;
        quint64 group;
        int nice;
    };

    /// What a change of pid's group comes to before it is made: the result it ends with
    /// already (Skipped, Shared), or Changed with the group's original and the nice to set.
    struct Plan {
        SchedulingGroupChange result;
        std::optional<Original> original;
        int nice = 0;
    };
    [[nodiscard]] Plan plan(qint32 pid, quint64 startTime, Share share) const;
    /// The changed group of it still holds the process that was changed.
    [[nodiscard]] bool isStillThere(const Original &changed) const;
    [[nodiscard]] static PrivilegedStep helperStep(qint32 pid, quint64 startTime, int nice);
    /// Sets the nice of pid's group; empty on success, else one line.
    QCoro::Task<QString> setNice(qint32 pid, quint64 startTime, int nice);
    /// The process is still the one that started at startTime and belongs to the user.
    [[nodiscard]] bool isSameProcess(qint32 pid, quint64 startTime) const;
    /// The group also holds this program or a process of the desktop shell.
    [[nodiscard]] bool isShared(quint64 group) const;

    QString m_procRoot;
    PrivilegedRunner &m_privileged;
    qint32 m_ownPid;
    uint m_uid;
    QList<Original> m_changed;
    /// Each group's nice as it was when its helper step was planned: by the time change() runs,
    /// the batch holding that step has already changed it.
    mutable QList<Original> m_planned;
};

} // namespace platform
