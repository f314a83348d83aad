#include "ScanEngine.h"

#include "ApplicationFinder.h"

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

/// Where removal finds a listed entry: its folder with links resolved, and its own name.
void identify(FileItem &item)
{
    const QByteArray path = QFile::encodeName(item.path);
    const qsizetype slash = path.lastIndexOf('/');
    item.nativePath =
        slash > 0 ? platform::FileSystem::resolvedPath(path.left(slash)) + path.mid(slash) : path;
    if (const auto status = platform::FileSystem::status(item.nativePath)) {
        item.identity = status->identity;
    }
}

} // namespace

ScanEngine::ScanEngine(ScanRoots roots, platform::ToolRunner &runner, const platform::Clock &clock,
                       Console console, Options options, const std::atomic<bool> *stop)
    : m_roots(roots.prepared())
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
    request.cancel = m_stop;
    const platform::ToolResult result = QCoro::waitFor(m_runner.run(std::move(request)));
    if (m_stop && m_stop->load()) {
        return 0; // the scan was called off and du killed: nothing to report
    }
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
    const QByteArray first = result.outputBytes().split('\t').constFirst().trimmed();
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

QByteArray ScanEngine::WalkedFile::nativePath() const
{
    const std::string_view below = entry.path.substr(walkRoot.size());
    QByteArray path(resolvedRoot.data(), qsizetype(resolvedRoot.size()));
    path.append(below.data(), qsizetype(below.size()));
    return path;
}

void ScanEngine::scanDirectory(const QString &path,
                               const std::function<void(const WalkedFile &)> &handler,
                               const QList<platform::FileIdentity> &skipFolders)
{
    const qint64 now = m_clock.now().toMSecsSinceEpoch();
    // The walk reports paths as the root was given; removal needs them free of links (a home
    // reached through /home -> /var/home), so the root is resolved once here.
    QByteArray root = QFile::encodeName(path);
    while (root.endsWith('/')) {
        root.chop(1);
    }
    QByteArray resolved = platform::FileSystem::resolvedPath(root.isEmpty() ? "/" : root);
    if (resolved == "/") {
        resolved.clear();
    }
    const std::string_view walkRoot(root.constData(), std::size_t(root.size()));
    const std::string_view resolvedRoot(resolved.constData(), std::size_t(resolved.size()));
    platform::FileSystem::walk(
        path,
        [&](const platform::WalkEntry &entry) {
            handler(WalkedFile{entry, double(now - entry.modifiedMsecs) / 1000.0 / 86400.0,
                               walkRoot, resolvedRoot});
            return true;
        },
        m_stop, skipFolders);
}

QList<FileItem> ScanEngine::scanHeavyApps()
{
    QList<FileItem> apps;
    for (const ApplicationFinder::Candidate &candidate : ApplicationFinder::candidates(m_roots)) {
        if (m_stop && m_stop->load()) {
            break;
        }
        const qint64 size = getDirectorySize(
            candidate.measuredPath.isEmpty() ? candidate.path : candidate.measuredPath);
        if (size <= CleanerRules::heavyAppFloor) {
            continue;
        }
        FileItem item;
        item.name = candidate.name;
        item.path = candidate.path;
        item.size = size;
        item.sizeFormatted = CleanerRules::formatSize(size);
        item.type = QStringLiteral("app");
        identify(item);
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
    scanDirectory(m_roots.home, [&](const WalkedFile &walked) {
        const platform::WalkEntry &entry = walked.entry;
        if (!qualifies(entry.size, entry.name)) {
            return;
        }
        const QString path = decode(entry.path);
        if (m_protection.isProtected(path)) {
            return;
        }
        list.offer(entry.size, [&] {
            FileItem item;
            item.name = decode(entry.name);
            item.path = path;
            item.size = entry.size;
            item.sizeFormatted = CleanerRules::formatSize(entry.size);
            item.type = type(entry.name);
            item.daysSinceAccess = walked.daysSinceAccess;
            item.nativePath = walked.nativePath();
            item.identity = entry.identity;
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
        const QString path = (m_roots.home == u"/" ? QString() : m_roots.home) + u'/' + name;
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
        identify(item);
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
                                               m_roots.downloadsDir, m_roots.tempDir, m_roots.home};
    // A temporary folder that holds the home (a guest's home in /tmp) is walked without it; the
    // home's own cache and download folders are walked as roots of their own.
    QList<platform::FileIdentity> skipHome;
    if (const auto home = platform::FileSystem::status(
            platform::FileSystem::resolvedPath(QFile::encodeName(m_roots.home)))) {
        skipHome.append(home->identity);
    }
    QList<FileItem> targets;
    for (const QString &directory : m_protection.safeCleanupDirectories()) {
        if (directory.isEmpty()) {
            continue;
        }
        scanDirectory(
            directory,
            [&](const WalkedFile &walked) {
                const platform::WalkEntry &entry = walked.entry;
                if (entry.size <= CleanerRules::cleanupFloor) {
                    return;
                }
                const QString path = decode(entry.path);
                // The walk's own modification time: the decoded path of a name that is not UTF-8
                // names no file.
                const bool stale = double(entry.modifiedMsecs) / 1000.0 < cutoff;
                CleanerRules::CleanupVerdict verdict =
                    CleanerRules::cleanupReasons(folders, path, entry.size, stale);
                // Never a protected path, whichever folder it was found in.
                if (verdict.reasons.isEmpty() || m_protection.isProtected(path)) {
                    return;
                }
                FileItem item;
                item.name = decode(entry.name);
                item.path = path;
                item.size = entry.size;
                item.sizeFormatted = CleanerRules::formatSize(entry.size);
                item.type = verdict.isCache ? QStringLiteral("cache") : QStringLiteral("cleanup");
                item.daysSinceAccess = walked.daysSinceAccess;
                item.reasons = std::move(verdict.reasons);
                item.recommended = true;
                item.nativePath = walked.nativePath();
                item.identity = entry.identity;
                targets.append(std::move(item));
            },
            skipHome);
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
        const auto status = platform::FileSystem::status(
            file.nativePath.isEmpty() ? QFile::encodeName(file.path) : file.nativePath);
        const bool stale = (status ? double(status->modifiedMsecs) / 1000.0 : 0) < staleBefore;
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

    // One entry per file: by its bytes, since two names can decode to the same text.
    QList<FileItem> recommendations;
    QSet<QByteArray> seen;
    for (FileItem &item : candidates) {
        const QByteArray key =
            item.nativePath.isEmpty() ? QFile::encodeName(item.path) : item.nativePath;
        if (!seen.contains(key)) {
            seen.insert(key);
            recommendations.append(std::move(item));
        }
    }
    CleanerRules::sortBySize(recommendations);
    return recommendations;
}
