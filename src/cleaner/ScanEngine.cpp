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

bool isHeavyFile(const platform::WalkEntry &entry)
{
    return entry.size > CleanerRules::heavyFileFloor;
}

bool isHeavyMedia(const platform::WalkEntry &entry)
{
    return entry.size > CleanerRules::heavyMediaFloor &&
           CleanerRules::mediaExtensions().contains(rawExtension(entry.name, true));
}

/// The item of a heavy file or a heavy medium, whose path is already decoded.
FileItem heavyItem(const ScanEngine::WalkedFile &walked, const QString &path, bool medium)
{
    const platform::WalkEntry &entry = walked.entry;
    FileItem item;
    item.name = decode(entry.name);
    item.path = path;
    item.size = entry.size;
    item.sizeFormatted = CleanerRules::formatSize(entry.size);
    if (!medium) {
        item.type = QStringLiteral("file");
    } else if (CleanerRules::videoExtensions().contains(rawExtension(entry.name, true))) {
        item.type = QStringLiteral("video");
    } else {
        item.type = QStringLiteral("image");
    }
    item.daysSinceAccess = walked.daysSinceAccess;
    item.nativePath = walked.nativePath();
    item.identity = entry.identity;
    return item;
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
    scanDirectory(path, handler, skipFolders, {});
}

platform::WalkReport
ScanEngine::scanDirectory(const QString &path,
                          const std::function<void(const WalkedFile &)> &handler,
                          const QList<platform::FileIdentity> &skipFolders,
                          const QList<platform::FileIdentity> &markFolders)
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
    return platform::FileSystem::walk(
        path,
        [&](const platform::WalkEntry &entry) {
            handler(WalkedFile{entry, double(now - entry.modifiedMsecs) / 1000.0 / 86400.0,
                               walkRoot, resolvedRoot});
            return true;
        },
        platform::WalkOptions{m_stop, skipFolders, markFolders});
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

QList<FileItem> ScanEngine::scanHeavyFiles(qsizetype topN)
{
    CleanerRules::FrontEvictionList list(topN);
    scanDirectory(m_roots.home, [&](const WalkedFile &walked) {
        if (!isHeavyFile(walked.entry)) {
            return;
        }
        const QString path = decode(walked.entry.path);
        if (!m_protection.isProtected(path)) {
            list.offer(walked.entry.size, [&] { return heavyItem(walked, path, false); });
        }
    });
    return list.take();
}

QList<FileItem> ScanEngine::scanHeavyMedia(qsizetype topN)
{
    CleanerRules::FrontEvictionList list(topN);
    scanDirectory(m_roots.home, [&](const WalkedFile &walked) {
        if (!isHeavyMedia(walked.entry)) {
            return;
        }
        const QString path = decode(walked.entry.path);
        if (!m_protection.isProtected(path)) {
            list.offer(walked.entry.size, [&] { return heavyItem(walked, path, true); });
        }
    });
    return list.take();
}

