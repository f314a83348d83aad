#pragma once

#include "RunningApplications.h"

#include <memory>

namespace platform {

/// The applications with windows followed by those found another way (applications closed to
/// the tray keep running without a window), one entry per application: an entry of the second
/// list is left out when the first already has its process, its desktop id or its name. The
/// first list says which one is in front.
class MergedRunningApplications final : public RunningApplications {
public:
    MergedRunningApplications(std::unique_ptr<RunningApplications> windowed,
                              std::unique_ptr<RunningApplications> background);

    QList<RunningApplication> applications() override;
    std::optional<qint32> frontmostPid() override;

    /// windowed, then the entries of background none of windowed (or an earlier entry of
    /// background) stands for already.
    [[nodiscard]] static QList<RunningApplication>
    merged(const QList<RunningApplication> &windowed, const QList<RunningApplication> &background);

private:
    std::unique_ptr<RunningApplications> m_windowed;
    std::unique_ptr<RunningApplications> m_background;
};

} // namespace platform
