#include "TestFiles.h"
#include "platform/FileSystem.h"
#include "platform/SteamLibrary.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using platform::FileSystem;
using platform::SteamLibrary;

namespace {

QString fixture(const QString &relative)
{
    return QStringLiteral(KV_FIXTURES_DIR "/steam/") + relative;
}

} // namespace

/// Steam's library folders and game manifests, from files kept under tests/fixtures/steam.
class TestSteamLibrary : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void gameName_data()
    {
        QTest::addColumn<QString>("appId");
        QTest::addColumn<QString>("name");
        QTest::newRow("in the first library") << u"570"_s << u"Dota 2"_s;
        QTest::newRow("in the second library") << u"1091500"_s << u"Cyberpunk 2077"_s;
        QTest::newRow("a key in capitals, escaped quotes") << u"730"_s << u"Counter-Strike \"2\""_s;
        QTest::newRow("a manifest without a name") << u"999"_s << QString();
        QTest::newRow("a manifest that is not text") << u"42"_s << QString();
        QTest::newRow("no manifest") << u"12345"_s << QString();
        QTest::newRow("a path for an id")
            << u"../library-a/steamapps/appmanifest_570"_s << QString();
        QTest::newRow("no id") << QString() << QString();
    }

    void gameName()
    {
        QFETCH(QString, appId);
        QFETCH(QString, name);
        const QStringList libraries{fixture(u"library-a"_s), fixture(u"library-b"_s),
                                    fixture(u"no-such-library"_s)};
        QCOMPARE(SteamLibrary::gameName(libraries, appId), name);
    }

    void appIdOfWindowClass_data()
    {
        QTest::addColumn<QString>("windowClass");
        QTest::addColumn<QString>("appId");
        QTest::newRow("Proton's class") << u"steam_app_1091500"_s << u"1091500"_s;
        QTest::newRow("any case") << u"Steam_App_570"_s << u"570"_s;
        QTest::newRow("no number") << u"steam_app_"_s << QString();
        QTest::newRow("not a number") << u"steam_app_57a"_s << QString();
        QTest::newRow("trailing space") << u"steam_app_570 "_s << QString();
        QTest::newRow("inside another name") << u"xsteam_app_570"_s << QString();
        QTest::newRow("Steam itself") << u"steam"_s << QString();
        QTest::newRow("too long a number") << u"steam_app_12345678901"_s << QString();
    }

    void appIdOfWindowClass()
    {
        QFETCH(QString, windowClass);
        QFETCH(QString, appId);
        QCOMPARE(SteamLibrary::appIdOfWindowClass(windowClass), appId);
    }

    void readsLibraryFolders()
    {
        QCOMPARE(
            SteamLibrary::parseLibraryFolders(
                FileSystem::readSmallFile(fixture(u"libraryfolders.vdf"_s))),
            (QStringList{u"/home/ada/.local/share/Steam"_s, u"/mnt/games/Steam \"Library\""_s}));
        QCOMPARE(SteamLibrary::parseLibraryFolders("garbage \x01\xff"), QStringList());
    }

    void readsManifestValues()
    {
        const QByteArray acf =
            FileSystem::readSmallFile(fixture(u"library-a/steamapps/appmanifest_570.acf"_s));
        QCOMPARE(SteamLibrary::valveValue(acf, "name"), u"Dota 2"_s);
        QCOMPARE(SteamLibrary::valveValue(acf, "installdir"), u"dota 2 beta"_s);
        QCOMPARE(SteamLibrary::valveValue(acf, "missing"), QString());
    }

    void librariesOfARoot()
    {
        // A Steam root whose libraryfolders.vdf lists a second library and one that is gone.
        QTemporaryDir home;
        const QString root = home.filePath(u"Steam"_s);
        QVERIFY(QDir().mkpath(root + u"/steamapps"_s));
        const QString second = fixture(u"library-b"_s);
        QVERIFY(TestFiles::write(root + u"/steamapps/libraryfolders.vdf"_s,
                                 "\"libraryfolders\"\n{\n\t\"1\"\n\t{\n\t\t\"path\"\t\t\"" +
                                     QFile::encodeName(second) +
                                     "\"\n\t}\n\t\"2\"\n\t{\n\t\t"
                                     "\"path\"\t\t\"/nonexistent/library\"\n\t}\n}\n"));
        const QStringList libraries =
            SteamLibrary::libraries({root, home.filePath(u"no-steam-here"_s)});
        QCOMPARE(libraries, (QStringList{root, second}));
        QCOMPARE(SteamLibrary::gameName(libraries, u"1091500"_s), u"Cyberpunk 2077"_s);
    }

    void standardRoots()
    {
        QCOMPARE(SteamLibrary::standardRoots(u"/home/ada"_s, u"/home/ada/.local/share"_s),
                 (QStringList{u"/home/ada/.local/share/Steam"_s, u"/home/ada/.steam/steam"_s,
                              u"/home/ada/.var/app/com.valvesoftware.Steam/.local/share/Steam"_s}));
    }
};

QTEST_APPLESS_MAIN(TestSteamLibrary)
#include "tst_steamlibrary.moc"
