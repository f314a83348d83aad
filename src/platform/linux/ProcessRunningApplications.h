#pragma once

#include "DesktopEntryIndex.h"
#include "platform/RunningApplications.h"

namespace platform {

/// The user's applications found from their processes, for sessions without an X connection:
/// a process counts when its control group is an application scope ("app-….scope" or
/// "app-….service", as desktops launch applications under systemd) or when it is the process a
/// desktop launched from an entry (GIO_LAUNCHED_DESKTOP_FILE). Nothing knows which is in front.
class ProcessRunningApplications final : public RunningApplications {
public:
    /// procRoot: "/proc" (tests give a folder of their own); only processes of uid count.
    ProcessRunningApplications(QString procRoot, DesktopEntryIndex index, qint32 ownPid, uint uid);

    QList<RunningApplication> applications() override;
    std::optional<qint32> frontmostPid() override { return std::nullopt; }

    /// The application id a control group line names, with systemd's escapes undone and the
    /// launcher's prefix and the instance suffix kept (several candidates may be tried); empty
    /// when the process is not in an application unit.
    [[nodiscard]] static QString unitApplication(const QByteArray &cgroup);
    /// The desktop ids an application unit's name may stand for, most likely first.
    [[nodiscard]] static QStringList candidateIds(const QString &unitApplication);

private:
    QString m_procRoot;
    DesktopEntryIndex m_index;
    qint32 m_ownPid;
    uint m_uid;
};

} // namespace platform
