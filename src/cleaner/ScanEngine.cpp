#include "ScanEngine.h"

#include "ApplicationFinder.h"
#include "platform/FileSystem.h"

#include <QCoro/QCoroTask>
#include <QFile>
#include <QSet>

namespace {

double nowSeconds(const platform::Clock &clock)
{
    return double(clock.now().toMSecsSinceEpoch()) / 1000.0;
}

QString decode(std::string_view bytes)
{
    return QFile::decodeName(QByteArray(bytes.data(), qsizetype(bytes.size())));
}

/// "." + the extension of a raw name, lower-cased when asked; "." when there is none.
QString rawExtension(std::string_view name, bool lower)
{
    const std::size_t dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0) {
        return QStringLiteral(".");
    }
    QString extension = u'.' + decode(name.substr(dot + 1));
    return lower ? extension.toLower() : extension;
}

QStringList safeDirectories(const ScanRoots &roots)
{
    return {roots.cacheDir, roots.logsDir, roots.downloadsDir, roots.tempDir};
}

} // namespace

ScanEngine::ScanEngine(ScanRoots roots, platform::ToolRunner &runner, const platform::Clock &clock,
                       Console console, Options options, const std::atomic<bool> *stop)
    : m_roots(std::move(roots))
    , m_runner(runner)
    , m_clock(clock)
    , m_console(std::move(console))
    , m_options(std::move(options))
    , m_stop(stop)
    , m_protection(m_roots.home, safeDirectories(m_roots),
                   ApplicationFinder::steamLibraries(m_roots))
{
}

qint64 ScanEngine::getDirectorySize(const QString &path)
{
    platform::ToolRequest request;
    request.program = m_options.duProgram;
    request.arguments = {QStringLiteral("-sk"), QStringLiteral("--"), path};
    request.timeout = m_options.duTimeout;
    const platform::ToolResult result = QCoro::waitFor(m_runner.run(std::move(request)));
    switch (result.outcome) {
    case platform::ToolResult::Outcome::FailedToStart:
        m_console(u"du error: cannot start " + m_options.duProgram +
                  u" (missing or not executable)");
        return 0;
    case platform::ToolResult::Outcome::TimedOut:
        m_console(u"du error: " + m_options.duProgram + u" timed out measuring " + path);
        return 0;
    case platform::ToolResult::Outcome::Crashed:
        m_console(u"du error: " + m_options.duProgram + u" crashed measuring " + path);
        return 0;
    case platform::ToolResult::Outcome::Finished:
        break;
    }
    // A partial total (exit status 1 for unreadable parts) is still the size.
    const QByteArray first = result.standardOutput.split('\t').constFirst().trimmed();
    bool ok = false;
    const qint64 kibibytes = first.toLongLong(&ok);
    return ok && kibibytes >= 0 ? kibibytes * 1024 : 0;
}

qint64 ScanEngine::getFileSize(const QString &path)
{
    const auto status = platform::FileSystem::status(path);
    return status ? status->size : 0;
}

double ScanEngine::getFileAccessTime(const QString &path)
{
    const auto status = platform::FileSystem::status(path);
    return status ? double(status->modifiedMsecs) / 1000.0 : 0;
}

void ScanEngine::scanDirectory(
    const QString &path,
    const std::function<void(std::string_view, std::string_view, qint64, double)> &handler)
{
    const qint64 now = m_clock.now().toMSecsSinceEpoch();
    platform::FileSystem::walk(
        path,
        [&](const platform::WalkEntry &entry) {
            handler(entry.path, entry.name, entry.size,
                    double(now - entry.modifiedMsecs) / 1000.0 / 86400.0);
            return true;
        },
        m_stop);
}

QList<FileItem> ScanEngine::scanHeavyApps()
{
    QList<FileItem> apps;
    for (const ApplicationFinder::Candidate &candidate : ApplicationFinder::candidates(m_roots)) {
        if (m_stop && m_stop->load()) {
            break;
        }
        const qint64 size = getDirectorySize(candidate.path);
        if (size <= CleanerRules::heavyAppFloor) {
            continue;
        }
        FileItem item;
        item.name = candidate.name;
        item.path = candidate.path;
        item.size = size;
        item.sizeFormatted = CleanerRules::formatSize(size);
        item.type = QStringLiteral("app");
        apps.append(std::move(item));
    }
    CleanerRules::sortBySize(apps);
    if (apps.size() > 10) {
        apps.resize(10);
    }
    return apps;
}

template <typename Qualifies, typename Type>
QList<FileItem> ScanEngine::scanHeavy(qsizetype topN, Qualifies &&qualifies, Type &&type)
{
    CleanerRules::FrontEvictionList list(topN);
    scanDirectory(m_roots.home, [&](std::string_view rawPath, std::string_view rawName, qint64 size,
                                    double days) {
        if (!qualifies(size, rawName)) {
            return;
        }
        const QString path = decode(rawPath);
        if (m_protection.isProtected(path)) {
            return;
        }
        list.offer(size, [&] {
            FileItem item;
            item.name = decode(rawName);
            item.path = path;
            item.size = size;
            item.sizeFormatted = CleanerRules::formatSize(size);
            item.type = type(rawName);
            item.daysSinceAccess = days;
            return item;
        });
    });
    return list.take();
}

