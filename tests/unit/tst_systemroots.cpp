#include "TestEnvironment.h"
#include "platform/SystemRoots.h"
#include "platform/linux/XdgUserDirs.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class TestSystemRoots : public QObject {
    Q_OBJECT

private:
    static QProcessEnvironment
    environmentWith(std::initializer_list<std::pair<QString, QString>> vars)
    {
        QProcessEnvironment environment;
        for (const auto &[name, value] : vars) {
            environment.insert(name, value);
        }
        return environment;
    }

private Q_SLOTS:
    void defaultsUnderHome()
    {
        const platform::SystemRoots roots =
            platform::SystemRoots::fromEnvironment(environmentWith({{u"HOME"_s, u"/home/ana"_s}}));
        QCOMPARE(roots.home, u"/home/ana"_s);
        QCOMPARE(roots.configHome, u"/home/ana/.config"_s);
        QCOMPARE(roots.dataHome, u"/home/ana/.local/share"_s);
        QCOMPARE(roots.cacheHome, u"/home/ana/.cache"_s);
        QCOMPARE(roots.stateHome, u"/home/ana/.local/state"_s);
        QCOMPARE(roots.dataDirs, QStringList({u"/usr/local/share"_s, u"/usr/share"_s}));
        QCOMPARE(roots.procRoot, u"/proc"_s);
        QCOMPARE(roots.sysRoot, u"/sys"_s);
        QCOMPARE(roots.tempDir, u"/tmp"_s);
        QCOMPARE(roots.desktopDir, u"/home/ana/Desktop"_s);
        QCOMPARE(roots.downloadDir, u"/home/ana/Downloads"_s);
        QCOMPARE(roots.runtimeDir, QString());
    }

    void absoluteXdgVariablesWin()
    {
        const platform::SystemRoots roots = platform::SystemRoots::fromEnvironment(
            environmentWith({{u"HOME"_s, u"/home/ana"_s},
                             {u"XDG_CONFIG_HOME"_s, u"/srv/conf/"_s},
                             {u"XDG_DATA_HOME"_s, u"/srv/data"_s},
                             {u"XDG_DATA_DIRS"_s, u"/opt/share:relative/share::/usr/share"_s},
                             {u"XDG_RUNTIME_DIR"_s, u"/run/user/1000"_s},
                             {u"TMPDIR"_s, u"/var/tmp/"_s}}));
        QCOMPARE(roots.configHome, u"/srv/conf"_s);
        QCOMPARE(roots.dataHome, u"/srv/data"_s);
        QCOMPARE(roots.dataDirs, QStringList({u"/opt/share"_s, u"/usr/share"_s}));
        QCOMPARE(roots.runtimeDir, u"/run/user/1000"_s);
        QCOMPARE(roots.tempDir, u"/var/tmp"_s);
    }

    // Relative and empty values are invalid and fall back to the defaults.
    void relativeOrEmptyXdgVariablesAreIgnored()
    {
        const platform::SystemRoots roots = platform::SystemRoots::fromEnvironment(
            environmentWith({{u"HOME"_s, u"/home/ana"_s},
                             {u"XDG_CONFIG_HOME"_s, u"conf"_s},
                             {u"XDG_CACHE_HOME"_s, QString()},
                             {u"TMPDIR"_s, u"tmp"_s}}));
        QCOMPARE(roots.configHome, u"/home/ana/.config"_s);
        QCOMPARE(roots.cacheHome, u"/home/ana/.cache"_s);
        QCOMPARE(roots.tempDir, u"/tmp"_s);
    }

    void missingHomeFallsBackToThePasswordDatabase()
    {
        const platform::SystemRoots roots =
            platform::SystemRoots::fromEnvironment(environmentWith({{u"HOME"_s, u"relative"_s}}));
        QVERIFY(QDir::isAbsolutePath(roots.home));
        QVERIFY(roots.configHome.startsWith(roots.home));
    }

    void userDirsFileNamesDesktopAndDownloads()
    {
        QTemporaryDir config;
        QFile file(config.filePath(u"user-dirs.dirs"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("XDG_DESKTOP_DIR=\"$HOME/Schreibtisch\"\nXDG_DOWNLOAD_DIR=\"/data/dl\"\n");
        file.close();
        const platform::SystemRoots roots = platform::SystemRoots::fromEnvironment(
            environmentWith({{u"HOME"_s, u"/home/ana"_s}, {u"XDG_CONFIG_HOME"_s, config.path()}}));
        QCOMPARE(roots.desktopDir, u"/home/ana/Schreibtisch"_s);
        QCOMPARE(roots.downloadDir, u"/data/dl"_s);
    }

    void parseUserDirs_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("expected");

        QTest::newRow("home relative")
            << QByteArray("XDG_DESKTOP_DIR=\"$HOME/Desktop\"") << "XDG_DESKTOP_DIR"
            << "/h/Desktop";
        QTest::newRow("home itself") << QByteArray("XDG_DESKTOP_DIR=\"$HOME\"") << "XDG_DESKTOP_DIR"
                                     << "/h";
        QTest::newRow("absolute") << QByteArray("XDG_MUSIC_DIR=\"/media/music\"") << "XDG_MUSIC_DIR"
                                  << "/media/music";
        QTest::newRow("escaped quote")
            << QByteArray(R"(XDG_DESKTOP_DIR="$HOME/My \"Desk\"")") << "XDG_DESKTOP_DIR"
            << "/h/My \"Desk\"";
        QTest::newRow("non-ASCII") << QByteArray("XDG_DESKTOP_DIR=\"$HOME/R\xc3\xa9sum\xc3\xa9\"")
                                   << "XDG_DESKTOP_DIR" << u"/h/Résumé"_s;
        QTest::newRow("comment and blank")
            << QByteArray("# written by xdg-user-dirs\n\nXDG_DESKTOP_DIR=\"$HOME/D\"\n")
            << "XDG_DESKTOP_DIR"
            << "/h/D";
        QTest::newRow("relative ignored")
            << QByteArray("XDG_DESKTOP_DIR=\"Desktop\"") << "XDG_DESKTOP_DIR"
            << "";
        QTest::newRow("unquoted ignored")
            << QByteArray("XDG_DESKTOP_DIR=$HOME/Desktop") << "XDG_DESKTOP_DIR"
            << "";
        QTest::newRow("other variable ignored") << QByteArray("PATH=\"/bin\"") << "PATH"
                                                << "";
    }

    void parseUserDirs()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, key);
        QFETCH(QString, expected);
        QCOMPARE(platform::XdgUserDirs::parse(content, u"/h"_s).value(key), expected);
    }
};

KV_TEST_MAIN(TestSystemRoots)
#include "tst_systemroots.moc"
