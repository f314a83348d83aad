#include "FakeToolRunner.h"
#include "FakeTrash.h"
#include "ManualClock.h"
#include "PrivateMounts.h"
#include "SyntheticHome.h"
#include "TestEnvironment.h"
#include "cleaner/DiskScanner.h"
#include "platform/FileSystem.h"
#include "platform/linux/FreedesktopTrash.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMutex>
#include <QProcess>
#include <QRandomGenerator>
#include <QScopeGuard>
#include <QSet>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <QTimer>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <tuple>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 mib = 1'048'576;
constexpr qint64 gib = 1'073'741'824;
constexpr qint64 day = 86'400;

/// Lines the scanner prints, collected from any thread.
struct Console {
    QMutex mutex;
    QStringList lines;

    [[nodiscard]] QStringList taken()
    {
        const QMutexLocker lock(&mutex);
        return lines;
    }
};

QStringList paths(const QList<FileItem> &items)
{
    QStringList list;
    for (const FileItem &item : items) {
        list.append(item.path);
    }
    return list;
}

const FileItem *find(const QList<FileItem> &items, const QString &path)
{
    for (const FileItem &item : items) {
        if (item.path == path) {
            return &item;
        }
    }
    return nullptr;
}

bool runsAsRoot()
{
    return ::geteuid() == 0;
}

int openDescriptors()
{
    return int(QDir(u"/proc/self/fd"_s).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size());
}

/// A line of /proc/self/status in kibibytes ("VmHWM", "VmRSS").
qint64 statusKibibytes(const QByteArray &key)
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly)) {
        return -1;
    }
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith(QByteArray(key + ':'))) {
            return line.mid(key.size() + 1).trimmed().split(' ').constFirst().toLongLong();
        }
    }
    return -1;
}

