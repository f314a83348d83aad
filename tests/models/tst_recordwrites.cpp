#include "ManualClock.h"
#include "PrivateMounts.h"
#include "TestEnvironment.h"
#include "TestFiles.h"
#include "core/AppStateManager.h"
#include "core/SettingsStore.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

/// One of the two records: its file, what the test plants as the previous record, and what the
/// model object writes over it.
struct Record {
    QString fileName;
    QByteArray previous;
    QByteArray next;
};

Record record(const QString &name)
{
    if (name == u"config") {
        // Completing the setup keeps the install date it finds.
        return {u"config.json"_s, R"({"firstRunComplete":false,"installDate":5})",
                R"({"firstRunComplete":true,"installDate":5})"};
    }
    return {u"settings.json"_s, R"({"autoOptimize":false,"launchOnStartup":true})",
            R"({"autoOptimize":true,"launchOnStartup":true})"};
}

ino_t inodeOf(const QString &path)
{
    struct stat status {};
    return ::lstat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_ino : 0;
}

/// The names of a folder's entries, hidden ones included.
QStringList entries(const QString &folder)
{
    return QDir(folder).entryList(
        QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

/// While it lives, the process may not write files larger than a few bytes: each write is cut
/// short, as by a crash or a full quota in the middle of it.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        ::getrlimit(RLIMIT_FSIZE, &m_saved);
        m_savedHandler = std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{bytes, m_saved.rlim_max};
        m_set = ::setrlimit(RLIMIT_FSIZE, &limit) == 0;
    }
    ~FileSizeLimit()
    {
        ::setrlimit(RLIMIT_FSIZE, &m_saved);
        std::signal(SIGXFSZ, m_savedHandler);
    }
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;

    [[nodiscard]] bool isSet() const { return m_set; }

private:
    rlimit m_saved{};
    void (*m_savedHandler)(int) = nullptr;
    bool m_set = false;
};

} // namespace

// The two records are replaced whole: a new file written beside the old one takes its name only
// once it is complete, so a failed write leaves the previous record as it was.
class TestRecordWrites : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> m_root;
    std::unique_ptr<ManualClock> m_clock;
    PrivateMounts m_mounts;

    [[nodiscard]] QString folder() const { return m_root->filePath(u"Kestrelvanta"_s); }
    [[nodiscard]] QString pathOf(const Record &record) const
    {
        return folder() + u'/' + record.fileName;
    }

    /// Has the model object write its new record over the previous one, as the program does.
    void writeNext(const QString &name)
    {
        if (name == u"config") {
            AppStateManager manager(folder(), *m_clock);
            manager.completeSetup();
        } else {
            SettingsStore store(folder());
            store.setAutoOptimize(true);
        }
    }

    static void recordNames()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("config") << u"config"_s;
        QTest::newRow("settings") << u"settings"_s;
    }

