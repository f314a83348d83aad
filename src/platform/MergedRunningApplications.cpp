#include "MergedRunningApplications.h"

#include <QSet>

namespace platform {

MergedRunningApplications::MergedRunningApplications(
    std::unique_ptr<RunningApplications> windowed, std::unique_ptr<RunningApplications> background)
    : m_windowed(std::move(windowed))
    , m_background(std::move(background))
{
}

QList<RunningApplication> MergedRunningApplications::applications()
{
    return merged(m_windowed ? m_windowed->applications() : QList<RunningApplication>(),
                  m_background ? m_background->applications() : QList<RunningApplication>());
}

std::optional<qint32> MergedRunningApplications::frontmostPid()
{
    return m_windowed ? m_windowed->frontmostPid() : std::nullopt;
}

QList<RunningApplication>
MergedRunningApplications::merged(const QList<RunningApplication> &windowed,
                                  const QList<RunningApplication> &background)
{
    QList<RunningApplication> result = windowed;
    QSet<qint32> pids;
    // Desktop ids are matched without case: a window's class and a unit's name spell the same
    // application differently ("discord", "Discord").
    QSet<QString> ids;
    QSet<QString> names;
    const auto remember = [&](const RunningApplication &application) {
        pids.insert(application.pid);
        if (!application.bundleIdentifier.isEmpty()) {
            ids.insert(application.bundleIdentifier.toCaseFolded());
        }
        if (!application.name.isEmpty()) {
            names.insert(application.name);
        }
    };
    for (const RunningApplication &application : windowed) {
        remember(application);
    }
    for (const RunningApplication &application : background) {
        const bool known = pids.contains(application.pid) ||
                           (!application.bundleIdentifier.isEmpty() &&
                            ids.contains(application.bundleIdentifier.toCaseFolded())) ||
                           (!application.name.isEmpty() && names.contains(application.name));
        if (known) {
            continue;
        }
        remember(application);
        result.append(application);
    }
    return result;
}

} // namespace platform