ScanEngine::TreeLists ScanEngine::scanTree(qsizetype filesTopN, qsizetype mediaTopN)
{
    const double cutoff = nowSeconds(m_clock) - double(CleanerRules::staleCleanupSecs);
    const CleanerRules::CleanupFolders folders = cleanupFolders();
    const QList<platform::FileIdentity> skipHome = homeToSkip();

    // The cleanup folders the home's walk may pass through, marked by identity: each is then
    // seen exactly as its own walk would see it (entered without links, on the home's mount).
    const QStringList directories = m_protection.safeCleanupDirectories();
    struct Marked {
        qsizetype directory;
        QByteArray rootBytes; ///< the folder's text as its own walk begins its paths
    };
    QList<platform::FileIdentity> markFolders;
    QList<Marked> marked;
    for (qsizetype i = 0; i < directories.size(); ++i) {
        const QString &directory = directories.at(i);
        if (directory.isEmpty()) {
            continue;
        }
        const auto status = platform::FileSystem::status(
            platform::FileSystem::resolvedPath(QFile::encodeName(directory)));
        if (!status || !status->isDirectory || skipHome.contains(status->identity)) {
            continue;
        }
        QByteArray rootBytes = QFile::encodeName(directory);
        while (rootBytes.endsWith('/')) {
            rootBytes.chop(1);
        }
        markFolders.append(status->identity);
        marked.append({i, rootBytes});
    }

    CleanerRules::FrontEvictionList files(filesTopN);
    CleanerRules::FrontEvictionList media(mediaTopN);
    QList<QList<FileItem>> found(directories.size());
    const platform::WalkReport report = scanDirectory(
        m_roots.home,
        [&](const WalkedFile &walked) {
            const platform::WalkEntry &entry = walked.entry;
            const bool heavyFile = isHeavyFile(entry);
            const bool heavyMedia = isHeavyMedia(entry);
            if (heavyFile || heavyMedia) {
                const QString path = decode(entry.path);
                if (!m_protection.isProtected(path)) {
                    if (heavyFile) {
                        files.offer(entry.size, [&] { return heavyItem(walked, path, false); });
                    }
                    if (heavyMedia) {
                        media.offer(entry.size, [&] { return heavyItem(walked, path, true); });
                    }
                }
            }
            if (entry.marks == 0 || entry.size <= CleanerRules::cleanupFloor) {
                return;
            }
            for (qsizetype m = 0; m < marked.size(); ++m) {
                if (!(entry.marks & (quint32(1) << m))) {
                    continue;
                }
                const std::string_view below =
                    entry.path.substr(entry.markedPathLengths[std::size_t(m)]);
                QByteArray bytes = marked.at(m).rootBytes;
                bytes.append(below.data(), qsizetype(below.size()));
                if (auto item = cleanupTarget(folders, cutoff, walked, QFile::decodeName(bytes))) {
                    found[marked.at(m).directory].append(std::move(*item));
                }
            }
        },
        {}, markFolders);

    TreeLists lists;
    lists.heavyFiles = files.take();
    lists.heavyMedia = media.take();
    for (qsizetype i = 0; i < directories.size(); ++i) {
        bool served = false;
        for (qsizetype m = 0; m < marked.size(); ++m) {
            const quint32 bit = quint32(1) << m;
            served = served || (marked.at(m).directory == i && (report.enteredMarks & bit) &&
                                !(report.cutMarks & bit));
        }
        if (served) {
            lists.cleanupTargets.append(std::move(found[i]));
        } else if (!directories.at(i).isEmpty()) {
            // Outside the home, behind a link, on another mount, or deeper than its walk went.
            walkCleanupFolder(directories.at(i), skipHome, lists.cleanupTargets);
        }
    }
    return lists;
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

CleanerRules::CleanupFolders ScanEngine::cleanupFolders() const
{
    return {m_roots.cacheDir, m_roots.logsDir, m_roots.downloadsDir, m_roots.tempDir, m_roots.home};
}

QList<platform::FileIdentity> ScanEngine::homeToSkip() const
{
    // A temporary folder that holds the home (a guest's home in /tmp) is walked without it; the
    // home's own cache and download folders are walked as roots of their own.
    QList<platform::FileIdentity> skipHome;
    if (const auto home = platform::FileSystem::status(
            platform::FileSystem::resolvedPath(QFile::encodeName(m_roots.home)))) {
        skipHome.append(home->identity);
    }
    return skipHome;
}

std::optional<FileItem> ScanEngine::cleanupTarget(const CleanerRules::CleanupFolders &folders,
                                                  double cutoff, const WalkedFile &walked,
                                                  const QString &path) const
{
    const platform::WalkEntry &entry = walked.entry;
    // The walk's own modification time: the decoded path of a name that is not UTF-8 names no
    // file.
    const bool stale = double(entry.modifiedMsecs) / 1000.0 < cutoff;
    CleanerRules::CleanupVerdict verdict =
        CleanerRules::cleanupReasons(folders, path, entry.size, stale);
    // Never a protected path, whichever folder it was found in.
    if (verdict.reasons.isEmpty() || m_protection.isProtected(path)) {
        return std::nullopt;
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
    return item;
}

void ScanEngine::walkCleanupFolder(const QString &directory,
                                   const QList<platform::FileIdentity> &skip,
                                   QList<FileItem> &targets)
{
    const double cutoff = nowSeconds(m_clock) - double(CleanerRules::staleCleanupSecs);
    const CleanerRules::CleanupFolders folders = cleanupFolders();
    scanDirectory(
        directory,
        [&](const WalkedFile &walked) {
            if (walked.entry.size <= CleanerRules::cleanupFloor) {
                return;
            }
            if (auto item = cleanupTarget(folders, cutoff, walked, decode(walked.entry.path))) {
                targets.append(std::move(*item));
            }
        },
        skip);
}

QList<FileItem> ScanEngine::scanCleanupTargets()
{
    const QList<platform::FileIdentity> skipHome = homeToSkip();
    QList<FileItem> targets;
    for (const QString &directory : m_protection.safeCleanupDirectories()) {
        if (!directory.isEmpty()) {
            walkCleanupFolder(directory, skipHome, targets);
        }
    }
    return targets;
}

QList<FileItem> ScanEngine::generateRecommendations(const QList<FileItem> &heavyFiles)
{
    return generateRecommendations(heavyFiles, scanCleanupTargets());
}

QList<FileItem> ScanEngine::generateRecommendations(const QList<FileItem> &heavyFiles,
                                                    QList<FileItem> cleanupTargets)
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
    candidates.append(std::move(cleanupTargets));

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
