#pragma once

#include "DesktopEntryIndex.h"
#include "platform/RunningApplications.h"

#include <QByteArray>

#include <functional>
#include <memory>
#include <unistd.h>

namespace platform {

/// The user's windows as sway lists them in its tree, native Wayland ones by their app_id and
/// XWayland ones by their window class, each named by its desktop entry; the focused window is
/// in front. When sway cannot be asked, the fallback's list (with nothing in front).
class SwayRunningApplications final : public RunningApplications {
public:
    /// Gives sway's tree as JSON, or nothing when sway did not answer.
    using TreeSource = std::function<QByteArray()>;

    /// A game run through Proton (window class "steam_app_N") is named by its manifest in the
    /// libraries of steamRoots.
    SwayRunningApplications(TreeSource tree, DesktopEntryIndex index, qint32 ownPid,
                            std::unique_ptr<RunningApplications> fallback,
                            QString procRoot = QStringLiteral("/proc"), uint uid = ::getuid(),
                            QStringList steamRoots = {});

    /// Asks the sway listening on that socket for its tree (IPC message GET_TREE), waiting at
    /// most a second: the socket is local and sway answers at once.
    [[nodiscard]] static QByteArray askForTree(const QString &socketPath);

    QList<RunningApplication> applications() override;
    std::optional<qint32> frontmostPid() override;

private:
    TreeSource m_tree;
    DesktopEntryIndex m_index;
    qint32 m_ownPid;
    std::unique_ptr<RunningApplications> m_fallback;
    QString m_procRoot;
    uint m_uid;
    QStringList m_steamRoots;
};

} // namespace platform