private Q_SLOTS:
    void init()
    {
        m_root = std::make_unique<QTemporaryDir>();
        QVERIFY(m_root->isValid());
        QVERIFY(QDir().mkpath(folder()));
        m_clock = std::make_unique<ManualClock>(QDateTime::fromMSecsSinceEpoch(1'795'240'604'978));
    }

    void cleanup()
    {
        m_mounts.unmountAll();
        QFile::setPermissions(folder(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        m_clock.reset();
        m_root.reset();
    }

    void replacedWholeUnderItsName_data() { recordNames(); }

    // A new file takes the record's name: the old file is never truncated or written in place,
    // so no reader can see half a record, and nothing else is left in the folder.
    void replacedWholeUnderItsName()
    {
        QFETCH(QString, name);
        const Record expected = record(name);
        QVERIFY(TestFiles::write(pathOf(expected), expected.previous));
        const ino_t before = inodeOf(pathOf(expected));

        const int watch = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
        QVERIFY(watch >= 0);
        QVERIFY(::inotify_add_watch(watch, QFile::encodeName(folder()).constData(),
                                    IN_MODIFY | IN_CLOSE_WRITE | IN_MOVED_TO) >= 0);
        writeNext(name);
        alignas(inotify_event) char buffer[16 * 1024];
        const ssize_t length = ::read(watch, buffer, sizeof buffer);
        ::close(watch);

        QCOMPARE(TestFiles::read(pathOf(expected)), expected.next);
        QVERIFY(inodeOf(pathOf(expected)) != before);
        QCOMPARE(entries(folder()), QStringList{expected.fileName});
        int writtenInPlace = 0;
        int movedIn = 0;
        for (ssize_t at = 0; at < length;) {
            const auto *event = reinterpret_cast<const inotify_event *>(buffer + at);
            const bool isRecord =
                event->len > 0 && QFile::decodeName(event->name) == expected.fileName;
            writtenInPlace += isRecord && (event->mask & (IN_MODIFY | IN_CLOSE_WRITE)) ? 1 : 0;
            movedIn += isRecord && (event->mask & IN_MOVED_TO) ? 1 : 0;
            at += ssize_t(sizeof(inotify_event)) + event->len;
        }
        QCOMPARE(writtenInPlace, 0);
        QCOMPARE(movedIn, 1);
    }

    void writeCutShortKeepsThePreviousRecord_data() { recordNames(); }

    // A write that stops in the middle (here: the process may write only 8 bytes into a file)
    // leaves the previous record, and no piece of the new one.
    void writeCutShortKeepsThePreviousRecord()
    {
        QFETCH(QString, name);
        const Record expected = record(name);
        QVERIFY(TestFiles::write(pathOf(expected), expected.previous));
        {
            const FileSizeLimit limit(8);
            QVERIFY(limit.isSet());
            writeNext(name);
        }
        QCOMPARE(TestFiles::read(pathOf(expected)), expected.previous);
        QCOMPARE(entries(folder()), QStringList{expected.fileName});
    }

    void fullDiskKeepsThePreviousRecord_data() { recordNames(); }

    // On a file system with no room left, the record stays as it was.
    void fullDiskKeepsThePreviousRecord()
    {
        QFETCH(QString, name);
        if (!PrivateMounts::enterNamespace()) {
            QSKIP(qPrintable(u"cannot make a private mount namespace (needs root): "_s +
                             PrivateMounts::error()));
        }
        QVERIFY(m_mounts.mountTmpfs(folder(), "size=64k,mode=0700"));
        const Record expected = record(name);
        QVERIFY(TestFiles::write(pathOf(expected), expected.previous));
        QFile filler(folder() + u"/filler"_s);
        QVERIFY(filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        const QByteArray block(4096, 'x');
        while (filler.write(block) == block.size()) {
        }
        filler.close();

        writeNext(name);
        QCOMPARE(TestFiles::read(pathOf(expected)), expected.previous);
        QStringList left{expected.fileName, u"filler"_s};
        left.sort();
        QCOMPARE(entries(folder()), left);
    }

    void readOnlyFolderKeepsThePreviousRecord_data() { recordNames(); }

    // A folder mounted read-only (which keeps out even root) keeps its record.
    void readOnlyFolderKeepsThePreviousRecord()
    {
        QFETCH(QString, name);
        if (!PrivateMounts::enterNamespace()) {
            QSKIP(qPrintable(u"cannot make a private mount namespace (needs root): "_s +
                             PrivateMounts::error()));
        }
        const Record expected = record(name);
        QVERIFY(TestFiles::write(pathOf(expected), expected.previous));
        QVERIFY(m_mounts.bindReadOnly(folder()));
        writeNext(name);
        QCOMPARE(TestFiles::read(pathOf(expected)), expected.previous);
        QCOMPARE(entries(folder()), QStringList{expected.fileName});
    }

    void folderWithoutWritePermissionKeepsThePreviousRecord_data() { recordNames(); }

    // A folder the user may not write keeps its record, even when the record file itself could
    // be written: a record is replaced whole or not at all.
    void folderWithoutWritePermissionKeepsThePreviousRecord()
    {
        QFETCH(QString, name);
        if (::geteuid() == 0) {
            QSKIP("permissions do not keep root out; the unprivileged run checks it");
        }
        const Record expected = record(name);
        QVERIFY(TestFiles::write(pathOf(expected), expected.previous));
        QVERIFY(QFile::setPermissions(folder(), QFile::ReadOwner | QFile::ExeOwner));
        writeNext(name);
        QCOMPARE(TestFiles::read(pathOf(expected)), expected.previous);
        QCOMPARE(entries(folder()), QStringList{expected.fileName});
    }

    void linkInTheRecordsPlaceIsNotFollowed_data() { recordNames(); }

    // A symbolic link in a record's place is neither followed nor replaced: the file it points to
    // keeps its contents, and the link stays.
    void linkInTheRecordsPlaceIsNotFollowed()
    {
        QFETCH(QString, name);
        const Record expected = record(name);
        const QString target = m_root->filePath(u"elsewhere.json"_s);
        QVERIFY(TestFiles::write(target, expected.previous));
        QVERIFY(QFile::link(target, pathOf(expected)));
        writeNext(name);
        QCOMPARE(TestFiles::read(target), expected.previous);
        QVERIFY(QFileInfo(pathOf(expected)).isSymLink());
        QCOMPARE(QFileInfo(pathOf(expected)).symLinkTarget(), target);
        QCOMPARE(entries(folder()), QStringList{expected.fileName});
    }

    // A link that points nowhere is not followed to create a file where it points.
    void danglingLinkIsNotFollowed()
    {
        const Record expected = record(u"settings"_s);
        const QString target = m_root->filePath(u"planted.json"_s);
        QVERIFY(QFile::link(target, pathOf(expected)));
        writeNext(u"settings"_s);
        QVERIFY(!QFileInfo::exists(target));
        QVERIFY(QFileInfo(pathOf(expected)).isSymLink());
    }
};

KV_TEST_MAIN(TestRecordWrites)
#include "tst_recordwrites.moc"
