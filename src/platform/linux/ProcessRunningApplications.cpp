#include "ProcessRunningApplications.h"

#include "ApplicationName.h"
#include "ProcessIdentity.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>

#include <algorithm>

namespace platform {

namespace {

constexpr qint64 maximumFileBytes = 256 * 1024;

QByteArray readSmallFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return file.read(maximumFileBytes);
}

// systemd writes characters outside its unit-name alphabet as "\xNN".
QString unescapeUnit(const QString &name)
{
    QByteArray result;
    const QByteArray raw = name.toUtf8();
    for (qsizetype i = 0; i < raw.size(); ++i) {
        if (raw.at(i) == '\\' && i + 3 < raw.size() && raw.at(i + 1) == 'x') {
            bool ok = false;
            const int value = raw.mid(i + 2, 2).toInt(&ok, 16);
            if (ok) {
                result.append(char(value));
                i += 3;
                continue;
            }
        }
        result.append(raw.at(i));
    }
    return QString::fromUtf8(result);
}

} // namespace

ProcessRunningApplications::ProcessRunningApplications(QString procRoot, DesktopEntryIndex index,
                                                       qint32 ownPid, uint uid)
    : m_procRoot(std::move(procRoot))
    , m_index(std::move(index))
    , m_ownPid(ownPid)
    , m_uid(uid)
{
}

QString ProcessRunningApplications::unitApplication(const QByteArray &cgroup)
{
    // "app[-LAUNCHER]-APPID[@RANDOM].service" or "app[-LAUNCHER]-APPID-RANDOM.scope", the last
    // element of the unified hierarchy's path ("0::/user.slice/…").
    static const QRegularExpression unit(
        QStringLiteral(R"(^app-(.+?)(?:-[0-9a-fA-F]+\.scope|@[^/]*\.service|\.service|\.scope)$)"));
    for (const QByteArray &rawLine : cgroup.split('\n')) {
        const QString line = QString::fromUtf8(rawLine).trimmed();
        if (!line.startsWith(u"0::")) {
            continue;
        }
        const QString last = line.section(u'/', -1);
        const QRegularExpressionMatch match = unit.match(last);
        if (!match.hasMatch()) {
            continue;
        }
        // An escaped "/" or NUL would make the id a path, or cut it short, where it names a file.
        const QString application = unescapeUnit(match.captured(1));
        if (!application.contains(u'/') && !application.contains(QChar(0))) {
            return application;
        }
    }
    return {};
}

QStringList ProcessRunningApplications::candidateIds(const QString &unitApplication)
{
    if (unitApplication.isEmpty()) {
        return {};
    }
    QStringList ids{unitApplication};
    // A launcher's prefix ("gnome-", "kde-", "flatpak-") cannot be told from a dash in the id
    // itself, so the id without it is tried second.
    const qsizetype dash = unitApplication.indexOf(u'-');
    if (dash > 0 && dash + 1 < unitApplication.size()) {
        ids.append(unitApplication.mid(dash + 1));
    }
    return ids;
}

QList<RunningApplication> ProcessRunningApplications::applications()
{
    const QStringList entries =
        QDir(m_procRoot).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::NoSort);
    QList<qint32> pids;
    for (const QString &entry : entries) {
        bool numeric = false;
        const qint32 pid = entry.toInt(&numeric);
        if (numeric && pid >= 1 && pid != m_ownPid) {
            pids.append(pid);
        }
    }
    std::sort(pids.begin(), pids.end());

    QList<RunningApplication> result;
    QHash<QString, qsizetype> byUnit; // one entry per application unit: its first process
    for (const qint32 pid : std::as_const(pids)) {
        const QString folder = m_procRoot + u'/' + QString::number(pid);
        // Only the user's own processes, each with the start time that tells it from a later
        // process given the same pid.
        const std::optional<ProcessIdentity> identity = ProcessIdentity::read(m_procRoot, pid);
        if (!identity || identity->ownerUid != m_uid) {
            continue;
        }
        QString desktopId;
        QStringList candidates;
        const QString unitApp = unitApplication(readSmallFile(folder + QStringLiteral("/cgroup")));
        if (!unitApp.isEmpty()) {
            if (byUnit.contains(unitApp)) {
                continue;
            }
            candidates = candidateIds(unitApp);
        } else {
            // Launched from a desktop entry: only the launched process itself, not the children
            // that inherited its environment.
            QString launchedFile;
            QString launchedPid;
            for (const QByteArray &variable :
                 readSmallFile(folder + QStringLiteral("/environ")).split('\0')) {
                if (variable.startsWith("GIO_LAUNCHED_DESKTOP_FILE=")) {
                    launchedFile = QString::fromUtf8(variable.mid(26));
                } else if (variable.startsWith("GIO_LAUNCHED_DESKTOP_FILE_PID=")) {
                    launchedPid = QString::fromUtf8(variable.mid(30));
                }
            }
            if (launchedFile.isEmpty() ||
                (!launchedPid.isEmpty() && launchedPid != QString::number(pid))) {
                continue;
            }
            QString base = QFileInfo(launchedFile).fileName();
            if (base.endsWith(u".desktop")) {
                base.chop(8);
            }
            if (base.isEmpty()) {
                continue;
            }
            candidates = {base};
        }

        RunningApplication application;
        application.pid = pid;
        application.startTime = identity->startTime;
        for (const QString &candidate : std::as_const(candidates)) {
            if (const auto entry = m_index.lookup(candidate, candidate)) {
                application.name = entry->name;
                desktopId = entry->id;
                break;
            }
        }
        if (desktopId.isEmpty()) {
            desktopId = candidates.constLast();
        }
        application.bundleIdentifier = desktopId;
        if (application.name.isEmpty()) {
            // No entry: the process's own name.
            application.name = ApplicationName::fromProgram(
                QString::fromUtf8(readSmallFile(folder + QStringLiteral("/comm"))).trimmed());
        }
        if (!unitApp.isEmpty()) {
            byUnit.insert(unitApp, result.size());
        }
        result.append(application);
    }
    return result;
}

} // namespace platform
