#include "FakeToolRunner.h"
#include "PrivateMounts.h"
#include "SyntheticHome.h"
#include "TestEnvironment.h"
#include "cleaner/DiskScanner.h"
#include "platform/linux/FreedesktopTrash.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <sys/fsuid.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// A file named in bytes that need not be UTF-8, which QFile cannot open.
QByteArray readRaw(const QByteArray &path)
{
    QByteArray bytes;
    const int fd = ::open(path.constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return bytes;
    }
    char chunk[4096];
    for (ssize_t count = 0; (count = ::read(fd, chunk, sizeof chunk)) > 0;) {
        bytes.append(chunk, qsizetype(count));
    }
    ::close(fd);
    return bytes;
}

bool writeAll(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

bool exists(const QString &path)
{
    struct stat info {};
    return ::lstat(QFile::encodeName(path).constData(), &info) == 0;
}

QStringList entries(const QString &folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System |
                                  QDir::NoDotAndDotDot);
}

QString uid()
{
    return QString::number(::getuid());
}

/// The unprivileged second user that plays the other person on the machine.
constexpr uid_t otherUid = 65534;

/// Runs a shell script as the other user; its exit status, or -1 when it could not run.
int asOtherUser(const QString &script)
{
    const QString id = QString::number(otherUid);
    return QProcess::execute(u"setpriv"_s,
                             {u"--reuid="_s + id, u"--regid="_s + id, u"--clear-groups"_s, u"--"_s,
                              u"sh"_s, u"-c"_s, script});
}

QString quoted(const QString &path)
{
    return u'\'' + path + u'\'';
}

const FileItem *listed(const QList<FileItem> &items, const QString &path)
{
    for (const FileItem &item : items) {
        if (item.path == path) {
            return &item;
        }
    }
    return nullptr;
}

} // namespace

