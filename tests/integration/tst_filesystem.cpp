#include "platform/FileSystem.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace Qt::StringLiterals;
using platform::FileSystem;

// Reading the small files the program trusts to be small (manifests, desktop entries) from a
// real temporary folder, with the odd entries a hostile home can hold.
class TestFileSystem : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_dir;

    QString path(const QString &name) const { return m_dir.filePath(name); }

    static bool write(const QString &file, const QByteArray &bytes)
    {
        QFile out(file);
        return out.open(QIODevice::WriteOnly) && out.write(bytes) == bytes.size();
    }

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_dir.isValid()); }

    void aSmallRegularFileIsRead()
    {
        QVERIFY(write(path(u"entry.desktop"_s), "[Desktop Entry]\nName=Game\n"));
        QCOMPARE(FileSystem::readSmallFile(path(u"entry.desktop"_s)),
                 QByteArray("[Desktop Entry]\nName=Game\n"));
    }

    void aFileAtTheLimitIsReadAndOnePastItIsNot()
    {
        QFile exact(path(u"exact"_s));
        QVERIFY(exact.open(QIODevice::WriteOnly));
        QVERIFY(exact.resize(FileSystem::smallFileBytes));
        exact.close();
        QCOMPARE(FileSystem::readSmallFile(path(u"exact"_s)).size(), FileSystem::smallFileBytes);

        QFile large(path(u"large"_s));
        QVERIFY(large.open(QIODevice::WriteOnly));
        QVERIFY(large.resize(FileSystem::smallFileBytes + 1));
        large.close();
        QVERIFY(FileSystem::readSmallFile(path(u"large"_s)).isEmpty());
    }

    void aLinkToASmallFileIsFollowed()
    {
        QVERIFY(write(path(u"target"_s), "name"));
        QVERIFY(QFile::link(path(u"target"_s), path(u"link"_s)));
        QCOMPARE(FileSystem::readSmallFile(path(u"link"_s)), QByteArray("name"));
    }

    void aFolderAMissingEntryAndAFifoGiveNothing()
    {
        QVERIFY(FileSystem::readSmallFile(m_dir.path()).isEmpty());
        QVERIFY(FileSystem::readSmallFile(path(u"missing"_s)).isEmpty());
        // With no writer, reading a FIFO would wait for ever: the test would hang, not fail.
        QCOMPARE(::mkfifo(QFile::encodeName(path(u"fifo.desktop"_s)).constData(), 0600), 0);
        QVERIFY(FileSystem::readSmallFile(path(u"fifo.desktop"_s)).isEmpty());
        QVERIFY(QFile::link(path(u"fifo.desktop"_s), path(u"fifo-link.desktop"_s)));
        QVERIFY(FileSystem::readSmallFile(path(u"fifo-link.desktop"_s)).isEmpty());
        QVERIFY(FileSystem::readSmallFile(u"/dev/zero"_s).isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestFileSystem)
#include "tst_filesystem.moc"