/// Folders nested this deep below root, made with mkdirat one inside the other; a file of size
/// bytes named "f" at each depth in fileDepths.
bool makeDeepTree(const QString &root, int depth, const QList<int> &fileDepths, qint64 size)
{
    if (!QDir().mkpath(root)) {
        return false;
    }
    int fd = ::open(QFile::encodeName(root).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    for (int level = 1; fd >= 0 && level <= depth; ++level) {
        if (::mkdirat(fd, "d", 0755) != 0) {
            ::close(fd);
            return false;
        }
        const int child = ::openat(fd, "d", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        ::close(fd);
        fd = child;
        if (fd >= 0 && fileDepths.contains(level)) {
            const int file = ::openat(fd, "f.iso", O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
            if (file < 0 || ::ftruncate(file, off_t(size)) != 0) {
                return false;
            }
            ::close(file);
        }
    }
    if (fd < 0) {
        return false;
    }
    ::close(fd);
    return true;
}

/// Removes a tree made by makeDeepTree in linear time, where rm -rf takes a minute: each
/// folder's only sub-folder moves up into its place.
void removeDeepTree(const QString &root)
{
    const int fd = ::open(QFile::encodeName(root).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) {
        return;
    }
    for (;;) {
        const int child = ::openat(fd, "d", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (child < 0) {
            break;
        }
        ::unlinkat(child, "f.iso", 0);
        const bool deeper = ::renameat(child, "d", fd, "next") == 0;
        ::close(child);
        ::unlinkat(fd, "d", AT_REMOVEDIR);
        if (!deeper || ::renameat(fd, "next", fd, "d") != 0) {
            break;
        }
    }
    ::close(fd);
}

} // namespace

// DiskScanner over synthetic homes in temporary folders.
class TestDiskScanner : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<SyntheticHome> m_tree;
    std::unique_ptr<ManualClock> m_clock;
    std::shared_ptr<Console> m_console;
    FakeToolRunner *m_runner = nullptr;
    FakeTrash *m_trash = nullptr;
    FakeReveal *m_reveal = nullptr;
    std::unique_ptr<DiskScanner> m_scanner;
    std::optional<ScanRoots> m_roots; ///< the synthetic home's own when not set

    [[nodiscard]] QDateTime now() const { return m_clock->now(); }
    [[nodiscard]] QDateTime daysAgo(double days) const
    {
        return now().addSecs(-qint64(days * double(day)));
    }
    [[nodiscard]] QString home(const QString &relative) const { return m_tree->path(relative); }

    /// With the real Trash when one is given, else a FakeTrash in m_trash.
    void makeScanner(std::unique_ptr<platform::ToolRunner> runner = {},
                     ScanEngine::Options options = {},
                     std::unique_ptr<platform::Trash> realTrash = {})
    {
        DiskScanner::Dependencies dependencies;
        dependencies.roots = m_roots.value_or(m_tree->roots());
        if (runner) {
            m_runner = nullptr;
            dependencies.runner = std::move(runner);
        } else {
            auto fake = std::make_unique<FakeToolRunner>();
            m_runner = fake.get();
            dependencies.runner = std::move(fake);
        }
        if (realTrash) {
            m_trash = nullptr;
            dependencies.trash = std::move(realTrash);
        } else {
            auto trash = std::make_unique<FakeTrash>();
            m_trash = trash.get();
            dependencies.trash = std::move(trash);
        }
        auto reveal = std::make_unique<FakeReveal>();
        m_reveal = reveal.get();
        dependencies.reveal = std::move(reveal);
        dependencies.clock = m_clock.get();
        dependencies.console = [console = m_console](const QString &line) {
            const QMutexLocker lock(&console->mutex);
            console->lines.append(line);
        };
        dependencies.options = options;
        m_scanner = std::make_unique<DiskScanner>(std::move(dependencies));
    }

    void scan()
    {
        QVERIFY(m_scanner);
        m_scanner->scanDeepDisk();
        QVERIFY(m_scanner->isScanning());
        QTRY_VERIFY_WITH_TIMEOUT(!m_scanner->isScanning(), 60000);
        QCOMPARE(m_scanner->scanMessage(), u"Scan complete!"_s);
        QCOMPARE(m_scanner->scanProgress(), 100.0);
    }

    // What the scan may never list, told without the protection rule: a component with a leading
    // dot below the safe cleanup folder that holds the path (below home for any other path), a
    // launcher's game folder, and in the state folder anything but a *.log file or what lies in a
    // log or logs folder.
    [[nodiscard]] bool mayNeverBeListed(const QString &path) const
    {
        QString below = path.mid(m_tree->home().size());
        for (const QString &safe : m_scanner->safeCleanupDirectories()) {
            const QString folder = safe.endsWith(u'/') ? safe.chopped(1) : safe;
            if (!folder.isEmpty() && path.startsWith(folder + u'/')) {
                below = path.mid(folder.size());
                break;
            }
        }
        if (below.contains(u"/."_s) || path.startsWith(home(u"GOG Games/"_s)) ||
            path.startsWith(home(u"snap/"_s))) {
            return true;
        }
        const QString state = home(u".local/state/"_s);
        if (!path.startsWith(state)) {
            return false;
        }
        QStringList folders = path.mid(state.size()).split(u'/');
        folders.removeLast();
        return !path.endsWith(u".log"_s) && !folders.contains(u"log"_s) &&
               !folders.contains(u"logs"_s);
    }

    void file(const QString &relative, qint64 size, double ageDays = 0.5)
    {
        QVERIFY2(SyntheticHome::makeFile(home(relative), size, daysAgo(ageDays)),
                 qPrintable(relative));
    }

private Q_SLOTS:
    void init()
    {
        m_tree = std::make_unique<SyntheticHome>();
        QVERIFY(m_tree->isValid());
        // Whole seconds: touch -d @SECONDS cannot say more.
        m_clock = std::make_unique<ManualClock>(
            QDateTime::fromSecsSinceEpoch(QDateTime::currentSecsSinceEpoch()));
        m_console = std::make_shared<Console>();
    }

    void cleanup()
    {
        m_scanner.reset();
        m_roots.reset();
        if (m_tree) {
            // Undo what the tests made unreadable, so the folder can be removed.
            QProcess::execute(u"chmod"_s, {u"-R"_s, u"u+rwx"_s, m_tree->root()});
            // Names that are not UTF-8 are beyond QDir's reach.
            QProcess::execute(u"rm"_s, {u"-rf"_s, m_tree->root()});
        }
        m_tree.reset();
    }

    void startsIdleAndEmpty()
    {
        makeScanner();
        QCOMPARE(m_scanner->scanProgress(), 0.0);
        QCOMPARE(m_scanner->scanMessage(), QString());
        QVERIFY(!m_scanner->isScanning());
        QVERIFY(m_scanner->heavyApps().isEmpty());
        QVERIFY(m_scanner->recommendations().isEmpty());
        QCOMPARE(m_scanner->safeCleanupDirectories(),
                 (QStringList{home(u".cache"_s), home(u".local/state"_s), home(u"Downloads"_s),
                              m_tree->tempDir() + u'/'}));
    }

    // Each phase's message and progress, then its result, reach the main thread in order.
    void phasesArriveInOrderOnTheMainThread()
    {
        file(u"Downloads/big.bin"_s, 2 * gib, 1);
        makeScanner();
        QStringList events;
        bool offThread = false;
        const auto note = [&](const QString &event) {
            offThread = offThread || QThread::currentThread() != qApp->thread();
            events.append(event);
        };
        DiskScanner *s = m_scanner.get();
        connect(s, &DiskScanner::isScanningChanged, this,
                [&] { note(u"scanning "_s + (s->isScanning() ? u"on"_s : u"off"_s)); });
        connect(s, &DiskScanner::scanMessageChanged, this, [&] { note(s->scanMessage()); });
        connect(s, &DiskScanner::scanProgressChanged, this,
                [&] { note(QString::number(s->scanProgress())); });
        connect(s, &DiskScanner::heavyAppsChanged, this, [&] { note(u"apps"_s); });
        connect(s, &DiskScanner::heavyFilesChanged, this, [&] { note(u"files"_s); });
        connect(s, &DiskScanner::heavyFoldersChanged, this, [&] { note(u"folders"_s); });
        connect(s, &DiskScanner::heavyMediaChanged, this, [&] { note(u"media"_s); });
        connect(s, &DiskScanner::recommendationsChanged, this, [&] { note(u"recommendations"_s); });
        scan();
        const QStringList expected{u"scanning on"_s,
                                   u"Scanning applications..."_s,
                                   u"10"_s,
                                   u"apps"_s,
                                   u"Hunting for heavy files..."_s,
                                   u"30"_s,
                                   u"files"_s,
                                   u"Calculating folder sizes..."_s,
                                   u"50"_s,
                                   u"folders"_s,
                                   u"Finding media giants..."_s,
                                   u"70"_s,
                                   u"media"_s,
                                   u"Analyzing recommendations..."_s,
                                   u"90"_s,
                                   u"recommendations"_s,
                                   u"Scan complete!"_s,
                                   u"100"_s,
                                   u"scanning off"_s};
        QCOMPARE(events, expected);
        QVERIFY(!offThread);
        QCOMPARE(m_scanner->recommendations().size(), 1);

        // A second scan starts at 0 again and keeps the results until each phase replaces them.
        events.clear();
        m_scanner->scanDeepDisk();
        QCOMPARE(m_scanner->scanProgress(), 0.0);
        QCOMPARE(m_scanner->scanMessage(), u"Scan complete!"_s);
        QCOMPARE(m_scanner->recommendations().size(), 1);
        QTRY_VERIFY_WITH_TIMEOUT(!m_scanner->isScanning(), 60000);
        QCOMPARE(events.first(), u"scanning on"_s);
        QCOMPARE(events.at(1), u"0"_s);
    }

    // Nothing stops a second call while a scan runs (the screen disables its button instead):
    // it sets the progress back to 0 and a second scan runs beside the first, each publishing
    // its phases.
    void aSecondCallDuringAScanStartsAnother()
    {
        SyntheticHome::makeFolder(home(u"Projects"_s));
        SyntheticHome::makeFolder(home(u"Music"_s));
        makeScanner();
        m_runner->setDelay(std::chrono::milliseconds(150));
        QSignalSpy scanning(m_scanner.get(), &DiskScanner::isScanningChanged);
        QSignalSpy recommended(m_scanner.get(), &DiskScanner::recommendationsChanged);
        m_scanner->scanDeepDisk();
        QTRY_COMPARE(m_scanner->scanProgress(), 30.0); // walking and measuring the folders
        m_scanner->scanDeepDisk();
        QVERIFY(m_scanner->isScanning());
        QCOMPARE(m_scanner->scanProgress(), 0.0);
        QTRY_COMPARE_WITH_TIMEOUT(recommended.count(), 2, 60000);
        QTRY_VERIFY_WITH_TIMEOUT(!m_scanner->isScanning(), 60000);
        QCOMPARE(scanning.count(), 2); // on once, off once: the second call found it on
        QCOMPARE(m_runner->measuredPaths().size(), 4);
        QCOMPARE(m_scanner->scanMessage(), u"Scan complete!"_s);
    }

    // The main thread keeps running its event loop while the worker measures.
    void theWindowStaysResponsive()
    {
        for (int i = 0; i < 4; ++i) {
            SyntheticHome::makeFolder(home(u"Folder"_s + QString::number(i)));
        }
        makeScanner();
        m_runner->setDelay(std::chrono::milliseconds(200));
        int ticks = 0;
        QTimer timer;
        connect(&timer, &QTimer::timeout, this, [&ticks] { ++ticks; });
        timer.start(10);
        m_scanner->scanDeepDisk();
        QTRY_VERIFY_WITH_TIMEOUT(!m_scanner->isScanning(), 60000);
        QVERIFY2(ticks >= 20, qPrintable(QString::number(ticks)));
    }

    // Measured by the real du: an AppImage of exactly 100 MiB is not listed; 1 KiB more is
    // (du counts whole kibibytes, "one byte more" is the smallest step it can see).
    void heavyAppFloorWithTheRealDu()
    {
        const QString exact = home(u"Applications/Exact.AppImage"_s);
        const QString more = home(u"Applications/Bigger.AppImage"_s);
        SyntheticHome::makeFolder(home(u"Applications"_s));
        for (const auto &[path, size] : {std::pair{exact, 100 * mib}, {more, 100 * mib + 1024}}) {
            QVERIFY(QProcess::execute(u"fallocate"_s, {u"-l"_s, QString::number(size), path}) == 0);
        }
        SyntheticHome::makeFile(home(u"Applications/Sparse.AppImage"_s), gib, now());
        SyntheticHome::writeFile(home(u"Applications/notes.txt"_s), "x");
        makeScanner(platform::ToolRunner::create());
        scan();
        QCOMPARE(paths(m_scanner->heavyApps()), QStringList{more});
        const FileItem &app = m_scanner->heavyApps().first();
        QCOMPARE(app.name, u"Bigger"_s);
        QCOMPARE(app.type, u"app"_s);
        // du counts the file system's blocks: 1 KiB more takes a whole block more.
        QVERIFY(app.size > 100 * mib && app.size <= 100 * mib + 64 * 1024);
        QCOMPARE(app.sizeFormatted, u"100.00 MB"_s);
        QCOMPARE(app.daysSinceAccess, 0.0);
        QVERIFY(app.reasons.isEmpty());
        QVERIFY(!app.recommended);
        QVERIFY(m_console->taken().isEmpty());
    }

    void heavyAppsComeFromFlatpakSteamAndAppImages()
    {
        const QString flatpak = home(u".local/share/flatpak/app/org.example.Big"_s);
        SyntheticHome::writeFile(
            flatpak + u"/current/active/export/share/applications/org.example.Big.desktop"_s,
            "[Desktop Entry]\nName=Big Example\nExec=big\n");
        const QString small = home(u".local/share/flatpak/app/org.example.Small"_s);
        SyntheticHome::makeFolder(small);
        const QString steam = home(u".local/share/Steam"_s);
        const QString library = home(u"SteamLibrary"_s);
        SyntheticHome::writeFile(steam + u"/steamapps/libraryfolders.vdf"_s,
                                 "\"libraryfolders\"\n{\n\"1\"\n{\n\"path\" \"" + library.toUtf8() +
                                     "\"\n}\n}\n");
        SyntheticHome::writeFile(library + u"/steamapps/appmanifest_570.acf"_s,
                                 "\"AppState\"\n{\n\"name\" \"Dota 2\"\n"
                                 "\"installdir\" \"dota 2 beta\"\n}\n");
        const QString game = library + u"/steamapps/common/dota 2 beta"_s;
        const QString unnamed = steam + u"/steamapps/common/Portal"_s;
        SyntheticHome::makeFolder(game);
        SyntheticHome::makeFolder(unnamed);
        const QString appImage = home(u"Applications/Tool-x86_64.AppImage"_s);
        SyntheticHome::writeFile(appImage, "ELF");
        makeScanner();
        m_runner->setKibibytes(flatpak, 300 * 1024);
        m_runner->setKibibytes(small, 100 * 1024);
        m_runner->setKibibytes(game, 40 * 1024 * 1024);
        m_runner->setKibibytes(unnamed, 200 * 1024);
        m_runner->setKibibytes(appImage, 150 * 1024);
        scan();
        QStringList names;
        for (const FileItem &item : m_scanner->heavyApps()) {
            names.append(item.name);
        }
        QCOMPARE(names,
                 (QStringList{u"Dota 2"_s, u"Big Example"_s, u"Portal"_s, u"Tool-x86_64"_s}));
        // Game libraries are protected: nothing in them is recommended or a heavy folder.
        QVERIFY(!paths(m_scanner->heavyFolders()).contains(library));
    }

    void atMostTenHeavyApps()
    {
        makeScanner();
        for (int i = 0; i < 12; ++i) {
            const QString path = home(u"Applications/App%1.AppImage"_s.arg(i));
            SyntheticHome::writeFile(path, "x");
            m_runner->setKibibytes(path, (200 + i) * 1024);
        }
        scan();
        QCOMPARE(m_scanner->heavyApps().size(), 10);
        QCOMPARE(m_scanner->heavyApps().first().name, u"App11"_s);
        QCOMPARE(m_scanner->heavyApps().last().name, u"App2"_s);
    }

    void heavyFileAndMediaFloors()
    {
        file(u"Work/exactly10.bin"_s, 10 * mib);
        file(u"Work/over10.bin"_s, 10 * mib + 1);
        file(u"Videos/exactly50.mp4"_s, 50 * mib);
        file(u"Videos/over50.mp4"_s, 50 * mib + 1);
        file(u"Videos/clip.MOV"_s, 60 * mib);
        file(u"Videos/disk.dmg"_s, 60 * mib);
        file(u"Videos/notes.txt"_s, 60 * mib);
        makeScanner();
        scan();
        const QList<FileItem> &files = m_scanner->heavyFiles();
        QVERIFY(!find(files, home(u"Work/exactly10.bin"_s)));
        QVERIFY(find(files, home(u"Work/over10.bin"_s)));
        QCOMPARE(find(files, home(u"Work/over10.bin"_s))->type, u"file"_s);
        const QList<FileItem> &media = m_scanner->heavyMedia();
        QCOMPARE(paths(media), (QStringList{home(u"Videos/clip.MOV"_s), home(u"Videos/disk.dmg"_s),
                                            home(u"Videos/over50.mp4"_s)}));
        QCOMPARE(media.at(0).type, u"video"_s);
        QCOMPARE(media.at(1).type, u"image"_s); // disk images and archives, deliberately
        QCOMPARE(media.at(2).type, u"video"_s);
        QCOMPARE(media.at(0).name, u"clip.MOV"_s);
        QVERIFY(qAbs(media.at(0).daysSinceAccess - 0.5) < 0.001);
    }

    // The heavy files, the heavy media and the cleanup targets come from one walk: a heavy
    // video that appears while the folders are measured is in both lists or in neither.
    void oneWalkServesTheHeavyFilesAndTheMedia()
    {
        SyntheticHome::makeFolder(home(u"Projects"_s));
        file(u"Videos/early.mp4"_s, 60 * mib, 3);
        makeScanner();
        const QString late = home(u"Videos/late.mp4"_s);
        const QDateTime lateTime = daysAgo(3);
        m_runner->setOnRun([late, lateTime](const QString &) {
            SyntheticHome::makeFileQuickly(late, 60 * mib, lateTime);
        });
        scan();
        QVERIFY(QFileInfo::exists(late));
        QVERIFY(find(m_scanner->heavyFiles(), home(u"Videos/early.mp4"_s)));
        QVERIFY(find(m_scanner->heavyMedia(), home(u"Videos/early.mp4"_s)));
        QCOMPARE(bool(find(m_scanner->heavyFiles(), late)),
                 bool(find(m_scanner->heavyMedia(), late)));
    }

    // Property: on random trees, the one shared walk gives exactly the lists the heavy-file,
    // heavy-media and cleanup walks give on their own, in the same order, wherever the cleanup
    // folders are: in the home, behind a link, outside it, on another mount, deeper than the
    // home's walk reaches.
    void theSharedWalkGivesWhatSeparateWalksGive()
    {
        const bool canMount = PrivateMounts::enterNamespace();
        const quint32 seed = QRandomGenerator::global()->generate();
        qInfo("random tree seed %u", seed);
        QRandomGenerator random(seed);
        const QStringList places{u""_s, u"LINKED"_s, u"OUTSIDE"_s, u"MOUNTED"_s, u"DEEP"_s};
        const QStringList folders{
            u"Downloads"_s, u"Downloads/a/b"_s, u".cache/app"_s, u".local/state/app/logs"_s,
            u"Videos"_s,    u"Projects/x"_s,    u"tmp/t"_s,      u"Games/g"_s,
            u".mozilla/p"_s};
        const QStringList extensions{u".iso"_s, u".mp4"_s, u".log"_s, u".tmp"_s,
                                     u".bin"_s, u".MOV"_s, u".zip"_s, u""_s};
        for (const QString &place : places) {
            if (place == u"MOUNTED"_s && !canMount) {
                continue;
            }
            init();
            qInfo("cleanup folders %s", qPrintable(place.isEmpty() ? u"in the home"_s : place));
            PrivateMounts mounts;
            ScanRoots roots = ScanRoots::forHome(m_tree->home(), home(u"tmp"_s));
            if (place == u"LINKED"_s) {
                SyntheticHome::makeFolder(m_tree->outside() + u"/cache"_s);
                SyntheticHome::makeLink(m_tree->outside() + u"/cache"_s, home(u"Cache"_s));
                roots.cacheDir = home(u"Cache"_s);
            } else if (place == u"OUTSIDE"_s) {
                roots.downloadsDir = m_tree->outside() + u"/Downloads"_s;
            } else if (place == u"MOUNTED"_s) {
                SyntheticHome::makeFolder(home(u".cache"_s));
                QVERIFY(mounts.mountTmpfs(home(u".cache"_s), "size=1m"));
            }
            const QStringList rootsToFill{roots.cacheDir, roots.logsDir, roots.downloadsDir,
                                          roots.tempDir};
            const int count = random.bounded(150, 300);
            for (int i = 0; i < count; ++i) {
                const bool inRoot = random.bounded(3) == 0;
                QString root = rootsToFill.at(random.bounded(rootsToFill.size()));
                if (root.endsWith(u'/')) {
                    root.chop(1);
                }
                const QString folder =
                    inRoot ? root + u"/r"_s : home(folders.at(random.bounded(folders.size())));
                // Many files of the same size, so that the order of equal sizes is tested too.
                const qint64 size = qint64(random.bounded(4) == 0 ? 2 : random.bounded(200)) * mib;
                QVERIFY(SyntheticHome::makeFileQuickly(
                    folder + u"/f"_s + QString::number(i) +
                        extensions.at(random.bounded(extensions.size())),
                    size, daysAgo(random.bounded(100.0))));
            }
            if (place == u"DEEP"_s) {
                // Files below the cache folder that its own walk reaches and the home's does not.
                // The home's walk enters the cache's folder 254 levels down at most, the
                // cache's own walk 255.
                QVERIFY(makeDeepTree(home(u".cache/Deep"_s), 260, {3, 254, 255, 258}, 5 * mib));
            }
            const auto removeDeep = qScopeGuard([&] { removeDeepTree(home(u".cache/Deep"_s)); });
            FakeToolRunner runner;
            const auto listing = [](const QList<FileItem> &items) {
                QStringList lines;
                for (const FileItem &item : items) {
                    lines.append(item.path + u' ' + item.name + u' ' + QString::number(item.size) +
                                 u' ' + item.type + u' ' + item.reasons.join(u',') + u' ' +
                                 QString::number(item.daysSinceAccess) + u' ' +
                                 QString::fromUtf8(item.nativePath.toPercentEncoding("/")) + u' ' +
                                 QString::number(item.identity.inode));
                }
                return lines;
            };
            ScanEngine engine(roots, runner, *m_clock, [](const QString &) {}, {});
            const ScanEngine::TreeLists shared = engine.scanTree(100, 50);
            const QList<FileItem> files = engine.scanHeavyFiles(100);
            QCOMPARE(listing(shared.heavyFiles), listing(files));
            QCOMPARE(listing(shared.heavyMedia), listing(engine.scanHeavyMedia(50)));
            QCOMPARE(listing(shared.cleanupTargets), listing(engine.scanCleanupTargets()));
            QVERIFY(!shared.cleanupTargets.isEmpty());
            QCOMPARE(listing(engine.generateRecommendations(files, shared.cleanupTargets)),
                     listing(engine.generateRecommendations(files)));
            if (place == u"DEEP"_s) {
                // The deep files the home's walk cannot reach are still recommended.
                qsizetype deep = 0;
                for (const FileItem &item : shared.cleanupTargets) {
                    deep += item.path.contains(u"/Deep/"_s) ? 1 : 0;
                }
                QCOMPARE(deep, 3);
            }
            mounts.unmountAll();
        }
        cleanup();
    }

    // More than 100 qualifying files: 100 items, chosen by the front-entry rule in walk order.
    void moreThanAHundredHeavyFilesFollowTheFrontEntryRule()
    {
        QRandomGenerator random(4242);
        for (int i = 0; i < 130; ++i) {
            const qint64 size = 11 * mib + qint64(random.bounded(1000)) * 4096 + i;
            QVERIFY(SyntheticHome::makeFileQuickly(home(u"Pile/f%1.bin"_s.arg(i)), size, now()));
        }
        // What the rule gives for the order the file system returns the files in.
        CleanerRules::FrontEvictionList expected(100);
        platform::FileSystem::walk(home(u"Pile"_s), [&](const platform::WalkEntry &entry) {
            FileItem item;
            item.path =
                QFile::decodeName(QByteArray(entry.path.data(), qsizetype(entry.path.size())));
            item.size = entry.size;
            expected.offer(entry.size, [&item] { return item; });
            return true;
        });
        makeScanner();
        scan();
        QCOMPARE(m_scanner->heavyFiles().size(), 100);
        QCOMPARE(paths(m_scanner->heavyFiles()), paths(expected.take()));
        for (qsizetype i = 1; i < m_scanner->heavyFiles().size(); ++i) {
            QVERIFY(m_scanner->heavyFiles().at(i - 1).size >= m_scanner->heavyFiles().at(i).size);
        }
    }

    void heavyFoldersAreTopLevelRealFoldersOverTheFloor()
    {
        for (int i = 0; i < 25; ++i) {
            SyntheticHome::makeFolder(home(u"Folder%1"_s.arg(i, 2, 10, QChar(u'0'))));
        }
        SyntheticHome::makeFolder(home(u"Exact"_s));
        SyntheticHome::makeFolder(home(u".hidden"_s));
        SyntheticHome::makeFolder(home(u".cache"_s));
        SyntheticHome::makeFolder(home(u".ssh"_s));
        SyntheticHome::makeFolder(m_tree->outside() + u"/Big"_s);
        SyntheticHome::makeLink(m_tree->outside() + u"/Big"_s, home(u"LinkToOutside"_s));
        SyntheticHome::writeFile(home(u"file.bin"_s), "x");
        makeScanner();
        for (int i = 0; i < 25; ++i) {
            m_runner->setKibibytes(home(u"Folder%1"_s.arg(i, 2, 10, QChar(u'0'))),
                                   (101 + i) * 1024);
        }
        m_runner->setKibibytes(home(u"Exact"_s), 100 * 1024);
        m_runner->setKibibytes(home(u".cache"_s), 500 * 1024);
        m_runner->setKibibytes(home(u".hidden"_s), 500 * 1024);
        m_runner->setKibibytes(home(u"LinkToOutside"_s), 900 * 1024);
        scan();
        const QList<FileItem> &folders = m_scanner->heavyFolders();
        QCOMPARE(folders.size(), 20);
        QCOMPARE(folders.first().path, home(u".cache"_s)); // a safe cleanup folder: listed
        QCOMPARE(folders.at(1).name, u"Folder24"_s);
        QCOMPARE(folders.at(1).type, u"folder"_s);
        QVERIFY(!find(folders, home(u"Exact"_s)));
        QVERIFY(!find(folders, home(u".hidden"_s)));
        // A link is neither walked nor measured; protected folders are not measured either.
        const QStringList measured = m_runner->measuredPaths();
        QVERIFY(!measured.contains(home(u"LinkToOutside"_s)));
        QVERIFY(!measured.contains(home(u".ssh"_s)));
        QVERIFY(!measured.contains(home(u"file.bin"_s)));
    }

    void protectedFilesAreNeverListed()
    {
        file(u"Projects/.ssh/key"_s, 3 * gib, 100);
        file(u".config/app/huge.log"_s, 3 * gib, 100);
        file(u".mozilla/cache2/x.mp4"_s, 3 * gib, 100);
        file(u"Games/Big/data.zip"_s, 3 * gib, 100);
        file(u".cache/app/blob.mp4"_s, 3 * gib, 100);
        // Hidden folders wherever they are, the launchers' game folders, an application's state.
        file(u"Projects/app/.git/objects/pack/pack-1.pack"_s, 3 * gib, 100);
        file(u"Downloads/site/.git/big.zip"_s, 3 * gib, 100);
        file(u".cache/app/.git/x.bin"_s, 3 * gib, 100);
        file(u"GOG Games/Big/data.zip"_s, 3 * gib, 100);
        file(u"snap/app/common/disk.iso"_s, 3 * gib, 100);
        file(u".local/state/app/history.db"_s, 3 * gib, 100);
        file(u".local/state/app/session.tmp"_s, 3 * gib, 100);
        QVERIFY(
            SyntheticHome::makeFile(m_tree->tempDir() + u"/.X11-unix/X0"_s, 3 * gib, daysAgo(100)));
        QVERIFY(SyntheticHome::makeFile(m_tree->tempDir() + u"/build/.git/index"_s, 3 * gib,
                                        daysAgo(100)));
        makeScanner();
        scan();
        QCOMPARE(paths(m_scanner->heavyFiles()), QStringList{home(u".cache/app/blob.mp4"_s)});
        QCOMPARE(paths(m_scanner->heavyMedia()), QStringList{home(u".cache/app/blob.mp4"_s)});
        QCOMPARE(paths(m_scanner->recommendations()), QStringList{home(u".cache/app/blob.mp4"_s)});
    }

    // Below the state folder only logs are recommended, as log files.
    void onlyLogsOfTheStateFolderAreRecommended()
    {
        file(u".local/state/app/big.log"_s, 2 * mib, 1);
        file(u".local/state/app/log/current"_s, 3 * mib, 1);
        file(u".local/state/app/logs/2024/x.txt"_s, 4 * mib, 1);
        file(u".local/state/app/history.db"_s, 5 * mib, 100);
        file(u".local/state/app/x.log.1"_s, 6 * mib, 100);
        file(u".local/state/wireplumber/restore-stream"_s, 7 * mib, 100);
        makeScanner();
        scan();
        QCOMPARE(paths(m_scanner->recommendations()),
                 (QStringList{home(u".local/state/app/logs/2024/x.txt"_s),
                              home(u".local/state/app/log/current"_s),
                              home(u".local/state/app/big.log"_s)}));
        for (const FileItem &item : m_scanner->recommendations()) {
            QVERIFY2(item.reasons.startsWith(u"Log file"_s), qPrintable(item.path));
        }
    }

    // The recommendation edge cases, one synthetic home for all.
    void recommendationsFollowThePartsRules()
    {
        file(u"Downloads/disk.img"_s, 2 * gib, 1);
        file(u"Projects/big.log"_s, 150'000'000, 70.2);
        file(u"Projects/recent.LOG"_s, 150'000'000, 1);
        file(u".cache/app/blob"_s, 2 * mib, 0.01);
        file(u".local/state/app/small.log"_s, 500 * 1024, 100);
        file(u".local/state/app/big.log"_s, 2 * mib, 1);
        file(u"Downloads/old.iso"_s, 2 * gib, 30);
        file(u"Downloads/upper.LOG"_s, 2 * mib, 1);
        file(u"Downloads/film.mkv"_s, 3 * mib, 1);
        file(u"Documents/report.pdf"_s, 20 * mib, 1);
        QVERIFY(SyntheticHome::makeFile(m_tree->tempDir() + u"/session.dat"_s, 5 * mib, now()));
        makeScanner();
        scan();
        const QList<FileItem> &items = m_scanner->recommendations();

        const FileItem *download = find(items, home(u"Downloads/disk.img"_s));
        QVERIFY(download);
        QCOMPARE(download->reasons, QStringList{u"Large file in Downloads"_s});
        QCOMPARE(download->type, u"file"_s);
        QVERIFY(download->recommended);

        const FileItem *log = find(items, home(u"Projects/big.log"_s));
        QVERIFY(log);
        QCOMPARE(log->reasons,
                 (QStringList{u"Temp file over 100MB"_s, u"Not accessed in 70 days"_s}));

        QVERIFY(!find(items, home(u"Projects/recent.LOG"_s))); // no lower-casing in the rules
        QVERIFY(!find(items, home(u"Downloads/upper.LOG"_s)));

        const FileItem *cache = find(items, home(u".cache/app/blob"_s));
        QVERIFY(cache);
        QCOMPARE(cache->reasons, QStringList{u"App cache"_s});
        QCOMPARE(cache->type, u"cache"_s);

        QVERIFY(!find(items, home(u".local/state/app/small.log"_s))); // under the 1 MiB floor
        const FileItem *stateLog = find(items, home(u".local/state/app/big.log"_s));
        QVERIFY(stateLog);
        QCOMPARE(stateLog->reasons, (QStringList{u"Log file"_s, u"Temporary file"_s}));
        QCOMPARE(stateLog->type, u"cleanup"_s);

        // Found by both halves: listed once, with the heavy-file reasons.
        QCOMPARE(paths(items).count(home(u"Downloads/old.iso"_s)), 1);
        QCOMPARE(find(items, home(u"Downloads/old.iso"_s))->reasons,
                 QStringList{u"Large file in Downloads"_s});

        QCOMPARE(find(items, home(u"Downloads/film.mkv"_s))->reasons,
                 QStringList{u"Large download artifact"_s});
        QCOMPARE(find(items, m_tree->tempDir() + u"/session.dat"_s)->reasons,
                 QStringList{u"Temporary file"_s});
        QVERIFY(!find(items, home(u"Documents/report.pdf"_s)));

        // Largest first, no limit.
        QCOMPARE(items.size(), 7);
        for (qsizetype i = 1; i < items.size(); ++i) {
            QVERIFY(items.at(i - 1).size >= items.at(i).size);
        }
    }

    void deletingFreesTheSumOfWhatMoved()
    {
        file(u"Downloads/a.iso"_s, 3 * mib);
        file(u"Downloads/b.iso"_s, 5 * mib);
        file(u"Downloads/locked.iso"_s, 7 * mib);
        SyntheticHome::makeFolder(home(u"Folder"_s));
        makeScanner();
        m_trash->locked = {home(u"Downloads/locked.iso"_s)};
        qint64 freed = -1;
        int calls = 0;
        m_scanner->deleteItems({home(u"Downloads/a.iso"_s), home(u"Downloads/locked.iso"_s),
                                home(u"Downloads/b.iso"_s), home(u"Folder"_s), home(u"missing"_s)},
                               [&](qint64 total) {
                                   freed = total;
                                   ++calls;
                               });
        QCOMPARE(calls, 1);
        // A folder counts only its own entry's size, on purpose.
        const qint64 folderEntry = QFileInfo(home(u"Folder"_s)).size();
        QCOMPARE(freed, 8 * mib + folderEntry);
        QCOMPARE(m_trash->moved,
                 (QStringList{home(u"Downloads/a.iso"_s), home(u"Downloads/b.iso"_s),
                              home(u"Folder"_s), home(u"missing"_s)}));
        const QStringList lines = m_console->taken();
        QCOMPARE(lines.size(), 1);
        QVERIFY(lines.first().startsWith(u"Delete error: "_s));
        QVERIFY(lines.first().contains(home(u"Downloads/locked.iso"_s)));

        QCOMPARE(m_scanner->deleteItems(QStringList()), qint64(0));
    }

    void revealAsksTheFileManager()
    {
        makeScanner();
        m_scanner->openInFinder(home(u"Downloads/a file #1.iso"_s));
        QCOMPARE(m_reveal->revealed, QStringList{home(u"Downloads/a file #1.iso"_s)});
    }

    void symbolicLinksAreNeitherFollowedNorMeasured()
    {
        QVERIFY(SyntheticHome::makeFile(m_tree->outside() + u"/Huge/movie.mkv"_s, 5 * gib,
                                        daysAgo(100)));
        QVERIFY(
            SyntheticHome::makeFile(m_tree->outside() + u"/single.iso"_s, 5 * gib, daysAgo(100)));
        SyntheticHome::makeLink(m_tree->outside() + u"/Huge"_s, home(u"Videos/Huge"_s));
        SyntheticHome::makeLink(m_tree->outside() + u"/Huge"_s, home(u".cache/Huge"_s));
        SyntheticHome::makeLink(m_tree->outside() + u"/Huge"_s, home(u"Downloads/Huge"_s));
        SyntheticHome::makeLink(m_tree->outside() + u"/single.iso"_s,
                                home(u"Downloads/single.iso"_s));
        // Loops: a link to its own folder, and two links pointing at each other.
        SyntheticHome::makeLink(u".."_s, home(u"Loop/up"_s));
        SyntheticHome::makeLink(home(u"Loop/b"_s), home(u"Loop/a"_s));
        SyntheticHome::makeLink(home(u"Loop/a"_s), home(u"Loop/b"_s));
        makeScanner();
        scan();
        QVERIFY(m_scanner->heavyFiles().isEmpty());
        QVERIFY(m_scanner->heavyMedia().isEmpty());
        QVERIFY(m_scanner->recommendations().isEmpty());
        for (const QString &measured : m_runner->measuredPaths()) {
            QVERIFY2(!measured.startsWith(m_tree->outside()), qPrintable(measured));
        }
    }

    void badInputNeverCrashes()
    {
        // A name that is not valid UTF-8.
        const QByteArray badName = QFile::encodeName(home(u"Videos"_s)) + "/bad\xff\xfe name.mp4";
        SyntheticHome::makeFolder(home(u"Videos"_s));
        {
            QFile bad(QString::fromLocal8Bit(badName));
            const int fd = ::open(badName.constData(), O_WRONLY | O_CREAT, 0644);
            QVERIFY(fd >= 0);
            QVERIFY(::ftruncate(fd, 60 * mib) == 0);
            ::close(fd);
        }
        // A 50-level-deep tree with a heavy file at its bottom.
        QString deep = u"Deep"_s;
        for (int i = 0; i < 50; ++i) {
            deep += u"/level"_s + QString::number(i);
        }
        file(deep + u"/bottom.iso"_s, 70 * mib);
        // A FIFO and a socket in Downloads: never opened, never listed.
        SyntheticHome::makeFolder(home(u"Downloads"_s));
        QVERIFY(::mkfifo(QFile::encodeName(home(u"Downloads/pipe"_s)).constData(), 0644) == 0);
        const int sock = ::socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const QByteArray socketPath = QFile::encodeName(home(u"Downloads/socket"_s));
        QVERIFY(socketPath.size() < qsizetype(sizeof address.sun_path));
        std::memcpy(address.sun_path, socketPath.constData(), std::size_t(socketPath.size()));
        QVERIFY(::bind(sock, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0);
        // du missing altogether.
        file(u"Folder/x.bin"_s, 200 * mib);
        SyntheticHome::writeFile(home(u"Applications/Tool.AppImage"_s), "x");
        ScanEngine::Options options;
        options.duProgram = m_tree->root() + u"/no/such/du"_s;
        makeScanner(platform::ToolRunner::create(), options);
        scan();
        ::close(sock);

        QVERIFY(m_scanner->heavyApps().isEmpty());
        QVERIFY(m_scanner->heavyFolders().isEmpty());
        const QStringList lines = m_console->taken();
        QVERIFY(!lines.isEmpty());
        for (const QString &line : lines) {
            QVERIFY2(line.startsWith(u"du error: "_s), qPrintable(line));
        }
        QVERIFY(find(m_scanner->heavyMedia(), home(deep + u"/bottom.iso"_s)));
        QCOMPARE(m_scanner->heavyMedia().size(), 2);
        for (const FileItem &item : m_scanner->recommendations()) {
            QVERIFY(!item.path.endsWith(u"pipe"_s) && !item.path.endsWith(u"socket"_s));
        }
        // The undecodable name is shown as best it can be; moving it moves that very file.
        const FileItem *bad = nullptr;
        for (const FileItem &item : m_scanner->heavyMedia()) {
            if (item.name.startsWith(u"bad"_s)) {
                bad = &item;
            }
        }
        QVERIFY(bad);
        QCOMPARE(bad->size, 60 * mib);
        DiskScanner::Dependencies real;
        real.roots = m_tree->roots();
        real.runner = platform::ToolRunner::create();
        real.trash = platform::Trash::create();
        real.clock = m_clock.get();
        QStringList printed;
        real.console = [&printed](const QString &line) { printed.append(line); };
        DiskScanner remover(std::move(real));
        QCOMPARE(remover.deleteItems(QStringList{bad->path}), qint64(0));
        QCOMPARE(printed.size(), 1);
        QVERIFY(printed.first().startsWith(u"Delete error: "_s));
        QVERIFY(::access(badName.constData(), F_OK) == 0);
        // The scanner that listed it knows its bytes.
        m_console->lines.clear();
        QCOMPARE(bad->nativePath, badName);
        QCOMPARE(m_scanner->deleteItems(QStringList{bad->path}), 60 * mib);
        QCOMPARE(m_console->taken(), QStringList());
        QCOMPARE(m_trash->movedItems.size(), 1);
        QCOMPARE(m_trash->movedItems.constFirst().path, badName);
    }

    void unreadableFoldersAreSkipped()
    {
        if (runsAsRoot()) {
            QSKIP("root reads every folder; tst_diskscanner_unprivileged runs this as nobody");
        }
        file(u"Open/visible.iso"_s, 70 * mib);
        file(u"Closed/hidden.iso"_s, 70 * mib);
        QVERIFY(QFile::setPermissions(home(u"Closed"_s), QFileDevice::Permissions()));
        makeScanner(platform::ToolRunner::create());
        scan();
        QCOMPARE(paths(m_scanner->heavyMedia()), QStringList{home(u"Open/visible.iso"_s)});
    }

    void anUnreadableHomeGivesEmptyLists()
    {
        DiskScanner::Dependencies dependencies;
        dependencies.roots = ScanRoots::forHome(m_tree->root() + u"/missing-home"_s,
                                                m_tree->root() + u"/missing-tmp"_s);
        dependencies.runner = std::make_unique<FakeToolRunner>();
        dependencies.clock = m_clock.get();
        dependencies.console = [](const QString &) {};
        m_scanner = std::make_unique<DiskScanner>(std::move(dependencies));
        scan();
        QVERIFY(m_scanner->heavyApps().isEmpty());
        QVERIFY(m_scanner->heavyFiles().isEmpty());
        QVERIFY(m_scanner->heavyFolders().isEmpty());
        QVERIFY(m_scanner->heavyMedia().isEmpty());
        QVERIFY(m_scanner->recommendations().isEmpty());
    }

    // Files that vanish while the walk runs are skipped; the walk goes on.
    void filesVanishingMidWalk()
    {
        for (int i = 0; i < 200; ++i) {
            QVERIFY(SyntheticHome::makeFileQuickly(home(u"Churn/f%1"_s.arg(i)), 1, now()));
        }
        int seen = 0;
        bool removed = false;
        platform::FileSystem::walk(home(u"Churn"_s), [&](const platform::WalkEntry &) {
            if (!removed) {
                // Take every file away after the first is seen.
                QDir(home(u"Churn"_s)).removeRecursively();
                removed = true;
            }
            ++seen;
            return true;
        });
        QVERIFY(seen >= 1);
        QVERIFY(seen <= 200);
    }

    void destroyingTheScannerMidScanStopsIt()
    {
        for (int i = 0; i < 3; ++i) {
            SyntheticHome::makeFolder(home(u"F"_s + QString::number(i)));
        }
        makeScanner();
        m_runner->setDelay(std::chrono::milliseconds(100));
        m_scanner->scanDeepDisk();
        QTest::qWait(20);
        m_scanner.reset();
        QTest::qWait(50); // posted results for the gone scanner are dropped
    }

    // A planted tree 19,000 folders deep: the walk holds a bounded number of handles and
    // buffers, stops at its depth limit and leaves no handle open.
    void aDeepTreeIsWalkedWithinBounds()
    {
        // On a tmpfs where there is one: 19,000 folders cost a minute on a disk.
        const QString shared = u"/dev/shm"_s;
        QTemporaryDir memory((QFileInfo(shared).isWritable() ? shared : m_tree->root()) +
                             u"/kv-deep-XXXXXX"_s);
        QVERIFY(memory.isValid());
        const QString root = memory.path() + u"/Deep"_s;
        const auto removeTree = qScopeGuard([&root] { removeDeepTree(root); });
        QVERIFY(makeDeepTree(root, 19000, {10, 100, 200, 5000, 18999}, 1));
        const int before = openDescriptors();
        QFile clear(u"/proc/self/clear_refs"_s);
        const bool peakReset = clear.open(QIODevice::WriteOnly) && clear.write("5") == 1;
        clear.close();
        const qint64 peakBefore = statusKibibytes("VmHWM");
        int most = before;
        QList<qsizetype> depths;
        const bool walked = platform::FileSystem::walk(root, [&](const platform::WalkEntry &entry) {
            most = std::max(most, openDescriptors());
            depths.append(qsizetype(entry.path.size()));
            return true;
        });
        QVERIFY(walked);
        QCOMPARE(openDescriptors(), before);
        QVERIFY2(most - before <= 300, qPrintable(QString::number(most - before)));
        // The shallow files are found, the ones past the limit are not.
        QVERIFY2(depths.size() >= 3 && depths.size() <= 4,
                 qPrintable(QString::number(depths.size())));
        if (peakReset) {
            const qint64 grown = statusKibibytes("VmHWM") - peakBefore;
            QVERIFY2(grown < 64 * 1024, qPrintable(QString::number(grown)));
        }
    }

    // Marked folders: each file below one carries its bit and where the folder's path ends, as
    // the walk entered it; a link to a marked folder is not entered, and a marked folder whose
    // tree goes past the depth limit is reported cut.
    void markedFoldersAreToldApart()
    {
        file(u"A/x.bin"_s, 1);
        file(u"A/B/y.bin"_s, 1);
        file(u"C/z.bin"_s, 1);
        SyntheticHome::makeLink(home(u"A"_s), home(u"L"_s));
        QVERIFY(makeDeepTree(home(u"C/Deep"_s), 300, {1, 290}, 1));
        const auto removeDeep = qScopeGuard([this] { removeDeepTree(home(u"C/Deep"_s)); });
        const auto identity = [](const QString &path) {
            return platform::FileSystem::status(path).value_or(platform::FileStatus{}).identity;
        };
        platform::WalkOptions options;
        options.markFolders = {identity(home(u"A"_s)), identity(home(u"A/B"_s)),
                               identity(home(u"C/Deep"_s)), identity(m_tree->outside())};
        QHash<QString, QString> seen;
        const platform::WalkReport report = platform::FileSystem::walk(
            m_tree->home(),
            [&](const platform::WalkEntry &entry) {
                QStringList marks;
                for (int bit = 0; bit < 4; ++bit) {
                    if (entry.marks & (1U << bit)) {
                        marks.append(
                            QString::number(bit) + u':' +
                            QString::fromUtf8(entry.path.substr(0, entry.markedPathLengths[bit])));
                    }
                }
                seen.insert(QString::fromUtf8(entry.path), marks.join(u' '));
                return true;
            },
            options);
        QVERIFY(report.rootOpened);
        QCOMPARE(seen.value(home(u"A/x.bin"_s)), u"0:"_s + home(u"A"_s));
        QCOMPARE(seen.value(home(u"A/B/y.bin"_s)),
                 u"0:"_s + home(u"A"_s) + u" 1:"_s + home(u"A/B"_s));
        QCOMPARE(seen.value(home(u"C/z.bin"_s)), QString());
        QCOMPARE(seen.value(home(u"C/Deep/d/f.iso"_s)), u"2:"_s + home(u"C/Deep"_s));
        QCOMPARE(seen.value(home(u"L"_s)), QString()); // the link itself, unmarked
        QCOMPARE(seen.size(), 5);                      // and nothing through it
        QCOMPARE(report.enteredMarks, 0b0111U);
        QCOMPARE(report.cutMarks, 0b0100U);
    }

    // A file system mounted inside the home, and a bind mount of a folder from outside it, are
    // other mounts: the walk does not enter them.
    void anotherMountIsNotEntered()
    {
        if (!PrivateMounts::enterNamespace()) {
            QSKIP(qPrintable(u"cannot make a private mount namespace (needs root): "_s +
                             PrivateMounts::error()));
        }
        PrivateMounts mounts;
        file(u"Videos/own.mp4"_s, 60 * mib, 100);
        QVERIFY(mounts.mountTmpfs(home(u"Videos/Mounted"_s), "size=1m"));
        file(u"Videos/Mounted/other.mp4"_s, 60 * mib, 100);
        QVERIFY(SyntheticHome::makeFile(m_tree->outside() + u"/Bound/bound.mp4"_s, 60 * mib,
                                        daysAgo(100)));
        SyntheticHome::makeFolder(home(u"Videos/Bound"_s));
        const QByteArray from = QFile::encodeName(m_tree->outside() + u"/Bound"_s);
        const QByteArray to = QFile::encodeName(home(u"Videos/Bound"_s));
        QVERIFY(::mount(from.constData(), to.constData(), nullptr, MS_BIND, nullptr) == 0);
        makeScanner();
        scan();
        ::umount2(to.constData(), MNT_DETACH);
        mounts.unmountAll();
        QCOMPARE(paths(m_scanner->heavyMedia()), QStringList{home(u"Videos/own.mp4"_s)});
    }

    // Closing the window destroys the scanner: a du that would run for minutes is killed and
    // the destructor returns at once.
    void destroyingTheScannerKillsDu()
    {
        SyntheticHome::makeFolder(home(u"Folder"_s));
        const QString pidFile = m_tree->root() + u"/du.pid"_s;
        const QString slowDu = m_tree->root() + u"/slow-du"_s;
        QVERIFY(SyntheticHome::writeFile(slowDu, "#!/bin/sh\necho $$ > '" + pidFile.toUtf8() +
                                                     "'\nexec sleep 600\n"));
        QVERIFY(QFile::setPermissions(slowDu, QFileDevice::ReadOwner | QFileDevice::ExeOwner));
        ScanEngine::Options options;
        options.duProgram = slowDu;
        options.duTimeout = std::chrono::seconds(30);
        makeScanner(platform::ToolRunner::create(), options);
        m_scanner->scanDeepDisk();
        QTRY_VERIFY_WITH_TIMEOUT(QFile(pidFile).size() > 0, 20000);
        QFile file(pidFile);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const pid_t pid = pid_t(file.readAll().trimmed().toInt());
        QVERIFY(pid > 0);
        QElapsedTimer clock;
        clock.start();
        m_scanner.reset();
        QVERIFY2(clock.elapsed() < 3000, qPrintable(QString::number(clock.elapsed())));
        QVERIFY(::kill(pid, 0) != 0 && errno == ESRCH);
    }

    // A home under /var, as atomic distributions have it (/var/home/USER), finds what the same
    // home finds under /home. /var/tmp is a temporary folder of the machine's, under /var.
    void aHomeUnderVarFindsWhatItFindsElsewhere()
    {
        QTemporaryDir var(u"/var/tmp/kv-varhome-XXXXXX"_s);
        if (!var.isValid()) {
            QSKIP("no writable /var/tmp on this machine");
        }
        const QString varHome = var.path() + u"/home/ada"_s;
        const auto plant = [this](const QString &base) {
            for (const auto &[relative, size, age] :
                 {std::tuple{u"Downloads/bigimage.iso"_s, 2 * gib, 1.0},
                  {u"Videos/match.mkv"_s, 300 * mib, 90.0},
                  {u"Projects/build.log"_s, 150 * mib, 70.0},
                  {u".cache/shaders/blob"_s, 3 * mib, 0.1},
                  {u".local/state/app/x.log"_s, 2 * mib, 1.0},
                  {u".mozilla/profile/cache.db"_s, 500 * mib, 90.0},
                  {u"Games/Big/data.pak"_s, gib, 90.0}}) {
                QVERIFY(SyntheticHome::makeFile(base + u'/' + relative, size, daysAgo(age)));
            }
        };
        const auto relativeListing = [](const QList<FileItem> &items, const QString &base) {
            QStringList lines;
            for (const FileItem &item : items) {
                lines.append(item.path.mid(base.size()) + u' ' + item.reasons.join(u", "_s));
            }
            return lines;
        };
        plant(m_tree->home());
        plant(varHome);
        makeScanner();
        scan();
        const QStringList files = relativeListing(m_scanner->heavyFiles(), m_tree->home());
        const QStringList media = relativeListing(m_scanner->heavyMedia(), m_tree->home());
        const QStringList recommended =
            relativeListing(m_scanner->recommendations(), m_tree->home());
        QCOMPARE(recommended.size(), 5);

        m_roots = ScanRoots::forHome(varHome, m_tree->tempDir());
        makeScanner();
        scan();
        QCOMPARE(relativeListing(m_scanner->heavyFiles(), varHome), files);
        QCOMPARE(relativeListing(m_scanner->heavyMedia(), varHome), media);
        QCOMPARE(relativeListing(m_scanner->recommendations(), varHome), recommended);
        QProcess::execute(u"rm"_s, {u"-rf"_s, var.path()});
    }

    // The download folder set to the home itself (what xdg-user-dirs writes once Downloads is
    // deleted), to /, or to a link to the home: the home is no cleanup folder, so only the
    // heavy-file rules speak for its files and nothing hidden is listed.
    void aUserFolderAtTheHomeIsNoCleanupFolder_data()
    {
        QTest::addColumn<QString>("downloads");
        QTest::newRow("the home") << u"HOME"_s;
        QTest::newRow("the home with a slash") << u"HOME/"_s;
        QTest::newRow("the root") << u"/"_s;
        QTest::newRow("a link to the home") << u"LINK"_s;
    }

    void aUserFolderAtTheHomeIsNoCleanupFolder()
    {
        QFETCH(QString, downloads);
        file(u"Videos/match.mkv"_s, 300 * mib, 30);
        file(u"Documents/notes.pdf"_s, 2 * mib, 30);
        file(u".mozilla/firefox/p/places.sqlite"_s, 20 * mib, 30);
        file(u".var/app/org.example.Game/data/save.bin"_s, 20 * mib, 30);
        file(u".wine/drive_c/game.zip"_s, 20 * mib, 30);
        file(u"Old/setup.iso"_s, 2 * gib, 90);
        SyntheticHome::makeLink(m_tree->home(), m_tree->root() + u"/link-to-home"_s);
        downloads.replace(u"HOME"_s, m_tree->home());
        downloads.replace(u"LINK"_s, m_tree->root() + u"/link-to-home"_s);
        ScanRoots roots = m_tree->roots();
        roots.downloadsDir = downloads;
        m_roots = roots;
        makeScanner();
        scan();
        QCOMPARE(paths(m_scanner->recommendations()), QStringList{home(u"Old/setup.iso"_s)});
        QCOMPARE(m_scanner->recommendations().first().reasons,
                 QStringList{u"Not accessed in 90 days"_s});
        QVERIFY(m_scanner->safeCleanupDirectories().at(2).isEmpty());
    }

    // A home in the temporary folder (guest sessions, throwaway homes): its files are no
    // temporary files; what else lies in the temporary folder still is.
    void aHomeInTheTemporaryFolderIsNotTemporary()
    {
        const QString guest = m_tree->tempDir() + u"/guest"_s;
        for (const auto &[relative, size, age] :
             {std::tuple{u"Games/Big/game.iso"_s, 4 * gib, 30.0},
              {u"Videos/match.mkv"_s, 2 * mib, 30.0},
              {u".var/app/org.example.Game/data/x.bin"_s, 3 * gib, 30.0},
              {u".cache/shaders/blob"_s, 3 * mib, 0.1},
              {u"Downloads/film.mkv"_s, 3 * mib, 1.0}}) {
            QVERIFY(SyntheticHome::makeFile(guest + u'/' + relative, size, daysAgo(age)));
        }
        QVERIFY(SyntheticHome::makeFile(m_tree->tempDir() + u"/crash.dmp"_s, 5 * mib, now()));
        m_roots = ScanRoots::forHome(guest, m_tree->tempDir());
        makeScanner();
        scan();
        QStringList listed;
        for (const FileItem &item : m_scanner->recommendations()) {
            listed.append(item.path.mid(m_tree->tempDir().size()) + u": "_s +
                          item.reasons.join(u", "_s));
        }
        QCOMPARE(listed, (QStringList{u"/crash.dmp: Temporary file"_s,
                                      u"/guest/.cache/shaders/blob: App cache"_s,
                                      u"/guest/Downloads/film.mkv: Large download artifact"_s}));
    }

    // Every root given with a trailing slash (or two) finds the same items under the same paths,
    // each once: the paths are put in one form where the walk starts, and the Trash records
    // that form.
    void rootsWithTrailingSlashesGiveTheSamePaths()
    {
        const QString guest = m_tree->tempDir() + u"/guest"_s;
        const auto plant = [&] {
            for (const auto &[relative, size, age] :
                 {std::tuple{u"Downloads/bigimage.iso"_s, 2 * gib, 1.0},
                  {u"Downloads/film.mkv"_s, 3 * mib, 1.0},
                  {u".cache/shaders/blob"_s, 3 * mib, 0.1},
                  {u".local/state/app/x.log"_s, 2 * mib, 1.0},
                  {u"Projects/build.log"_s, 150 * mib, 70.0},
                  {u"Games/x/data.zip"_s, 2 * gib, 70.0}}) {
                QVERIFY(SyntheticHome::makeFile(guest + u'/' + relative, size, daysAgo(age)));
            }
            QVERIFY(
                SyntheticHome::makeFile(m_tree->tempDir() + u"/other/crash.dmp"_s, 5 * mib, now()));
        };
        plant();
        const auto listing = [this] {
            QStringList lines;
            for (const QList<FileItem> *list :
                 {&m_scanner->heavyFiles(), &m_scanner->heavyMedia(), &m_scanner->heavyFolders(),
                  &m_scanner->recommendations()}) {
                for (const FileItem &item : *list) {
                    lines.append(item.path + u' ' + item.reasons.join(u", "_s));
                    if (!item.nativePath.isEmpty()) {
                        lines.append(QFile::decodeName(item.nativePath));
                    }
                }
                lines.append(u"--"_s);
            }
            return lines;
        };
        m_roots = ScanRoots::forHome(guest, m_tree->tempDir());
        makeScanner();
        m_runner->setKibibytes(guest + u"/Projects"_s, 200 * 1024);
        scan();
        const QStringList plain = listing();
        const QString big = guest + u"/Downloads/bigimage.iso"_s;
        QCOMPARE(paths(m_scanner->recommendations()).count(big), 1);
        QCOMPARE(find(m_scanner->recommendations(), big)->reasons,
                 QStringList{u"Large file in Downloads"_s});

        for (const QString &tail : {u"/"_s, u"//"_s, u"/./"_s}) {
            ScanRoots slashed = ScanRoots::forHome(guest, m_tree->tempDir());
            for (QString *root : {&slashed.home, &slashed.cacheDir, &slashed.logsDir,
                                  &slashed.downloadsDir, &slashed.tempDir}) {
                *root = (root->endsWith(u'/') ? root->chopped(1) : *root) + tail;
            }
            m_roots = slashed;
            makeScanner();
            m_runner->setKibibytes(guest + u"/Projects"_s, 200 * 1024);
            scan();
            QCOMPARE(listing(), plain);
            for (const QString &measured : m_runner->measuredPaths()) {
                QVERIFY2(!measured.contains(u"//"_s), qPrintable(measured));
            }
        }

        // The record in the Trash names the file by that one form.
        makeScanner(
            {}, {},
            std::make_unique<platform::FreedesktopTrash>(m_tree->root() + u"/data"_s, ::getuid()));
        scan();
        const FileItem *item = find(m_scanner->recommendations(), big);
        QVERIFY(item);
        QCOMPARE(m_scanner->deleteItemsById({item->id.toString(QUuid::WithoutBraces)}), 2 * gib);
        QFile record(m_tree->root() + u"/data/Trash/info/bigimage.iso.trashinfo"_s);
        QVERIFY(record.open(QIODevice::ReadOnly));
        const QByteArray expected =
            "\nPath=" +
            platform::FreedesktopTrash::encodePath(
                platform::FileSystem::resolvedPath(QFile::encodeName(guest)) +
                "/Downloads/bigimage.iso") +
            '\n';
        QVERIFY2(record.readAll().contains(expected), expected.constData());
    }

    // A snap's size is its current revision's; the revisions kept beside it are not the app.
    void snapsAreSizedByTheirCurrentRevision()
    {
        const QString snaps = m_tree->root() + u"/snap"_s;
        for (const QString &revision : {u"game/2041"_s, u"game/2063"_s, u"tool/7"_s}) {
            QVERIFY(SyntheticHome::makeFolder(snaps + u'/' + revision));
        }
        QVERIFY(SyntheticHome::writeFile(snaps + u"/game/2063/meta/gui/game.desktop"_s,
                                         "[Desktop Entry]\nName=The Game\n"));
        QVERIFY(SyntheticHome::makeLink(u"2063"_s, snaps + u"/game/current"_s));
        // A current link that leads out of the snap's folder is not followed.
        QVERIFY(SyntheticHome::makeLink(m_tree->outside(), snaps + u"/tool/current"_s));
        QVERIFY(SyntheticHome::makeFolder(snaps + u"/bin"_s));
        ScanRoots roots = m_tree->roots();
        roots.snapDir = snaps;
        m_roots = roots;
        makeScanner();
        m_runner->setKibibytes(snaps + u"/game"_s, 900 * 1024);
        m_runner->setKibibytes(snaps + u"/game/2041"_s, 450 * 1024);
        m_runner->setKibibytes(snaps + u"/game/2063"_s, 450 * 1024);
        m_runner->setKibibytes(m_tree->outside(), 900 * 1024);
        m_runner->setKibibytes(snaps + u"/tool"_s, 900 * 1024);
        scan();
        QCOMPARE(m_scanner->heavyApps().size(), 1);
        const FileItem &app = m_scanner->heavyApps().first();
        QCOMPARE(app.name, u"The Game"_s);
        QCOMPARE(app.path, snaps + u"/game"_s);
        QCOMPARE(app.size, 450 * 1024 * 1024LL);
        QVERIFY(!m_runner->measuredPaths().contains(snaps + u"/game"_s));
        QVERIFY(!m_runner->measuredPaths().contains(m_tree->outside()));
    }

    // Property: on random trees, hostile ones included (names that are not UTF-8 or hold a
    // newline, trees deeper than the walk goes, bind mounts of outside folders, folders swapped
    // for links between the scan and the removal), nothing protected is recommended, nothing
    // outside the scanned folders is listed, the scan changes nothing on disk, and the removal
    // moves exactly the listed items that are still what the scan saw.
    void randomTreesProperty()
    {
        const QStringList plainFolders{
            u"Downloads"_s,        u"Downloads/sub"_s,    u".cache/app"_s,
            u".local/state/app"_s, u".local/share/app"_s, u".ssh"_s,
            u".config/x"_s,        u".mozilla/p"_s,       u"Games/g"_s,
            u"Projects/.ssh"_s,    u"Projects/src"_s,     u"Videos"_s,
            u"Music/a b"_s,        u"Ünïcode"_s,          u".gnupg"_s,
            u"Work/.local/bin"_s,  u".Trash-0/files"_s,   u"Downloads/.config"_s,
            u".cache/deep/er"_s,   u"Downloads/x y"_s};
        // Hidden folders below the safe cleanup folders, the launchers' game folders, the state
        // folder's logs.
        const QStringList folders =
            plainFolders + QStringList{u"Projects/p/.git"_s,   u"Downloads/s/.git"_s,
                                       u".cache/app/.git"_s,   u"GOG Games/g"_s,
                                       u"snap/app/common"_s,   u".local/state/app/logs"_s,
                                       u".local/state/a/log"_s};
        const QStringList extensions{u".iso"_s, u".mp4"_s, u".log"_s, u".LOG"_s, u".tmp"_s,
                                     u".bin"_s, u".MOV"_s, u".zip"_s, u""_s,     u".swp"_s};
        const QList<QByteArray> oddNames{"bad\xff", "new\nline", "\xc3\x28", "tab\there",
                                         "photo\xef\xbf\xbd"};
        const bool canMount = PrivateMounts::enterNamespace();
        const quint32 seed = QRandomGenerator::global()->generate();
        qInfo("random tree seed %u", seed);
        QRandomGenerator random(seed);
        // Each round points the user folders (caches, state, downloads) somewhere: their own
        // places, the home itself, /, a link to the home, a path that does not exist.
        const QStringList userFolders{u""_s, u"HOME"_s, u"/"_s, u"LINK"_s, u"MISSING"_s};
        for (int round = 0; round < int(userFolders.size()); ++round) {
            init();
            const QString userFolder = userFolders.at(round);
            if (!userFolder.isEmpty()) {
                SyntheticHome::makeLink(m_tree->home(), m_tree->root() + u"/link-to-home"_s);
                QString target = userFolder;
                target.replace(u"HOME"_s, m_tree->home());
                target.replace(u"LINK"_s, m_tree->root() + u"/link-to-home"_s);
                target.replace(u"MISSING"_s, m_tree->root() + u"/missing"_s);
                ScanRoots roots = m_tree->roots();
                roots.cacheDir = roots.logsDir = roots.downloadsDir = target;
                m_roots = roots;
            }
            qInfo("user folders at %s",
                  qPrintable(userFolder.isEmpty() ? u"their places"_s : userFolder));
            const int count = random.bounded(80, 200);
            for (int i = 0; i < count; ++i) {
                const QString folder = folders.at(random.bounded(folders.size()));
                const QByteArray stem = random.bounded(4) == 0
                                            ? oddNames.at(random.bounded(oddNames.size()))
                                            : QByteArray("f");
                const QByteArray name = stem + QByteArray::number(i) +
                                        extensions.at(random.bounded(extensions.size())).toUtf8();
                const qint64 size = qint64(random.bounded(3000)) * mib;
                const double age = random.bounded(200.0);
                QVERIFY(SyntheticHome::makeFolder(home(folder)));
                const QByteArray path = QFile::encodeName(home(folder)) + '/' + name;
                const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
                QVERIFY(fd >= 0);
                QVERIFY(::ftruncate(fd, off_t(size)) == 0);
                timespec times[2]{};
                times[0].tv_nsec = UTIME_OMIT;
                times[1].tv_sec = time_t(daysAgo(age).toSecsSinceEpoch());
                QVERIFY(::futimens(fd, times) == 0);
                ::close(fd);
            }
            QVERIFY(makeDeepTree(home(u".cache/Deep"_s), random.bounded(300, 600), {3, 250, 299},
                                 5 * mib));
            QVERIFY(SyntheticHome::makeFileQuickly(m_tree->outside() + u"/out.iso"_s, 4 * gib,
                                                   daysAgo(100)));
            SyntheticHome::makeLink(m_tree->outside(), home(u"Outside"_s));
            PrivateMounts mounts;
            QByteArray bound;
            // Unmounted however the round ends, or removing the tree would stop at it.
            const auto unmount = qScopeGuard([&bound] {
                if (!bound.isEmpty()) {
                    ::umount2(bound.constData(), MNT_DETACH);
                }
            });
            if (canMount) {
                bound = QFile::encodeName(home(u"Downloads/Bound"_s));
                SyntheticHome::makeFolder(home(u"Downloads/Bound"_s));
                QVERIFY(::mount(QFile::encodeName(m_tree->outside()).constData(), bound.constData(),
                                nullptr, MS_BIND, nullptr) == 0);
            }
            const auto snapshot = [](const QString &root) {
                QStringList lines;
                platform::FileSystem::walk(root, [&](const platform::WalkEntry &e) {
                    lines.append(
                        QString::fromLatin1(QByteArray(e.path.data(), qsizetype(e.path.size()))
                                                .toPercentEncoding("/")) +
                        u' ' + QString::number(e.size) + u' ' + QString::number(e.modifiedMsecs));
                    return true;
                });
                lines.sort();
                return lines;
            };
            const QStringList before = snapshot(m_tree->root());
            makeScanner({}, {},
                        std::make_unique<platform::FreedesktopTrash>(m_tree->root() + u"/data"_s,
                                                                     ::getuid()));
            scan();
            QCOMPARE(snapshot(m_tree->root()), before);
            const QStringList safe = m_scanner->safeCleanupDirectories();
            if (!userFolder.isEmpty() && userFolder != u"MISSING"_s) {
                // The home itself or what holds it is never a cleanup folder.
                QCOMPARE(safe.first(3), (QStringList{QString(), QString(), QString()}));
            }
            const CleanerRules::ProtectionRule rule(home(QString()).chopped(1), safe, {});
            QSet<QByteArray> natives;
            for (const FileItem &item : m_scanner->recommendations()) {
                QVERIFY2(!rule.isProtected(item.path), qPrintable(item.path));
                QVERIFY2(!mayNeverBeListed(item.path), qPrintable(item.path));
                QVERIFY2(item.path.startsWith(m_tree->home() + u'/') ||
                             item.path.startsWith(m_tree->tempDir() + u'/'),
                         qPrintable(item.path));
                QVERIFY2(!item.path.startsWith(home(u"Downloads/Bound/"_s)), qPrintable(item.path));
                QVERIFY(!item.reasons.isEmpty());
                QVERIFY(item.recommended);
                // A cleanup target lies in a cleanup folder that is in use.
                if (item.type != u"file"_s) {
                    bool inCleanupFolder = false;
                    for (const QString &folder : safe) {
                        inCleanupFolder =
                            inCleanupFolder ||
                            (!folder.isEmpty() && CleanerRules::isUnder(item.path, folder));
                    }
                    QVERIFY2(inCleanupFolder, qPrintable(item.path));
                }
                // Each listed once, by its own bytes, which name a file that is there.
                QVERIFY(!natives.contains(item.nativePath));
                natives.insert(item.nativePath);
                QVERIFY(::access(item.nativePath.constData(), F_OK) == 0);
            }
            for (const QList<FileItem> *list :
                 {&m_scanner->heavyFiles(), &m_scanner->heavyMedia()}) {
                for (const FileItem &item : *list) {
                    QVERIFY2(!rule.isProtected(item.path), qPrintable(item.path));
                    QVERIFY2(!mayNeverBeListed(item.path), qPrintable(item.path));
                    QVERIFY(item.path.startsWith(m_tree->home() + u'/'));
                    QVERIFY(!item.path.startsWith(home(u"Downloads/Bound/"_s)));
                }
            }

            // Some folders become links to an outside copy of themselves before the removal.
            QSet<QByteArray> parents;
            for (const FileItem &item : m_scanner->recommendations()) {
                parents.insert(item.nativePath.left(item.nativePath.lastIndexOf('/')));
            }
            const QSet<QByteArray> roots{
                QFile::encodeName(home(u".cache"_s)), QFile::encodeName(home(u"Downloads"_s)),
                QFile::encodeName(home(u".local/state"_s)), QFile::encodeName(m_tree->tempDir())};
            QSet<QByteArray> swapped;
            int copies = 0;
            for (const QByteArray &parent : std::as_const(parents)) {
                // Not inside the deep tree, whose folders nest in one another.
                if (roots.contains(parent) || parent.contains("/Deep/") || random.bounded(2) == 0) {
                    continue;
                }
                const QByteArray copy =
                    QFile::encodeName(m_tree->outside()) + "/copy" + QByteArray::number(copies++);
                QVERIFY(QProcess::execute(u"cp"_s, {u"-a"_s, QFile::decodeName(parent),
                                                    QFile::decodeName(copy)}) == 0);
                QVERIFY(::rename(parent.constData(), QByteArray(parent + ".old").constData()) == 0);
                QVERIFY(::symlink(copy.constData(), parent.constData()) == 0);
                swapped.insert(parent);
            }
            const QStringList outsideBefore = snapshot(m_tree->outside());
            QStringList ids;
            int expectedMoves = 0;
            qint64 expectedFreed = 0;
            for (const FileItem &item : m_scanner->recommendations()) {
                ids.append(item.id.toString(QUuid::WithoutBraces));
                bool underSwapped = false;
                for (const QByteArray &parent : std::as_const(swapped)) {
                    underSwapped =
                        underSwapped || item.nativePath.startsWith(QByteArray(parent + '/'));
                }
                if (!underSwapped) {
                    ++expectedMoves;
                    expectedFreed += item.size;
                }
            }
            m_console->lines.clear();
            QCOMPARE(m_scanner->deleteItemsById(ids), expectedFreed);
            QCOMPARE(snapshot(m_tree->outside()), outsideBefore);
            QCOMPARE(m_console->taken().size(),
                     m_scanner->recommendations().size() - expectedMoves);
            const QString trashFiles = m_tree->root() + u"/data/Trash/files"_s;
            // Counted by readdir: QDir drops names that are not UTF-8.
            QCOMPARE(platform::FileSystem::list(trashFiles).value_or(QStringList()).size(),
                     expectedMoves);
            if (!bound.isEmpty()) {
                ::umount2(bound.constData(), MNT_DETACH);
                bound.clear();
            }
            removeDeepTree(home(u".cache/Deep"_s));
            cleanup();
        }
    }
};

KV_TEST_MAIN(TestDiskScanner)
#include "tst_diskscanner.moc"
