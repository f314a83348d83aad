#include "AutogroupSchedulingGroups.h"

#include "ProcSchedulingFiles.h"
#include "ProcessIdentity.h"
#include "PseudoFile.h"
#include "platform/PrivilegedRunner.h"

#include <QCoro/QCoroTimer>
#include <QDir>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

using namespace std::chrono_literals;

namespace platform {

namespace {

// Processes of the desktop itself: lowering their group would slow the whole desktop down, and
// raising it would favour the desktop over the game.
const QStringList shellNames = {
    QStringLiteral("gnome-shell"),   QStringLiteral("gnome-session-b"),
    QStringLiteral("plasmashell"),   QStringLiteral("kwin_x11"),
    QStringLiteral("kwin_wayland"),  QStringLiteral("ksmserver"),
    QStringLiteral("xfwm4"),         QStringLiteral("xfce4-panel"),
    QStringLiteral("xfce4-session"), QStringLiteral("cinnamon"),
    QStringLiteral("mate-panel"),    QStringLiteral("lxqt-panel"),
    QStringLiteral("budgie-panel"),  QStringLiteral("openbox"),
    QStringLiteral("mutter"),        QStringLiteral("sway"),
    QStringLiteral("Xorg"),          QStringLiteral("Xwayland"),
};

// The kernel lets an unprivileged process change an autogroup ten times a second at most.
constexpr int writeAttempts = 5;
constexpr auto retryAfter = 120ms;

QString autogroupPath(const QString &procRoot, qint32 pid)
{
    return procRoot + u'/' + QString::number(pid) + QStringLiteral("/autogroup");
}

std::optional<ProcSchedulingFiles::Autogroup> autogroupOf(const QString &procRoot, qint32 pid)
{
    const std::optional<QByteArray> text = PseudoFile::read(autogroupPath(procRoot, pid));
    return text ? ProcSchedulingFiles::autogroupIn(*text) : std::nullopt;
}

// 0 or an errno value.
int writeNice(const QString &path, int nice)
{
    const QByteArray name = QFile::encodeName(path);
    const int fd = ::open(name.constData(), O_WRONLY | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0) {
        return errno;
    }
    const QByteArray value = QByteArray::number(nice);
    const ssize_t written = ::write(fd, value.constData(), size_t(value.size()));
    const int error = written == value.size() ? 0 : (written < 0 ? errno : EIO);
    ::close(fd);
    return error;
}

QString groupName(quint64 group)
{
    return QStringLiteral("autogroup-") + QString::number(group);
}

} // namespace

AutogroupSchedulingGroups::AutogroupSchedulingGroups(QString procRoot, PrivilegedRunner &privileged,
                                                     qint32 ownPid, uint uid)
    : m_procRoot(std::move(procRoot))
    , m_privileged(privileged)
    , m_ownPid(ownPid)
    , m_uid(uid)
{
}

bool AutogroupSchedulingGroups::isSameProcess(qint32 pid, quint64 startTime) const
{
    const std::optional<ProcessIdentity> identity = ProcessIdentity::read(m_procRoot, pid);
    return identity && identity->ownerUid == m_uid &&
           (startTime == 0 || identity->startTime == startTime);
}

bool AutogroupSchedulingGroups::isShared(quint64 group) const
{
    const auto own = autogroupOf(m_procRoot, m_ownPid);
    if (own && own->id == group) {
        return true;
    }
    const QStringList entries = QDir(m_procRoot).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &entry : entries) {
        bool ok = false;
        const qint32 pid = entry.toInt(&ok);
        if (!ok || pid <= 0) {
            continue;
        }
        const std::optional<QByteArray> comm =
            PseudoFile::read(m_procRoot + u'/' + entry + QStringLiteral("/comm"));
        if (!comm || !shellNames.contains(QString::fromUtf8(comm->trimmed()))) {
            continue;
        }
        const auto shell = autogroupOf(m_procRoot, pid);
        if (shell && shell->id == group) {
            return true;
        }
    }
    return false;
}