QList<FileItem> ScanEngine::scanHeavyFiles(qsizetype topN)
{
    return scanHeavy(
        topN, [](qint64 size, std::string_view) { return size > CleanerRules::heavyFileFloor; },
        [](std::string_view) { return QStringLiteral("file"); });
}

QList<FileItem> ScanEngine::scanHeavyMedia(qsizetype topN)
{
    return scanHeavy(
        topN,
        [](qint64 size, std::string_view name) {
            return size > CleanerRules::heavyMediaFloor &&
                   CleanerRules::mediaExtensions().contains(rawExtension(name, true));
        },
        [](std::string_view name) {
            return CleanerRules::videoExtensions().contains(rawExtension(name, true))
                       ? QStringLiteral("video")
                       : QStringLiteral("image");
        });
}

QList<FileItem> ScanEngine::scanHeavyFolders(qsizetype topN)
{
    QList<FileItem> folders;
    const std::optional<QStringList> names = platform::FileSystem::list(m_roots.home);
    if (!names) {
        return folders;
    }
    for (const QString &name : *names) {
        if (m_stop && m_stop->load()) {
            break;
        }
        const QString path = m_roots.home + u'/' + name;
        const auto status = platform::FileSystem::status(path);
        // A link is not a folder: what it points to is neither walked nor measured.
        if (!status || !status->isDirectory) {
            continue;
        }
        // Protected folders are never listed; they are not measured either, which saves the
        // largest du calls (the hidden folders) and changes no result.
        if (m_protection.isProtected(path)) {
            continue;
        }
        const qint64 size = getDirectorySize(path);
        if (size <= CleanerRules::heavyFolderFloor) {
            continue;
        }
        FileItem item;
        item.name = name;
        item.path = path;
        item.size = size;
        item.sizeFormatted = CleanerRules::formatSize(size);
        item.type = QStringLiteral("folder");
        folders.append(std::move(item));
    }
    CleanerRules::sortBySize(folders);
    if (folders.size() > topN) {
        folders.resize(topN);
    }
    return folders;
}

QList<FileItem> ScanEngine::scanCleanupTargets()
{
    const double cutoff = nowSeconds(m_clock) - double(CleanerRules::staleCleanupSecs);
    const CleanerRules::CleanupFolders folders{m_roots.cacheDir, m_roots.logsDir,
                                               m_roots.downloadsDir, m_roots.tempDir};
    QList<FileItem> targets;
    for (const QString &directory : m_protection.safeCleanupDirectories()) {
        if (directory.isEmpty()) {
            continue;
        }
        scanDirectory(directory, [&](std::string_view rawPath, std::string_view rawName,
                                     qint64 size, double days) {
            if (size <= CleanerRules::cleanupFloor) {
                return;
            }
            const QString path = decode(rawPath);
            const bool stale = getFileAccessTime(path) < cutoff;
            CleanerRules::CleanupVerdict verdict =
                CleanerRules::cleanupReasons(folders, path, size, stale);
            // Never a protected path, whichever folder it was found in.
            if (verdict.reasons.isEmpty() || m_protection.isProtected(path)) {
                return;
            }
            FileItem item;
            item.name = decode(rawName);
            item.path = path;
            item.size = size;
            item.sizeFormatted = CleanerRules::formatSize(size);
            item.type = verdict.isCache ? QStringLiteral("cache") : QStringLiteral("cleanup");
            item.daysSinceAccess = days;
            item.reasons = std::move(verdict.reasons);
            item.recommended = true;
            targets.append(std::move(item));
        });
    }
    return targets;
}

QList<FileItem> ScanEngine::generateRecommendations(const QList<FileItem> &heavyFiles)
{
    const double staleBefore = nowSeconds(m_clock) - double(CleanerRules::staleHeavyFileSecs);
    QList<FileItem> candidates;
    for (const FileItem &file : heavyFiles) {
        if (m_protection.isProtected(file.path)) {
            continue;
        }
        const bool stale = getFileAccessTime(file.path) < staleBefore;
        QStringList reasons = CleanerRules::heavyFileReasons(file, m_roots.downloadsDir, stale);
        if (reasons.isEmpty()) {
            continue;
        }
        FileItem item = file;
        item.reasons = std::move(reasons);
        item.recommended = true;
        candidates.append(std::move(item));
    }
    candidates.append(scanCleanupTargets());

    QList<FileItem> recommendations;
    QSet<QString> seen;
    for (FileItem &item : candidates) {
        if (!seen.contains(item.path)) {
            seen.insert(item.path);
            recommendations.append(std::move(item));
        }
    }
    CleanerRules::sortBySize(recommendations);
    return recommendations;
}
