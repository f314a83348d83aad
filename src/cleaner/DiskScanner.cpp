#include "DiskScanner.h"

#include "platform/FileSystem.h"
#include "platform/SystemRoots.h"

#include <QFile>
#include <QMetaObject>
#include <QScopeGuard>
#include <QThread>

#include <cstdio>

namespace {

void printLine(const QString &line)
{
    const QByteArray bytes = line.toLocal8Bit() + '\n';
    std::fwrite(bytes.constData(), 1, std::size_t(bytes.size()), stdout);
    std::fflush(stdout);
}

DiskScanner::Dependencies realDependencies()
{
    DiskScanner::Dependencies dependencies;
    dependencies.roots = ScanRoots::fromSystemRoots(platform::SystemRoots::current());
    dependencies.runner = platform::ToolRunner::create();
    dependencies.trash = platform::Trash::create();
    dependencies.reveal = platform::FileReveal::create();
    dependencies.clock = &platform::Clock::system();
    return dependencies;
}

} // namespace

DiskScanner::DiskScanner(QObject *parent)
    : DiskScanner(realDependencies(), parent)
{
}

DiskScanner::DiskScanner(Dependencies dependencies, QObject *parent)
    : QObject(parent)
    , m_roots(dependencies.roots.normalized())
    , m_runner(std::move(dependencies.runner))
    , m_trash(std::move(dependencies.trash))
    , m_reveal(std::move(dependencies.reveal))
    , m_clock(dependencies.clock ? *dependencies.clock : platform::Clock::system())
    , m_console(dependencies.console ? std::move(dependencies.console) : Console(printLine))
    , m_options(std::move(dependencies.options))
{
}

DiskScanner::~DiskScanner()
{
    m_stop.store(true);
    for (const std::unique_ptr<QThread> &worker : m_workers) {
        worker->wait();
    }
}

QStringList DiskScanner::safeCleanupDirectories() const
{
    // As the next scan will see them; the constructor resolves nothing, so the window never
    // waits on a slow file system at start.
    const ScanRoots roots = m_roots.prepared();
    return {roots.cacheDir, roots.logsDir, roots.downloadsDir, roots.tempDir};
}

void DiskScanner::scanDeepDisk()
{
    if (!m_runner) {
        return;
    }
    // Threads of scans that have ended go; a running one keeps going beside the new one.
    std::erase_if(m_workers,
                  [](const std::unique_ptr<QThread> &worker) { return worker->isFinished(); });
    setIsScanning(true);
    setScanProgress(0);
    std::unique_ptr<QThread> &worker =
        m_workers.emplace_back(QThread::create([this] { runScan(); }));
    worker->setObjectName(QStringLiteral("DiskScanner"));
    worker->start();
}

template <typename Function>
void DiskScanner::post(Function &&function)
{
    // Events posted to one object from one thread arrive in the order they were posted; those
    // still queued when the scanner is destroyed are dropped with it.
    QMetaObject::invokeMethod(this, std::forward<Function>(function), Qt::QueuedConnection);
}

void DiskScanner::updateProgress(const QString &message, double progress)
{
    post([this, message, progress] {
        setScanMessage(message);
        setScanProgress(progress);
    });
}

void DiskScanner::runScan()
{
    ScanEngine engine(m_roots, *m_runner, m_clock, m_console, m_options, &m_stop);
    const auto stopped = [this] { return m_stop.load(); };

    // One walk finds the heavy files, the heavy media and the cleanup targets. It starts at
    // once on a thread of its own, so that it and the du calls sizing the applications and the
    // folders here each keep a core busy; the phases still publish in their order.
    ScanEngine::TreeLists tree;
    const std::unique_ptr<QThread> walk(
        QThread::create([&engine, &tree] { tree = engine.scanTree(100, 50); }));
    walk->setObjectName(QStringLiteral("DiskScanner walk"));
    walk->start();
    const auto joinWalk = qScopeGuard([&walk] { walk->wait(); });

    updateProgress(QStringLiteral("Scanning applications..."), 10);
    QList<FileItem> apps = engine.scanHeavyApps();
    post([this, apps = std::move(apps)]() mutable { setHeavyApps(std::move(apps)); });
    if (stopped()) {
        return;
    }

    updateProgress(QStringLiteral("Hunting for heavy files..."), 30);
    QList<FileItem> folders = engine.scanHeavyFolders(20);
    walk->wait();
    post([this, files = tree.heavyFiles] { setHeavyFiles(files); });
    if (stopped()) {
        return;
    }

    updateProgress(QStringLiteral("Calculating folder sizes..."), 50);
    post([this, folders = std::move(folders)]() mutable { setHeavyFolders(std::move(folders)); });
    if (stopped()) {
        return;
    }

    updateProgress(QStringLiteral("Finding media giants..."), 70);
    post([this, media = std::move(tree.heavyMedia)]() mutable { setHeavyMedia(std::move(media)); });
    if (stopped()) {
        return;
    }

    updateProgress(QStringLiteral("Analyzing recommendations..."), 90);
    // The heavy files just published: the worker's copy is the same list.
    QList<FileItem> recommendations =
        engine.generateRecommendations(tree.heavyFiles, std::move(tree.cleanupTargets));
    post([this, recommendations = std::move(recommendations)]() mutable {
        setRecommendations(std::move(recommendations));
    });

    updateProgress(QStringLiteral("Scan complete!"), 100);
    post([this] { setIsScanning(false); });
}

