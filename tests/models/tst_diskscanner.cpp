#include "FakeToolRunner.h"
#include "FakeTrash.h"
#include "ManualClock.h"
#include "SyntheticHome.h"
#include "TestEnvironment.h"
#include "cleaner/DiskScanner.h"
#include "platform/FileSystem.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QMutex>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>
#include <QThread>
#include <QTimer>

#include <fcntl.h>
#include <memory>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
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

    [[nodiscard]] QDateTime now() const { return m_clock->now(); }
    [[nodiscard]] QDateTime daysAgo(double days) const
    {
        return now().addSecs(-qint64(days * double(day)));
    }
    [[nodiscard]] QString home(const QString &relative) const { return m_tree->path(relative); }

    void makeScanner(std::unique_ptr<platform::ToolRunner> runner = {},
                     ScanEngine::Options options = {})
    {
        DiskScanner::Dependencies dependencies;
        dependencies.roots = m_tree->roots();
        if (runner) {
            m_runner = nullptr;
            dependencies.runner = std::move(runner);
        } else {
            auto fake = std::make_unique<FakeToolRunner>();
            m_runner = fake.get();
            dependencies.runner = std::move(fake);
        }
        auto trash = std::make_unique<FakeTrash>();
        m_trash = trash.get();
        dependencies.trash = std::move(trash);
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
            if (path.startsWith(folder + u'/')) {
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

    void aSecondScanCannotStartWhileOneRuns()
    {
        SyntheticHome::makeFolder(home(u"Projects"_s));
        SyntheticHome::makeFolder(home(u"Music"_s));
        makeScanner();
        m_runner->setDelay(std::chrono::milliseconds(150));
        QSignalSpy started(m_scanner.get(), &DiskScanner::isScanningChanged);
        m_scanner->scanDeepDisk();
        m_scanner->scanDeepDisk();
        QTest::qWait(50);
        m_scanner->scanDeepDisk();
        QTRY_VERIFY_WITH_TIMEOUT(!m_scanner->isScanning(), 60000);
        QCOMPARE(started.count(), 2); // on, then off: one scan
        QCOMPARE(m_runner->measuredPaths().size(), 2);
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
        // The undecodable name is shown as best it can be; moving it fails and deletes nothing.
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
        QVERIFY(QFile::exists(QString::fromLocal8Bit(badName)) ||
                ::access(badName.constData(), F_OK) == 0);
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

    // Property: on random trees nothing protected is recommended, nothing outside the scanned
    // folders is listed, and the scan changes nothing on disk.
    void randomTreesProperty()
    {
        const QStringList plainFolders{
            u"Downloads"_s,        u"Downloads/sub"_s,    u".cache/app"_s,
            u".local/state/app"_s, u".local/share/app"_s, u".ssh"_s,
            u".config/x"_s,        u".mozilla/p"_s,       u"Games/g"_s,
            u"Projects/.ssh"_s,    u"Projects/src"_s,     u"Videos"_s,
            u"Music/a b"_s,        u"Ünïcode"_s,          u".gnupg"_s,
            u"Work/.local/bin"_s,  u".Trash-0/files"_s,   u"Downloads/.config"_s};
        // Hidden folders below the safe cleanup folders, the launchers' game folders, the state
        // folder's logs.
        const QStringList folders =
            plainFolders + QStringList{u"Projects/p/.git"_s,   u"Downloads/s/.git"_s,
                                       u".cache/app/.git"_s,   u"GOG Games/g"_s,
                                       u"snap/app/common"_s,   u".local/state/app/logs"_s,
                                       u".local/state/a/log"_s};
        const QStringList extensions{u".iso"_s, u".mp4"_s, u".log"_s, u".LOG"_s, u".tmp"_s,
                                     u".bin"_s, u".MOV"_s, u".zip"_s, u""_s,     u".swp"_s};
        const quint32 seed = QRandomGenerator::global()->generate();
        qInfo("random tree seed %u", seed);
        QRandomGenerator random(seed);
        for (int round = 0; round < 3; ++round) {
            init();
            const int count = random.bounded(80, 200);
            for (int i = 0; i < count; ++i) {
                const QString folder = folders.at(random.bounded(folders.size()));
                const QString name =
                    u"f"_s + QString::number(i) + extensions.at(random.bounded(extensions.size()));
                const qint64 size = qint64(random.bounded(3000)) * mib;
                const double age = random.bounded(200.0);
                QVERIFY(
                    SyntheticHome::makeFileQuickly(home(folder + u'/' + name), size, daysAgo(age)));
            }
            QVERIFY(SyntheticHome::makeFileQuickly(m_tree->outside() + u"/out.iso"_s, 4 * gib,
                                                   daysAgo(100)));
            SyntheticHome::makeLink(m_tree->outside(), home(u"Outside"_s));
            const auto snapshot = [this] {
                QStringList lines;
                platform::FileSystem::walk(m_tree->root(), [&](const platform::WalkEntry &e) {
                    lines.append(QString::fromUtf8(e.path.data(), qsizetype(e.path.size())) + u' ' +
                                 QString::number(e.size) + u' ' + QString::number(e.modifiedMsecs));
                    return true;
                });
                lines.sort();
                return lines;
            };
            const QStringList before = snapshot();
            makeScanner();
            scan();
            QCOMPARE(snapshot(), before);
            const CleanerRules::ProtectionRule rule(home(QString()).chopped(1),
                                                    m_scanner->safeCleanupDirectories(), {});
            for (const FileItem &item : m_scanner->recommendations()) {
                QVERIFY2(!rule.isProtected(item.path), qPrintable(item.path));
                QVERIFY2(!mayNeverBeListed(item.path), qPrintable(item.path));
                QVERIFY2(item.path.startsWith(m_tree->home() + u'/') ||
                             item.path.startsWith(m_tree->tempDir() + u'/'),
                         qPrintable(item.path));
                QVERIFY(!item.reasons.isEmpty());
                QVERIFY(item.recommended);
            }
            for (const QList<FileItem> *list :
                 {&m_scanner->heavyFiles(), &m_scanner->heavyMedia()}) {
                for (const FileItem &item : *list) {
                    QVERIFY2(!rule.isProtected(item.path), qPrintable(item.path));
                    QVERIFY2(!mayNeverBeListed(item.path), qPrintable(item.path));
                    QVERIFY(item.path.startsWith(m_tree->home() + u'/'));
                }
            }
            cleanup();
        }
    }
};

KV_TEST_MAIN(TestDiskScanner)
#include "tst_diskscanner.moc"