QCoro::Task<QString> AutogroupSchedulingGroups::setNice(qint32 pid, quint64 startTime, int nice)
{
    if (nice < 0) {
        const PrivilegedStep step = helperStep(pid, startTime, nice);
        std::optional<PrivilegedOutcome> outcome = takePlannedOutcome(step);
        if (!outcome) {
            outcome = co_await m_privileged.run(step.verb, step.arguments);
        }
        co_return outcome->success ? QString() : outcome->message;
    }
    const QString path = autogroupPath(m_procRoot, pid);
    for (int attempt = 1;; ++attempt) {
        const int error = writeNice(path, nice);
        if (error == 0) {
            co_return QString();
        }
        if (error != EAGAIN || attempt == writeAttempts) {
            co_return QString::fromLocal8Bit(std::strerror(error));
        }
        co_await QCoro::sleepFor(retryAfter);
    }
}

PrivilegedStep AutogroupSchedulingGroups::helperStep(qint32 pid, quint64 startTime, int nice)
{
    return {helperVerb,
            {QString::number(pid), QString::number(nice), QString::number(startTime)},
            false};
}

AutogroupSchedulingGroups::Plan AutogroupSchedulingGroups::plan(qint32 pid, quint64 startTime,
                                                                Share share) const
{
    Plan planned{{pid, SchedulingGroupChange::Result::Skipped, {}, {}}, std::nullopt, 0};
    const auto group = autogroupOf(m_procRoot, pid);
    if (!group || !isSameProcess(pid, startTime)) {
        return planned;
    }
    planned.result.group = groupName(group->id);
    for (const Original &done : std::as_const(m_changed)) {
        if (done.group == group->id) {
            return planned;
        }
    }
    if (isShared(group->id)) {
        planned.result.result = SchedulingGroupChange::Result::Shared;
        return planned;
    }
    planned.result.result = SchedulingGroupChange::Result::Changed;
    planned.original = Original{pid, startTime, group->id, group->nice};
    planned.nice = share == Share::Raised ? raisedNice : loweredNice;
    return planned;
}

std::optional<PrivilegedStep> AutogroupSchedulingGroups::stepToChange(qint32 pid, quint64 startTime,
                                                                      Share share) const
{
    const Plan planned = plan(pid, startTime, share);
    if (!planned.original || planned.nice >= 0) {
        return std::nullopt;
    }
    m_planned.removeIf(
        [&](const Original &other) { return other.group == planned.original->group; });
    m_planned.append(*planned.original);
    return helperStep(pid, startTime, planned.nice);
}

QCoro::Task<SchedulingGroupChange> AutogroupSchedulingGroups::change(qint32 pid, quint64 startTime,
                                                                     Share share)
{
    Plan planned = plan(pid, startTime, share);
    SchedulingGroupChange result = planned.result;
    if (!planned.original) {
        co_return result;
    }
    for (qsizetype i = 0; i < m_planned.size(); ++i) {
        const Original &before = m_planned.at(i);
        if (before.pid == pid && before.startTime == startTime &&
            before.group == planned.original->group) {
            planned.original->nice = before.nice;
            m_planned.removeAt(i);
            break;
        }
    }
    const QString failure = co_await setNice(pid, startTime, planned.nice);
    if (!failure.isEmpty()) {
        result.result = SchedulingGroupChange::Result::Failed;
        result.reason = failure;
        co_return result;
    }
    m_changed.append(*planned.original);
    co_return result;
}

bool AutogroupSchedulingGroups::isStillThere(const Original &changed) const
{
    const auto group = autogroupOf(m_procRoot, changed.pid);
    return group && group->id == changed.group && isSameProcess(changed.pid, changed.startTime);
}

QList<PrivilegedStep> AutogroupSchedulingGroups::stepsToRestore() const
{
    QList<PrivilegedStep> steps;
    for (auto it = m_changed.crbegin(); it != m_changed.crend(); ++it) {
        if (it->nice < 0 && isStillThere(*it)) {
            steps.append(helperStep(it->pid, it->startTime, it->nice));
        }
    }
    return steps;
}

QCoro::Task<QList<SchedulingGroupChange>> AutogroupSchedulingGroups::restore()
{
    const QList<Original> changed = std::exchange(m_changed, {});
    QList<SchedulingGroupChange> results;
    for (auto it = changed.crbegin(); it != changed.crend(); ++it) {
        SchedulingGroupChange result{
            it->pid, SchedulingGroupChange::Result::Skipped, groupName(it->group), {}};
        if (isStillThere(*it)) {
            const QString failure = co_await setNice(it->pid, it->startTime, it->nice);
            result.result = failure.isEmpty() ? SchedulingGroupChange::Result::Changed
                                              : SchedulingGroupChange::Result::Failed;
            result.reason = failure;
        }
        results.append(result);
    }
    co_return results;
}

} // namespace platform