const FileItem *DiskScanner::listedItem(const std::function<bool(const FileItem &)> &is) const
{
    for (const QList<FileItem> *list :
         {&m_recommendations, &m_heavyFiles, &m_heavyMedia, &m_heavyFolders, &m_heavyApps}) {
        for (const FileItem &item : *list) {
            if (is(item)) {
                return &item;
            }
        }
    }
    return nullptr;
}

std::optional<qint64> DiskScanner::remove(const platform::Trash::Item &item, const QString &shown,
                                          QStringList &withoutTrash)
{
    if (!m_trash) {
        m_console(u"Delete error: no trash available for " + shown);
        return std::nullopt;
    }
    const auto status = platform::FileSystem::status(item.path);
    const platform::Trash::Result result = m_trash->moveToTrash(item);
    if (!result.moved) {
        m_console(u"Delete error: " + result.error);
        if (result.noTrashHere) {
            // Shown on one line: a name's control characters (a newline) become spaces.
            QString name = CleanerRules::lastComponent(shown).toString();
            for (QChar &c : name) {
                if (c.category() == QChar::Other_Control) {
                    c = u' ';
                }
            }
            withoutTrash.append(name);
        }
        return std::nullopt;
    }
    return status ? status->size : 0;
}

namespace {

/// What removal acts on for a listed item: its own bytes and the file the scan saw.
platform::Trash::Item trashItem(const FileItem &item)
{
    return {item.nativePath.isEmpty() ? QFile::encodeName(item.path) : item.nativePath,
            item.identity};
}

} // namespace

void DiskScanner::deleteItems(const QStringList &paths,
                              const std::function<void(qint64)> &completion)
{
    qint64 total = 0;
    QStringList withoutTrash;
    for (const QString &path : paths) {
        const FileItem *listed =
            listedItem([&path](const FileItem &item) { return item.path == path; });
        const platform::Trash::Item item =
            listed ? trashItem(*listed) : platform::Trash::Item{QFile::encodeName(path), {}};
        total += remove(item, path, withoutTrash).value_or(0);
    }
    setRemovalProblem(withoutTrash);
    if (completion) {
        completion(total);
    }
}

qint64 DiskScanner::deleteItems(const QStringList &paths)
{
    qint64 freed = 0;
    deleteItems(paths, [&freed](qint64 total) { freed = total; });
    return freed;
}

qint64 DiskScanner::deleteItemsById(const QStringList &ids)
{
    qint64 total = 0;
    QStringList withoutTrash;
    for (const QString &id : ids) {
        const QUuid uuid = QUuid::fromString(id);
        const FileItem *listed =
            uuid.isNull() ? nullptr
                          : listedItem([&uuid](const FileItem &item) { return item.id == uuid; });
        if (!listed) {
            m_console(u"Delete error: no listed item " + id);
            continue;
        }
        total += remove(trashItem(*listed), listed->path, withoutTrash).value_or(0);
    }
    setRemovalProblem(withoutTrash);
    return total;
}

void DiskScanner::setRemovalProblem(const QStringList &withoutTrash)
{
    // Nothing is ever deleted in place of a move: the items stay, and the screen says why.
    QString problem;
    if (withoutTrash.size() == 1) {
        problem =
            u"Not moved: " + withoutTrash.first() + u" is on a drive without a Trash you can use";
    } else if (withoutTrash.size() > 1) {
        problem = u"Not moved: " + QString::number(withoutTrash.size()) +
                  u" items are on a drive without a Trash you can use";
    }
    if (m_removalProblem != problem) {
        m_removalProblem = problem;
        Q_EMIT removalProblemChanged();
    }
}

void DiskScanner::openInFinder(const QString &path)
{
    if (m_reveal) {
        m_reveal->reveal(path);
    }
}

QString DiskScanner::formatSize(double bytes) const
{
    return CleanerRules::formatSize(qint64(bytes));
}

void DiskScanner::setScanProgress(double value)
{
    if (m_scanProgress != value) {
        m_scanProgress = value;
        Q_EMIT scanProgressChanged();
    }
}

void DiskScanner::setScanMessage(const QString &value)
{
    if (m_scanMessage != value) {
        m_scanMessage = value;
        Q_EMIT scanMessageChanged();
    }
}

void DiskScanner::setIsScanning(bool value)
{
    if (m_isScanning != value) {
        m_isScanning = value;
        Q_EMIT isScanningChanged();
    }
}

void DiskScanner::setHeavyApps(QList<FileItem> items)
{
    m_heavyApps = std::move(items);
    m_heavyAppsView = FileItem::toVariantList(m_heavyApps);
    Q_EMIT heavyAppsChanged();
}

void DiskScanner::setHeavyFiles(QList<FileItem> items)
{
    m_heavyFiles = std::move(items);
    m_heavyFilesView = FileItem::toVariantList(m_heavyFiles);
    Q_EMIT heavyFilesChanged();
}

void DiskScanner::setHeavyFolders(QList<FileItem> items)
{
    m_heavyFolders = std::move(items);
    m_heavyFoldersView = FileItem::toVariantList(m_heavyFolders);
    Q_EMIT heavyFoldersChanged();
}

void DiskScanner::setHeavyMedia(QList<FileItem> items)
{
    m_heavyMedia = std::move(items);
    m_heavyMediaView = FileItem::toVariantList(m_heavyMedia);
    Q_EMIT heavyMediaChanged();
}

void DiskScanner::setRecommendations(QList<FileItem> items)
{
    m_recommendations = std::move(items);
    m_recommendationsView = FileItem::toVariantList(m_recommendations);
    Q_EMIT recommendationsChanged();
}
