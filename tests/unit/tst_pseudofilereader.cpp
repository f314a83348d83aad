#include "TestEnvironment.h"
#include "TestFiles.h"
#include "platform/linux/PseudoFileReader.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <sys/prctl.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;
using platform::PseudoFileReader;

namespace {

QByteArray text(const std::optional<QByteArrayView> &read)
{
    return read ? read->toByteArray() : QByteArray("(nothing)");
}

QByteArray threadName()
{
    char name[17] = {};
    ::prctl(PR_GET_NAME, name);
    return name;
}

} // namespace

class TestPseudoFileReader : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // A kernel file stays open and each read is the kernel's report as it is now: the process's
    // name, changed between two reads through the one descriptor.
    void procFileKeptOpenAndReadAfresh()
    {
        const QByteArray before = threadName();
        QVERIFY(::prctl(PR_SET_NAME, "kv-first") == 0);
        PseudoFileReader comm(u"/proc/thread-self/comm"_s);
        QCOMPARE(text(comm.read()), QByteArray("kv-first\n"));
        QVERIFY(comm.keepsOpen());
        QVERIFY(::prctl(PR_SET_NAME, "kv-second") == 0);
        QCOMPARE(text(comm.read()), QByteArray("kv-second\n"));
        QCOMPARE(text(comm.read()), QByteArray("kv-second\n"));
        QVERIFY(::prctl(PR_SET_NAME, before.constData()) == 0);
    }

    void sysFileKeptOpen()
    {
        if (!QFile::exists(u"/sys/kernel/mm"_s)) {
            QSKIP("no sysfs here");
        }
        PseudoFileReader pageSize(u"/sys/kernel/mm/transparent_hugepage/enabled"_s);
        if (!pageSize.read()) {
            QSKIP("no transparent huge page setting here");
        }
        QVERIFY(pageSize.keepsOpen());
        QVERIFY(text(pageSize.read()).contains('['));
    }

    // Any other file is opened for each read: a file replaced in its place, as a test's fixture
    // is, is read as it is now.
    void otherFilesOpenedForEachRead()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath(u"meminfo"_s);
        PseudoFileReader reader(path);
        QCOMPARE(reader.read(), std::nullopt);
        QVERIFY(TestFiles::write(path, "one\n"));
        QCOMPARE(text(reader.read()), QByteArray("one\n"));
        QVERIFY(!reader.keepsOpen());
        QVERIFY(TestFiles::write(folder.filePath(u"new"_s), "two\n"));
        QVERIFY(QFile::remove(path) && QFile::rename(folder.filePath(u"new"_s), path));
        QCOMPARE(text(reader.read()), QByteArray("two\n"));
        QVERIFY(QFile::remove(path));
        QCOMPARE(reader.read(), std::nullopt);
    }

    void emptyFileReadsEmpty()
    {
        QTemporaryDir folder;
        QVERIFY(TestFiles::write(folder.filePath(u"empty"_s), ""));
        PseudoFileReader reader(folder.filePath(u"empty"_s));
        const std::optional<QByteArrayView> read = reader.read();
        QVERIFY(read);
        QVERIFY(read->isEmpty());
    }

    // A pipe or a folder in the file's place reads as nothing, at once.
    void onlyRegularFiles()
    {
        QTemporaryDir folder;
        const QString pipe = folder.filePath(u"pipe"_s);
        QVERIFY(::mkfifo(QFile::encodeName(pipe).constData(), 0600) == 0);
        PseudoFileReader fromPipe(pipe);
        QCOMPARE(fromPipe.read(), std::nullopt);
        PseudoFileReader fromFolder(folder.path());
        QCOMPARE(fromFolder.read(), std::nullopt);
    }

    // A file larger than the first buffer is read whole; one past the maximum, up to it.
    void sizes()
    {
        QTemporaryDir folder;
        QByteArray large(100'000, 'x');
        large[99'999] = 'y';
        QVERIFY(TestFiles::write(folder.filePath(u"large"_s), large));
        PseudoFileReader whole(folder.filePath(u"large"_s));
        QCOMPARE(text(whole.read()), large);
        QCOMPARE(text(whole.read()), large);
        PseudoFileReader capped(folder.filePath(u"large"_s), 40'000);
        QCOMPARE(text(capped.read()), large.first(40'000));
        PseudoFileReader defaultCap(folder.filePath(u"huge"_s));
        QByteArray huge(platform::PseudoFile::maximumBytes + 10, 'z');
        QVERIFY(TestFiles::write(folder.filePath(u"huge"_s), huge));
        QCOMPARE(defaultCap.read()->size(), platform::PseudoFile::maximumBytes);
    }
};

KV_TEST_MAIN(TestPseudoFileReader)
#include "tst_pseudofilereader.moc"