// The freedesktop.org Trash, checked against an implementation nobody here wrote: Debian's
// trash-cli lists what we trashed and restores it byte for byte.
class TestTrash : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> m_root;
    PrivateMounts m_mounts;

    [[nodiscard]] QString home() const { return m_root->path() + u"/home"_s; }
    [[nodiscard]] QString dataHome() const { return home() + u"/.local/share"_s; }
    [[nodiscard]] QString homeTrash() const { return dataHome() + u"/Trash"_s; }

    [[nodiscard]] QProcessEnvironment trashCliEnvironment() const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"HOME"_s, home());
        environment.insert(u"XDG_DATA_HOME"_s, dataHome());
        environment.insert(u"LC_ALL"_s, u"C.UTF-8"_s);
        return environment;
    }

    QString trashCli(const QString &program, const QStringList &arguments,
                     const QByteArray &input = {})
    {
        QProcess process;
        process.setProcessEnvironment(trashCliEnvironment());
        process.setWorkingDirectory(m_root->path());
        process.start(program, arguments);
        if (!process.waitForStarted(10000)) {
            return u"<could not start "_s + program + u'>';
        }
        process.write(input);
        process.closeWriteChannel();
        process.waitForFinished(30000);
        return QString::fromUtf8(process.readAllStandardOutput());
    }

    /// A scanner over home() with the real Trash; du is not needed here.
    std::unique_ptr<DiskScanner> makeScanner(const QString &tempDir, QStringList *printed)
    {
        DiskScanner::Dependencies dependencies;
        dependencies.roots = ScanRoots::forHome(home(), tempDir);
        dependencies.runner = std::make_unique<FakeToolRunner>();
        dependencies.trash = std::make_unique<platform::FreedesktopTrash>(dataHome(), ::getuid());
        dependencies.console = [printed](const QString &line) { printed->append(line); };
        return std::make_unique<DiskScanner>(std::move(dependencies));
    }

    static bool scan(DiskScanner &scanner)
    {
        scanner.scanDeepDisk();
        return QTest::qWaitFor([&scanner] { return !scanner.isScanning(); }, 60000);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(!QStandardPaths::findExecutable(u"trash-list"_s).isEmpty(),
                 "trash-cli is a test package (tools/packages.sh)");
    }

    void init()
    {
        m_root = std::make_unique<QTemporaryDir>(QDir::tempPath() + u"/kv-trash-XXXXXX");
        QVERIFY(m_root->isValid());
        QVERIFY(QDir().mkpath(home()));
    }

    void cleanup()
    {
        m_mounts.unmountAll();
        QProcess::execute(u"chmod"_s, {u"-R"_s, u"u+rwx"_s, m_root->path()});
        // Names that are not UTF-8 are beyond QDir's reach.
        QProcess::execute(u"rm"_s, {u"-rf"_s, m_root->path()});
        m_root.reset();
    }

    void encodesPathsByteForByte_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<QByteArray>("encoded");
        QTest::newRow("plain") << QByteArray("/home/a/file-1_x.~txt")
                               << QByteArray("/home/a/file-1_x.~txt");
        QTest::newRow("space") << QByteArray("/a b") << QByteArray("/a%20b");
        QTest::newRow("percent") << QByteArray("/100%") << QByteArray("/100%25");
        QTest::newRow("hash and question")
            << QByteArray("/#1?x=y&z") << QByteArray("/%231%3Fx%3Dy%26z");
        QTest::newRow("newline") << QByteArray("/a\nb") << QByteArray("/a%0Ab");
        QTest::newRow("utf-8") << QByteArray("/é文") << QByteArray("/%C3%A9%E6%96%87");
        QTest::newRow("not utf-8") << QByteArray("/\xff\xfe") << QByteArray("/%FF%FE");
    }

    void encodesPathsByteForByte()
    {
        QFETCH(QByteArray, path);
        QFETCH(QByteArray, encoded);
        QCOMPARE(platform::FreedesktopTrash::encodePath(path), encoded);
    }

    // Names with spaces, "%", "#", non-ASCII letters and a newline: trash-list names each with
    // its original path, and trash-restore brings each back byte for byte.
    void trashCliListsAndRestoresWhatWeTrashed()
    {
        const QStringList names{
            u"with space.txt"_s, u"100%.txt"_s,     u"#hash"_s,   u"naïve Ünïcödé 文件.txt"_s,
            u"new\nline.txt"_s,  u"%41 not an A"_s, u"A Folder"_s};
        QHash<QString, QByteArray> contents;
        for (const QString &name : names) {
            const QString path = home() + u"/files/"_s + name;
            const QByteArray bytes = "content of " + name.toUtf8() + '\0' + QByteArray(300, 'x');
            if (name == u"A Folder"_s) {
                QVERIFY(QDir().mkpath(path + u"/inner"_s));
                QVERIFY(writeAll(path + u"/inner/leaf.bin"_s, bytes));
                contents.insert(path + u"/inner/leaf.bin"_s, bytes);
            } else {
                QVERIFY(SyntheticHome::writeFile(path, bytes));
                contents.insert(path, bytes);
            }
        }
        platform::FreedesktopTrash trash(dataHome(), ::getuid());
        for (const QString &name : names) {
            const QString path = home() + u"/files/"_s + name;
            const platform::Trash::Result result = trash.moveToTrash(path);
            QVERIFY2(result.moved, qPrintable(result.error));
            QVERIFY(!exists(path));
            QVERIFY(result.trashedPath.startsWith(homeTrash() + u"/files/"_s));
            QVERIFY(exists(result.trashedPath));
        }
        QCOMPARE(entries(homeTrash() + u"/info"_s).size(), names.size());

        const QString listed = trashCli(u"trash-list"_s, {});
        for (const QString &name : names) {
            const QString path = home() + u"/files/"_s + name;
            QVERIFY2(listed.contains(u' ' + path + u'\n'), qPrintable(path + u"\n---\n" + listed));
        }

        for (const QString &name : names) {
            const QString path = home() + u"/files/"_s + name;
            const QString answer = trashCli(u"trash-restore"_s, {path}, "0\n");
            QVERIFY2(exists(path), qPrintable(answer));
        }
        for (auto it = contents.cbegin(); it != contents.cend(); ++it) {
            QCOMPARE(readAll(it.key()), it.value());
        }
        QVERIFY(entries(homeTrash() + u"/files"_s).isEmpty());
        QVERIFY(entries(homeTrash() + u"/info"_s).isEmpty());
    }

    void writesTheRecordTheSpecificationAsksFor()
    {
        const QString path = home() + u"/a b%#é"_s;
        QVERIFY(writeAll(path, "x"));
        platform::FreedesktopTrash trash(dataHome(), ::getuid());
        QVERIFY(trash.moveToTrash(path).moved);
        const QByteArray info = readAll(homeTrash() + u"/info/a b%#é.trashinfo"_s);
        const QRegularExpression record(u"^\\[Trash Info\\]\nPath=(.*)\nDeletionDate="
                                        u"\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\n$"_s);
        const QRegularExpressionMatch match = record.match(QString::fromLatin1(info));
        QVERIFY2(match.hasMatch(), info.constData());
        QCOMPARE(match.captured(1),
                 QString::fromLatin1(QFile::encodeName(home()) + "/a%20b%25%23%C3%A9"));
        QCOMPARE(QFileInfo(homeTrash()).permissions() & 0x0077, QFileDevice::Permissions());
    }

    void sameNamesDoNotCollide()
    {
        platform::FreedesktopTrash trash(dataHome(), ::getuid());
        QStringList trashed;
        for (const QString &folder : {u"one"_s, u"two"_s, u"three"_s}) {
            const QString path = home() + u'/' + folder + u"/same.txt"_s;
            QVERIFY(SyntheticHome::writeFile(path, folder.toUtf8()));
            // A leftover without its record takes up the second name.
            if (folder == u"two"_s) {
                QVERIFY(writeAll(homeTrash() + u"/files/same.txt.2"_s, "orphan"));
            }
            const platform::Trash::Result result = trash.moveToTrash(path);
            QVERIFY2(result.moved, qPrintable(result.error));
            trashed.append(result.trashedPath);
        }
        QCOMPARE(trashed, (QStringList{homeTrash() + u"/files/same.txt"_s,
                                       homeTrash() + u"/files/same.txt.3"_s,
                                       homeTrash() + u"/files/same.txt.4"_s}));
        QCOMPARE(readAll(homeTrash() + u"/files/same.txt.2"_s), QByteArray("orphan"));
        const QString listed = trashCli(u"trash-list"_s, {});
        for (const QString &folder : {u"one"_s, u"two"_s, u"three"_s}) {
            QVERIFY(listed.contains(home() + u'/' + folder + u"/same.txt"_s));
        }
    }

    // Never the working directory, as Qt 6.4's QFile::moveToTrash does.
    void aMissingDataFolderIsCreated()
    {
        QTemporaryDir workingDirectory;
        const QString previous = QDir::currentPath();
        QVERIFY(QDir::setCurrent(workingDirectory.path()));
        QVERIFY(!exists(home() + u"/.local"_s));
        QVERIFY(writeAll(home() + u"/doomed"_s, "x"));
        platform::FreedesktopTrash trash(dataHome(), ::getuid());
        const platform::Trash::Result result = trash.moveToTrash(home() + u"/doomed"_s);
        QDir::setCurrent(previous);
        QVERIFY2(result.moved, qPrintable(result.error));
        QVERIFY(exists(homeTrash() + u"/files/doomed"_s));
        QVERIFY(exists(homeTrash() + u"/info/doomed.trashinfo"_s));
        QVERIFY(entries(workingDirectory.path()).isEmpty());
    }

    void aLinkIsMovedAsTheLink()
    {
        QVERIFY(SyntheticHome::writeFile(m_root->path() + u"/target/keep.txt"_s, "keep"));
        QVERIFY(SyntheticHome::makeLink(m_root->path() + u"/target"_s, home() + u"/link"_s));
        QVERIFY(SyntheticHome::makeLink(m_root->path() + u"/nowhere"_s, home() + u"/dangling"_s));
        platform::FreedesktopTrash trash(dataHome(), ::getuid());
        QVERIFY(trash.moveToTrash(home() + u"/link"_s).moved);
        QVERIFY(trash.moveToTrash(home() + u"/dangling"_s).moved);
        QVERIFY(!exists(home() + u"/link"_s));
        QCOMPARE(readAll(m_root->path() + u"/target/keep.txt"_s), QByteArray("keep"));
        QVERIFY(QFileInfo(homeTrash() + u"/files/link"_s).isSymLink());
        QVERIFY(QFileInfo(homeTrash() + u"/files/dangling"_s).isSymLink());
    }

    void refusesWhatCannotBeTrashed()
    {
        platform::FreedesktopTrash trash(dataHome(), ::getuid());
        const QStringList refused{home() + u"/missing"_s, u"relative/path"_s, dataHome(),
                                  home() + u"/.local"_s};
        for (const QString &path : refused) {
            const platform::Trash::Result result = trash.moveToTrash(path);
            QVERIFY2(!result.moved, qPrintable(path));
            QVERIFY(result.error.startsWith(u"cannot move "_s));
        }
    }

    // A read-only folder: an error, the file left where it was, no record left behind.
    void aReadOnlyFolderGivesAnError()
    {
        const QString folder = home() + u"/readonly"_s;
        QVERIFY(SyntheticHome::writeFile(folder + u"/stays.txt"_s, "stays"));
        if (::geteuid() == 0) {
            // Root writes through permissions; a read-only mount stops it.
            if (!PrivateMounts::enterNamespace()) {
                QSKIP(qPrintable(u"cannot make a private mount namespace: "_s +
                                 PrivateMounts::error()));
            }
            QVERIFY(m_mounts.bindReadOnly(folder));
        } else {
            QVERIFY(QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::ExeOwner));
        }
        QStringList printed;
        DiskScanner::Dependencies dependencies;
        dependencies.roots = ScanRoots::forHome(home(), m_root->path() + u"/tmp"_s);
        dependencies.trash = std::make_unique<platform::FreedesktopTrash>(dataHome(), ::getuid());
        dependencies.console = [&printed](const QString &line) { printed.append(line); };
        DiskScanner scanner(std::move(dependencies));
        QCOMPARE(scanner.deleteItems(QStringList{folder + u"/stays.txt"_s}), qint64(0));
        QCOMPARE(printed.size(), 1);
        QVERIFY2(printed.first().startsWith(u"Delete error: cannot move "_s),
                 qPrintable(printed.first()));
        QCOMPARE(readAll(folder + u"/stays.txt"_s), QByteArray("stays"));
        QVERIFY(entries(homeTrash() + u"/info"_s).isEmpty());
    }

    // A file on a file system whose top folder only root may write (a /tmp file on the root file
    // system when /home is a file system of its own): no Trash can take it. It stays where it
    // is and listed, nothing is deleted, and the screen's line says why.
    void noTrashOnAFileSystemWhoseTopTheUserCannotWrite()
    {
        if (::geteuid() != 0 || !PrivateMounts::enterNamespace()) {
            QSKIP("needs root for a private mount namespace and a second user's file access");
        }
        constexpr uid_t nobody = 65534;
        QVERIFY(::chmod(QFile::encodeName(m_root->path()).constData(), 0755) == 0);
        const QString volume = m_root->path() + u"/rootfs"_s;
        QVERIFY(m_mounts.mountTmpfs(volume, "size=16m,mode=0755"));
        const QString tmp = volume + u"/tmp"_s;
        QVERIFY(::mkdir(QFile::encodeName(tmp).constData(), 01777) == 0);
        QVERIFY(::chmod(QFile::encodeName(tmp).constData(), 01777) == 0);
        const QString path = tmp + u"/crash report.dmp"_s;
        QVERIFY(SyntheticHome::makeFileQuickly(path, 5 * 1'048'576, QDateTime::currentDateTime()));
        QVERIFY(::chown(QFile::encodeName(path).constData(), nobody, nobody) == 0);

        QStringList printed;
        DiskScanner::Dependencies dependencies;
        dependencies.roots = ScanRoots::forHome(home(), tmp);
        dependencies.runner = std::make_unique<FakeToolRunner>();
        dependencies.trash = std::make_unique<platform::FreedesktopTrash>(dataHome(), nobody);
        dependencies.console = [&printed](const QString &line) { printed.append(line); };
        DiskScanner scanner(std::move(dependencies));
        QVERIFY(scan(scanner));
        const FileItem *item = listed(scanner.recommendations(), path);
        QVERIFY(item);

        // The removal acts as that user: root's override of permissions is dropped with the
        // file-system uid, for this thread only.
        const int previous = ::setfsuid(nobody);
        const qint64 freed = scanner.deleteItemsById({item->id.toString(QUuid::WithoutBraces)});
        ::setfsuid(uid_t(previous));
        QCOMPARE(freed, qint64(0));
        QCOMPARE(scanner.removalProblem(),
                 u"Not moved: crash report.dmp is on a drive without a Trash you can use"_s);
        QCOMPARE(printed.size(), 1);
        QVERIFY2(printed.first().startsWith(u"Delete error: cannot move "_s),
                 qPrintable(printed.first()));
        QVERIFY(exists(path));
        QCOMPARE(QFileInfo(path).size(), 5 * 1'048'576);
        QVERIFY(!exists(volume + u"/.Trash-65534"_s));
        QVERIFY(!exists(homeTrash()));
        QVERIFY(listed(scanner.recommendations(), path));

        // The platform's answer itself, and a removal that goes well clears the line.
        platform::FreedesktopTrash trash(dataHome(), nobody);
        ::setfsuid(nobody);
        const platform::Trash::Result result = trash.moveToTrash(path);
        ::setfsuid(uid_t(previous));
        QVERIFY(!result.moved);
        QVERIFY(result.noTrashHere);
        QVERIFY(exists(path));
        QCOMPARE(scanner.deleteItems(QStringList()), qint64(0));
        QCOMPARE(scanner.removalProblem(), QString());
    }

    // Items on another mount go to that mount's trash, which trash-cli finds and restores from.
    void anotherMountUsesItsOwnTrash()
    {
        if (!PrivateMounts::enterNamespace()) {
            QSKIP(qPrintable(u"cannot make a private mount namespace (needs root): "_s +
                             PrivateMounts::error()));
        }
        const QString volume = m_root->path() + u"/volume"_s;
        QVERIFY(m_mounts.mountTmpfs(volume, "size=8m,mode=0755"));
        const QString path = volume + u"/data/game save #1.bin"_s;
        QVERIFY(SyntheticHome::writeFile(path, "save"));
        platform::FreedesktopTrash trash(dataHome(), ::getuid());
        const platform::Trash::Result result = trash.moveToTrash(path);
        QVERIFY2(result.moved, qPrintable(result.error));
        const QString mountTrash = volume + u"/.Trash-"_s + uid();
        QCOMPARE(result.trashedPath, mountTrash + u"/files/game save #1.bin"_s);
        // Relative to the mount's top folder.
        QVERIFY(readAll(mountTrash + u"/info/game save #1.bin.trashinfo"_s)
                    .contains("\nPath=data/game%20save%20%231.bin\n"));
        QVERIFY(!exists(homeTrash()));

        const QString listed = trashCli(u"trash-list"_s, {});
        QVERIFY2(listed.contains(u' ' + path + u'\n'), qPrintable(listed));
        trashCli(u"trash-restore"_s, {path}, "0\n");
        QCOMPARE(readAll(path), QByteArray("save"));
    }

    void aStickySharedTrashIsUsedAndAnUnsafeOneIsNot()
    {
        if (!PrivateMounts::enterNamespace()) {
            QSKIP(qPrintable(u"cannot make a private mount namespace (needs root): "_s +
                             PrivateMounts::error()));
        }
        platform::FreedesktopTrash trash(dataHome(), ::getuid());
        // Sticky: $topdir/.Trash/$uid.
        const QString sticky = m_root->path() + u"/sticky"_s;
        QVERIFY(m_mounts.mountTmpfs(sticky, "size=4m"));
        QVERIFY(::mkdir(QFile::encodeName(sticky + u"/.Trash"_s).constData(), 01777) == 0);
        QVERIFY(::chmod(QFile::encodeName(sticky + u"/.Trash"_s).constData(), 01777) == 0);
        QVERIFY(writeAll(sticky + u"/a"_s, "a"));
        QCOMPARE(trash.moveToTrash(sticky + u"/a"_s).trashedPath,
                 sticky + u"/.Trash/"_s + uid() + u"/files/a"_s);
        // Not sticky: $topdir/.Trash-$uid instead.
        const QString plain = m_root->path() + u"/plain"_s;
        QVERIFY(m_mounts.mountTmpfs(plain, "size=4m"));
        QVERIFY(::mkdir(QFile::encodeName(plain + u"/.Trash"_s).constData(), 0777) == 0);
        QVERIFY(writeAll(plain + u"/b"_s, "b"));
        QCOMPARE(trash.moveToTrash(plain + u"/b"_s).trashedPath,
                 plain + u"/.Trash-"_s + uid() + u"/files/b"_s);
        // A link named .Trash, even to a sticky folder, is not followed.
        const QString linked = m_root->path() + u"/linked"_s;
        QVERIFY(m_mounts.mountTmpfs(linked, "size=4m"));
        QVERIFY(::mkdir(QFile::encodeName(linked + u"/real"_s).constData(), 01777) == 0);
        QVERIFY(SyntheticHome::makeLink(linked + u"/real"_s, linked + u"/.Trash"_s));
        QVERIFY(writeAll(linked + u"/c"_s, "c"));
        QCOMPARE(trash.moveToTrash(linked + u"/c"_s).trashedPath,
                 linked + u"/.Trash-"_s + uid() + u"/files/c"_s);
        QVERIFY(entries(linked + u"/real"_s).isEmpty());
    }

    void aFullTrashFileSystemLeavesTheFile()
    {
        if (!PrivateMounts::enterNamespace()) {
            QSKIP(qPrintable(u"cannot make a private mount namespace (needs root): "_s +
                             PrivateMounts::error()));
        }
        const QString volume = m_root->path() + u"/full"_s;
        QVERIFY(m_mounts.mountTmpfs(volume, "size=64k"));
        QVERIFY(writeAll(volume + u"/victim"_s, "victim"));
        // Fill every page that is left.
        QFile filler(volume + u"/filler"_s);
        QVERIFY(filler.open(QIODevice::WriteOnly));
        const QByteArray block(4096, 'f');
        while (filler.write(block) == block.size() && filler.flush()) {
        }
        filler.close();
        platform::FreedesktopTrash trash(dataHome(), ::getuid());
        const platform::Trash::Result result = trash.moveToTrash(volume + u"/victim"_s);
        QVERIFY(!result.moved);
        QVERIFY2(result.error.contains(u"No space left"_s), qPrintable(result.error));
        QCOMPARE(readAll(volume + u"/victim"_s), QByteArray("victim"));
        const QString info = volume + u"/.Trash-"_s + uid() + u"/info"_s;
        QVERIFY(entries(info).isEmpty());
    }

    // Another user plants a file named Documents in a shared temporary folder, which the scan
    // lists as a temporary file, then swaps its folder for a link to the victim's home. The
    // removal must not follow that link to the victim's real Documents.
    void anotherUsersSwappedFolderIsRefused()
    {
        if (::geteuid() != 0) {
            QSKIP("a second user through setpriv needs root; the suite runs as root in CI");
        }
        QVERIFY(::chmod(QFile::encodeName(m_root->path()).constData(), 0755) == 0);
        const QString shared = m_root->path() + u"/tmp"_s;
        QVERIFY(::mkdir(QFile::encodeName(shared).constData(), 01777) == 0);
        QVERIFY(::chmod(QFile::encodeName(shared).constData(), 01777) == 0);
        const QString thesis = home() + u"/Documents/thesis.odt"_s;
        QVERIFY(SyntheticHome::writeFile(thesis, "years of work"));
        QCOMPARE(asOtherUser(u"mkdir -p "_s + quoted(shared + u"/evil/sub"_s) +
                             u" && truncate -s 2M "_s + quoted(shared + u"/evil/sub/Documents"_s)),
                 0);

        QStringList printed;
        const std::unique_ptr<DiskScanner> scanner = makeScanner(shared, &printed);
        QVERIFY(scan(*scanner));
        const QString planted = shared + u"/evil/sub/Documents"_s;
        QVERIFY(listed(scanner->recommendations(), planted));

        QCOMPARE(asOtherUser(u"cd "_s + quoted(shared + u"/evil"_s) +
                             u" && mv sub old && ln -s "_s + quoted(home()) + u" sub"_s),
                 0);
        QCOMPARE(scanner->deleteItems(QStringList{planted}), qint64(0));
        QCOMPARE(readAll(thesis), QByteArray("years of work"));
        QVERIFY(entries(homeTrash() + u"/files"_s).isEmpty());
        QCOMPARE(printed.size(), 1);
        QVERIFY2(printed.first().startsWith(u"Delete error: cannot move "_s),
                 qPrintable(printed.first()));
        QVERIFY(listed(scanner->recommendations(), planted));
    }

    // The same swap by anyone: a folder on the item's path that became a link is not followed.
    void aParentSwappedForALinkIsRefused()
    {
        const QString cached = home() + u"/.cache/app/sub/blob"_s;
        QVERIFY(SyntheticHome::writeFile(cached, QByteArray(2 * 1024 * 1024, 'c')));
        const QString victim = home() + u"/Keep/blob"_s;
        QVERIFY(SyntheticHome::writeFile(victim, "keep me"));
        QStringList printed;
        const std::unique_ptr<DiskScanner> scanner =
            makeScanner(m_root->path() + u"/tmp"_s, &printed);
        QVERIFY(scan(*scanner));
        QVERIFY(listed(scanner->recommendations(), cached));

        QVERIFY(QDir().rename(home() + u"/.cache/app/sub"_s, home() + u"/.cache/app/old"_s));
        QVERIFY(SyntheticHome::makeLink(home() + u"/Keep"_s, home() + u"/.cache/app/sub"_s));
        QCOMPARE(scanner->deleteItems(QStringList{cached}), qint64(0));
        QCOMPARE(readAll(victim), QByteArray("keep me"));
        QCOMPARE(printed.size(), 1);
        QVERIFY2(printed.first().startsWith(u"Delete error: cannot move "_s),
                 qPrintable(printed.first()));
        QVERIFY(entries(homeTrash() + u"/files"_s).isEmpty());
    }

    // A different file put in the listed one's place is not the one that was shown.
    void aReplacedItemIsRefused()
    {
        const QString cached = home() + u"/.cache/app/blob"_s;
        QVERIFY(SyntheticHome::writeFile(cached, QByteArray(2 * 1024 * 1024, 'c')));
        QStringList printed;
        const std::unique_ptr<DiskScanner> scanner =
            makeScanner(m_root->path() + u"/tmp"_s, &printed);
        QVERIFY(scan(*scanner));
        QVERIFY(listed(scanner->recommendations(), cached));

        QVERIFY(writeAll(cached + u".new"_s, "new content"));
        QVERIFY(::rename(QFile::encodeName(cached + u".new"_s).constData(),
                         QFile::encodeName(cached).constData()) == 0);
        QCOMPARE(scanner->deleteItems(QStringList{cached}), qint64(0));
        QCOMPARE(readAll(cached), QByteArray("new content"));
        QCOMPARE(printed.size(), 1);
        QVERIFY2(printed.first().contains(u"changed since the scan"_s),
                 qPrintable(printed.first()));

        // Unchanged, it goes.
        QVERIFY(writeAll(home() + u"/.cache/app/other"_s, QByteArray(2 * 1024 * 1024, 'o')));
        QVERIFY(scan(*scanner));
        printed.clear();
        QCOMPARE(scanner->deleteItems(QStringList{home() + u"/.cache/app/other"_s}),
                 qint64(2 * 1024 * 1024));
        QVERIFY(printed.isEmpty());
    }

    // photo\xff.bin is shown as "photo\uFFFD.bin", next to a file really named so; each row
    // moves its own file, and the record keeps the original bytes.
    void namesThatAreNotUtf8KeepTheirBytes()
    {
        const QByteArray cache = QFile::encodeName(home()) + "/.cache";
        QVERIFY(QDir().mkpath(QFile::decodeName(cache)));
        const QByteArray raw = cache + "/photo\xff.bin";
        const QByteArray replacement = cache + "/photo\xef\xbf\xbd.bin";
        for (const QByteArray &path : {raw, replacement}) {
            const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
            QVERIFY(fd >= 0);
            QVERIFY(::write(fd, path.constData(), std::size_t(path.size())) == path.size());
            QVERIFY(::ftruncate(fd, 2 * 1024 * 1024) == 0);
            ::close(fd);
        }
        QStringList printed;
        const std::unique_ptr<DiskScanner> scanner =
            makeScanner(m_root->path() + u"/tmp"_s, &printed);
        QVERIFY(scan(*scanner));
        QList<FileItem> photos;
        for (const FileItem &item : scanner->recommendations()) {
            if (item.name.startsWith(u"photo"_s)) {
                photos.append(item);
            }
        }
        QCOMPARE(photos.size(), 2);
        QCOMPARE(photos.at(0).name, u"photo\uFFFD.bin"_s);
        QCOMPARE(photos.at(1).name, u"photo\uFFFD.bin"_s);
        const FileItem &shownRaw = photos.at(0).nativePath == raw ? photos.at(0) : photos.at(1);
        QCOMPARE(shownRaw.nativePath, raw);

        const qint64 freed =
            scanner->deleteItemsById(QStringList{shownRaw.id.toString(QUuid::WithoutBraces)});
        QVERIFY2(printed.isEmpty(), qPrintable(printed.join(u'\n')));
        QCOMPARE(freed, qint64(2 * 1024 * 1024));
        QVERIFY(::access(raw.constData(), F_OK) != 0);
        QVERIFY(::access(replacement.constData(), F_OK) == 0);
        const QByteArray trashed = QFile::encodeName(homeTrash()) + "/files/photo\xff.bin";
        QVERIFY(::access(trashed.constData(), F_OK) == 0);
        const QByteArray info =
            readRaw(QFile::encodeName(homeTrash()) + "/info/photo\xff.bin.trashinfo");
        QVERIFY2(
            info.contains(QByteArray("Path=" + platform::FreedesktopTrash::encodePath(raw) + '\n')),
            info.constData());
        QVERIFY(info.contains("photo%FF.bin\n"));
    }

    // A trashed folder gets its line in "directorysizes": the bytes its blocks take, the
    // record's modification time, the percent-encoded name.
    void aTrashedFolderGetsItsDirectorySizesEntry()
    {
        const QString folder = home() + u"/A Folder 100%"_s;
        QVERIFY(SyntheticHome::writeFile(folder + u"/one.bin"_s, QByteArray(10000, '1')));
        QVERIFY(SyntheticHome::writeFile(folder + u"/inner/two.bin"_s, QByteArray(70000, '2')));
        QVERIFY(writeAll(home() + u"/plain.txt"_s, "plain"));
        platform::FreedesktopTrash trash(dataHome(), ::getuid());
        QVERIFY(trash.moveToTrash(home() + u"/plain.txt"_s).moved);
        const platform::Trash::Result result = trash.moveToTrash(folder);
        QVERIFY2(result.moved, qPrintable(result.error));

        QProcess du;
        du.start(u"du"_s, {u"-s"_s, u"-B1"_s, u"--"_s, result.trashedPath});
        QVERIFY(du.waitForFinished(10000));
        const QByteArray duBytes = du.readAllStandardOutput().split('\t').constFirst();
        struct stat infoStatus {};
        QVERIFY(
            ::stat(QFile::encodeName(homeTrash() + u"/info/A Folder 100%.trashinfo"_s).constData(),
                   &infoStatus) == 0);
        const QByteArray expected = duBytes + ' ' +
                                    QByteArray::number(qint64(infoStatus.st_mtime)) +
                                    " A%20Folder%20100%25\n";
        QCOMPARE(readAll(homeTrash() + u"/directorysizes"_s), expected);
        // Only folders have a line.
        QVERIFY(!readAll(homeTrash() + u"/directorysizes"_s).contains("plain"));
    }

    // What an existing "directorysizes" keeps when a folder gets its line: the well-formed
    // lines of other names, each ending in a newline; a cache past the cap loses its cut line.
    void directorySizesKeepsWellFormedLinesOfOtherNames_data()
    {
        QTest::addColumn<QByteArray>("contents");
        QTest::addColumn<QByteArray>("kept");
        QTest::newRow("empty") << QByteArray() << QByteArray();
        QTest::newRow("other names")
            << QByteArray("1 2 a\n3 4 b\n") << QByteArray("1 2 a\n3 4 b\n");
        QTest::newRow("the same name goes")
            << QByteArray("1 2 A%20Folder\n3 4 b\n") << QByteArray("3 4 b\n");
        QTest::newRow("malformed lines go")
            << QByteArrayLiteral("1 2\n\n1 2 3 4\n\x00\xff\n5 6 c") << QByteArray("5 6 c\n");
        const QByteArray line = "4096 1700000000 item\n";
        QByteArray full;
        while (full.size() + line.size() <
               platform::FreedesktopTrash::maximumDirectorySizesBytes - 100) {
            full += line;
        }
        QByteArray cut = full + "1 2 ab";
        cut += QByteArray(platform::FreedesktopTrash::maximumDirectorySizesBytes - cut.size(), 'c');
        QTest::newRow("cut at the cap") << cut + "d\n" << full;
    }

    void directorySizesKeepsWellFormedLinesOfOtherNames()
    {
        QFETCH(QByteArray, contents);
        QFETCH(QByteArray, kept);
        QCOMPARE(platform::FreedesktopTrash::keptDirectorySizes(contents, "A%20Folder"), kept);
    }

    // A planted huge "directorysizes" is read only up to its cap and rewritten from that part.
    void aHugeDirectorySizesIsReadOnlyUpToItsCap()
    {
        const QString folder = home() + u"/Big"_s;
        QVERIFY(SyntheticHome::writeFile(folder + u"/one.bin"_s, QByteArray(100, '1')));
        QVERIFY(QDir().mkpath(homeTrash()));
        const QByteArray line = "4096 1700000000 item\n";
        QByteArray planted;
        while (planted.size() < 3 * platform::FreedesktopTrash::maximumDirectorySizesBytes) {
            planted += line;
        }
        QVERIFY(SyntheticHome::writeFile(homeTrash() + u"/directorysizes"_s, planted));
        platform::FreedesktopTrash trash(dataHome(), ::getuid());
        const platform::Trash::Result result = trash.moveToTrash(folder);
        QVERIFY2(result.moved, qPrintable(result.error));

        const QByteArray written = readAll(homeTrash() + u"/directorysizes"_s);
        const qsizetype kept = written.lastIndexOf(line) + line.size();
        QVERIFY(kept <= platform::FreedesktopTrash::maximumDirectorySizesBytes);
        QVERIFY(kept > platform::FreedesktopTrash::maximumDirectorySizesBytes - line.size());
        QVERIFY(planted.startsWith(written.left(kept)));
        QVERIFY(written.endsWith(" Big\n"));
        QCOMPARE(written.count('\n'), kept / line.size() + 1);
    }

    // $topdir/.Trash is shared only when root made it so: a user-owned one, even sticky, and
    // a $uid folder in it that someone else planted are passed over for $topdir/.Trash-$uid.
    void anUnsafeSharedTrashIsNotUsed()
    {
        if (!PrivateMounts::enterNamespace()) {
            QSKIP(qPrintable(u"cannot make a private mount namespace (needs root): "_s +
                             PrivateMounts::error()));
        }
        platform::FreedesktopTrash trash(dataHome(), ::getuid());
        const QString owned = m_root->path() + u"/owned"_s;
        QVERIFY(m_mounts.mountTmpfs(owned, "size=4m"));
        const QByteArray ownedTrash = QFile::encodeName(owned + u"/.Trash"_s);
        QVERIFY(::mkdir(ownedTrash.constData(), 01777) == 0);
        QVERIFY(::chmod(ownedTrash.constData(), 01777) == 0);
        QVERIFY(::chown(ownedTrash.constData(), otherUid, otherUid) == 0);
        QVERIFY(writeAll(owned + u"/a"_s, "a"));
        QCOMPARE(trash.moveToTrash(owned + u"/a"_s).trashedPath,
                 owned + u"/.Trash-"_s + uid() + u"/files/a"_s);
        QVERIFY(entries(owned + u"/.Trash"_s).isEmpty());

        const QString planted = m_root->path() + u"/planted"_s;
        QVERIFY(m_mounts.mountTmpfs(planted, "size=4m"));
        const QByteArray shared = QFile::encodeName(planted + u"/.Trash"_s);
        QVERIFY(::mkdir(shared.constData(), 01777) == 0);
        QVERIFY(::chmod(shared.constData(), 01777) == 0);
        const QByteArray mine = shared + '/' + uid().toLatin1();
        QVERIFY(::mkdir(mine.constData(), 0777) == 0);
        QVERIFY(::chown(mine.constData(), otherUid, otherUid) == 0);
        QVERIFY(writeAll(planted + u"/b"_s, "b"));
        QCOMPARE(trash.moveToTrash(planted + u"/b"_s).trashedPath,
                 planted + u"/.Trash-"_s + uid() + u"/files/b"_s);
        QVERIFY(entries(QFile::decodeName(mine)).isEmpty());
    }
};

KV_TEST_MAIN(TestTrash)
#include "tst_trash.moc"
