#include "TestEnvironment.h"
#include "cleaner/ApplicationFinder.h"
#include "cleaner/CleanerRules.h"

#include <QGuiApplication>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace CleanerRules;

namespace {

const QString home = u"/home/ada"_s;

ProtectionRule linuxRule()
{
    return ProtectionRule(
        home, {home + u"/.cache"_s, home + u"/.local/state"_s, home + u"/Downloads"_s, u"/tmp/"_s},
        {u"/mnt/games/SteamLibrary"_s, home + u"/SteamLibrary"_s});
}

FileItem heavyFile(const QString &path, qint64 size, double days)
{
    FileItem item;
    item.name = lastComponent(path).toString();
    item.path = path;
    item.size = size;
    item.daysSinceAccess = days;
    return item;
}

} // namespace

// The fixed rules of the disk scan, from tables.
class TestCleanerRules : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void formatsSizes_data()
    {
        QTest::addColumn<qint64>("bytes");
        QTest::addColumn<QString>("text");
        constexpr qint64 tebibyte = 1024LL * 1024 * 1024 * 1024;
        QTest::newRow("zero") << qint64(0) << u"0.00 B"_s;
        QTest::newRow("5 bytes") << qint64(5) << u"5.00 B"_s;
        QTest::newRow("512 bytes") << qint64(512) << u"512.00 B"_s;
        QTest::newRow("1023 bytes") << qint64(1023) << u"1023.00 B"_s;
        QTest::newRow("1024 bytes") << qint64(1024) << u"1.00 KB"_s;
        QTest::newRow("1.5 MiB") << qint64(1'572'864) << u"1.50 MB"_s;
        QTest::newRow("10 MiB") << qint64(10'485'760) << u"10.00 MB"_s;
        QTest::newRow("2 GiB") << qint64(2'147'483'648) << u"2.00 GB"_s;
        QTest::newRow("1 TiB") << tebibyte << u"1.00 TB"_s;
        QTest::newRow("1024 TiB stays in TB") << tebibyte * 1024 << u"1024.00 TB"_s;
        QTest::newRow("negative") << qint64(-5) << u"-5.00 B"_s;
    }

    void formatsSizes()
    {
        QFETCH(qint64, bytes);
        QFETCH(QString, text);
        QCOMPARE(formatSize(bytes), text);
    }

    void extensionsKeepTheirDotAndCase_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("extension");
        QTest::newRow("plain") << u"/a/movie.mp4"_s << u".mp4"_s;
        QTest::newRow("upper case kept") << u"/a/clip.MOV"_s << u".MOV"_s;
        QTest::newRow("last dot") << u"/a/backup.tar.gz"_s << u".gz"_s;
        QTest::newRow("none") << u"/a/README"_s << u"."_s;
        QTest::newRow("hidden file has none") << u"/a/.DS_Store"_s << u"."_s;
        QTest::newRow("hidden with one") << u"/a/.cache.tmp"_s << u".tmp"_s;
        QTest::newRow("dot in folder only") << u"/a.b/file"_s << u"."_s;
        QTest::newRow("trailing dot") << u"/a/file."_s << u"."_s;
    }

    void extensionsKeepTheirDotAndCase()
    {
        QFETCH(QString, path);
        QFETCH(QString, extension);
        QCOMPARE(dottedExtension(path), extension);
    }

    void mediaIsLowerCasedButTempIsNot()
    {
        QVERIFY(mediaExtensions().contains(dottedExtension(u"x.MOV"_s).toLower()));
        QVERIFY(videoExtensions().contains(dottedExtension(u"x.MOV"_s).toLower()));
        QVERIFY(!tempExtensions().contains(dottedExtension(u"x.LOG"_s)));
        QVERIFY(tempExtensions().contains(dottedExtension(u"x.log"_s)));
        QVERIFY(!videoExtensions().contains(u".dmg"_s));
        QVERIFY(mediaExtensions().contains(u".dmg"_s));
    }

    void protectionRule_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("isProtected");
        const auto row = [](const QString &path, bool protectedPath) {
            QTest::newRow(qPrintable(path)) << path << protectedPath;
        };
        // Examples, in their Linux form.
        row(home + u"/Projects/.ssh/key"_s, true);
        row(home + u"/.cache/x"_s, false);
        row(home + u"/.config/x"_s, true);
        // Rule 1: protected roots, as plain prefixes.
        for (const QString &root :
             {u"/System/x"_s,     u"/Library/x"_s,   u"/usr/bin/env"_s,  u"/bin/sh"_s,
              u"/sbin/init"_s,    u"/etc/passwd"_s,  u"/var/lib/x"_s,    u"/private/x"_s,
              u"/Network/x"_s,    u"/automount/x"_s, u"/cores/x"_s,      u"/dev/null"_s,
              u"/boot/vmlinuz"_s, u"/lib/x"_s,       u"/lib32/x"_s,      u"/lib64/x"_s,
              u"/libx32/x"_s,     u"/opt/x"_s,       u"/proc/1/maps"_s,  u"/run/user/1000/x"_s,
              u"/snap/core/x"_s,  u"/srv/x"_s,       u"/sys/kernel/x"_s, u"/usrlocal/x"_s,
              u"/variable"_s}) {
            row(root, true);
        }
        row(u"/mnt/data/x"_s, false);
        row(u"/media/usb/x.iso"_s, false);
        // Rule 2: a protected folder name anywhere.
        row(home + u"/a/b/.gnupg/c"_s, true);
        row(home + u"/projects/.local/x"_s, true);
        row(home + u"/projects/.Trash-1000/files/x"_s, true);
        row(u"/mnt/data/.Trash/1000/x"_s, true);
        row(home + u"/projects/.configure"_s, true); // a plain substring test, on purpose
        row(home + u"/projects/a.ssh"_s, false);
        row(home + u"/projects/ssh/x"_s, false);
        // Below a safe cleanup folder, only what lies beneath it counts.
        row(home + u"/.local/state/app/x.log"_s, false);
        row(home + u"/.local/state/app/.ssh/x"_s, true);
        row(home + u"/.cache/.config/x"_s, true);
        row(u"/tmp/x.tmp"_s, false);
        row(u"/tmp/a/.gnupg/x"_s, true);
        row(home + u"/.local/share/x"_s, true);
        row(home + u"/.local/statefoo/x"_s, true);
        // Below the state folder only logs may go: a *.log file, or anything in a log or logs
        // folder; everything else there is an application's state.
        row(home + u"/.local/state/app/log/current"_s, false);
        row(home + u"/.local/state/app/logs/2024/x.txt"_s, false);
        row(home + u"/.local/state/logs/x"_s, false);
        row(home + u"/.local/state/app/history"_s, true);
        row(home + u"/.local/state/wireplumber/restore-stream"_s, true);
        row(home + u"/.local/state/app/x.LOG"_s, true);
        row(home + u"/.local/state/app/x.log.1"_s, true);
        row(home + u"/.local/state/app/x.log/inner"_s, true);
        row(home + u"/.local/state/app/logbook/x"_s, true);
        row(home + u"/.local/state/app/mylogs/x"_s, true);
        row(home + u"/.local/state/log"_s, true);
        // A hidden component protects wherever it is, below a safe cleanup folder too.
        row(home + u"/Projects/app/.git/objects/pack/pack-1.pack"_s, true);
        row(home + u"/Downloads/sub/.hidden/x"_s, true);
        row(home + u"/Downloads/.partial.iso"_s, true);
        row(home + u"/.cache/app/.lock"_s, true);
        row(home + u"/.cache/app/.git/x"_s, true);
        row(home + u"/.local/state/app/.logs/x.log"_s, true);
        row(u"/tmp/.X11-unix/X0"_s, true);
        row(u"/tmp/build/.git/index"_s, true);
        row(u"/tmp/x.tmp/.y"_s, true);
        row(u"/mnt/data/.mozilla/firefox/x"_s, true);
        row(home + u"/Videos/.thumbnails/x.png"_s, true);
        row(home + u"/Projects/a.b/c.d"_s, false);
        row(home + u"/Downloads/sub/x."_s, false);
        // Hidden entries of home, the safe cleanup folders themselves excepted.
        row(home + u"/.mozilla/firefox/x"_s, true);
        row(home + u"/.steam/steam/x"_s, true);
        row(home + u"/.var/app/x"_s, true);
        row(home + u"/.bashrc"_s, true);
        row(home + u"/.cache"_s, false);
        row(home + u"/.cachefoo/x"_s, true);
        row(home + u"/.local/state"_s, false);
        // Game libraries.
        row(home + u"/Games/x"_s, true);
        row(home + u"/Games"_s, true);
        row(home + u"/GamesBackup/x"_s, false);
        row(home + u"/Games/Heroic/x/game.exe"_s, true);
        row(home + u"/GOG Games/x/data.zip"_s, true);
        row(home + u"/snap/firefox/common/x"_s, true);
        row(home + u"/snap"_s, true);
        row(home + u"/snapshots/x"_s, false);
        row(home + u"/.local/share/lutris/runners/x"_s, true);
        row(home + u"/.config/heroic/x"_s, true);
        row(home + u"/.config/itch/apps/x"_s, true);
        row(home + u"/SteamLibrary/steamapps/common/x"_s, true);
        row(u"/mnt/games/SteamLibrary/x"_s, true);
        row(u"/mnt/games/Other/x"_s, false);
        // Ordinary files.
        row(home + u"/Downloads/x.iso"_s, false);
        row(home + u"/Videos/x.mkv"_s, false);
        row(home + u"/Projects/big.log"_s, false);
        row(home + u"/Documents/tax.pdf"_s, false);
        row(home + u"/Ünïcode/ファイル.mp4"_s, false);
        row(home, false);
    }

    void protectionRule()
    {
        QFETCH(QString, path);
        QFETCH(bool, isProtected);
        QCOMPARE(linuxRule().isProtected(path), isProtected);
    }

    // A home under a system root, as on atomic distributions (/var/home/USER), is the user's own:
    // the same answers as for the same home under /home.
    void aHomeUnderASystemRootIsNotSwallowed_data()
    {
        QTest::addColumn<QString>("relative");
        QTest::addColumn<bool>("isProtected");
        for (const auto &[relative, expected] : {std::pair{u"/Downloads/x.iso"_s, false},
                                                 {u"/Videos/clip.mkv"_s, false},
                                                 {u"/.cache/app/blob"_s, false},
                                                 {u"/.local/state/app/x.log"_s, false},
                                                 {u"/.local/state/app/history"_s, true},
                                                 {u"/.ssh/id"_s, true},
                                                 {u"/.mozilla/p/x"_s, true},
                                                 {u"/Games/g/data.pak"_s, true},
                                                 {u"/Projects/.git/x"_s, true},
                                                 {u""_s, false}}) {
            QTest::newRow(qPrintable(relative)) << relative << expected;
        }
    }

    void aHomeUnderASystemRootIsNotSwallowed()
    {
        QFETCH(QString, relative);
        QFETCH(bool, isProtected);
        for (const QString &userHome : {u"/home/ada"_s, u"/var/home/ada"_s, u"/var/home/ada/"_s,
                                        u"/usr/home/ada"_s, u"/opt/users/ada"_s}) {
            const QString clean = userHome.endsWith(u'/') ? userHome.chopped(1) : userHome;
            const ProtectionRule rule(userHome,
                                      {clean + u"/.cache"_s, clean + u"/.local/state"_s,
                                       clean + u"/Downloads"_s, u"/tmp/"_s},
                                      {});
            QVERIFY2(rule.isProtected(QString(clean + relative)) == isProtected,
                     qPrintable(clean + relative));
        }
        // The root still protects everything else below it, other users' homes included.
        const ProtectionRule rule(u"/var/home/ada"_s,
                                  {u"/var/home/ada/.cache"_s, u"/var/home/ada/.local/state"_s,
                                   u"/var/home/ada/Downloads"_s, u"/tmp/"_s},
                                  {});
        for (const QString &path : {u"/var/lib/x"_s, u"/var/home/bob/x.iso"_s,
                                    u"/var/home/adam/x.iso"_s, u"/var/log/syslog"_s}) {
            QVERIFY2(rule.isProtected(path), qPrintable(path));
        }
    }

    // Hidden entries and the protected folder names are protected whichever cleanup folder the
    // path is reached from: only the home's own cache and state folders are hidden folders that
    // may be looked into.
    void hiddenEntriesAreProtectedFromEveryRoot_data()
    {
        QTest::addColumn<QString>("userHome");
        QTest::addColumn<QStringList>("safe");
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("isProtected");
        const QString guest = u"/tmp/guest"_s;
        const QStringList guestSafe{guest + u"/.cache"_s, guest + u"/.local/state"_s,
                                    guest + u"/Downloads"_s, u"/tmp/"_s};
        QTest::newRow("guest home in /tmp, profile")
            << guest << guestSafe << guest + u"/.mozilla/firefox/x.sqlite"_s << true;
        QTest::newRow("guest home in /tmp, flatpak data")
            << guest << guestSafe << guest + u"/.var/app/org.x/data"_s << true;
        QTest::newRow("guest home in /tmp, cache")
            << guest << guestSafe << guest + u"/.cache/x"_s << false;
        QTest::newRow("guest home in /tmp, outside the home")
            << guest << guestSafe << u"/tmp/build/x.o"_s << false;
        QTest::newRow("hidden guest home")
            << u"/tmp/.guest-x"_s
            << QStringList{u"/tmp/.guest-x/.cache"_s, u"/tmp/.guest-x/.local/state"_s,
                           u"/tmp/.guest-x/Downloads"_s, u"/tmp/"_s}
            << u"/tmp/.guest-x/Videos/x.mkv"_s << false;
        const QStringList hiddenDownloads{home + u"/.cache"_s, home + u"/.local/state"_s,
                                          home + u"/.wine/drive_c/users/ada/Downloads"_s,
                                          u"/tmp/"_s};
        QTest::newRow("downloads inside a Wine prefix")
            << home << hiddenDownloads << home + u"/.wine/drive_c/users/ada/Downloads/x.exe"_s
            << true;
        const QStringList rootDownloads{home + u"/.cache"_s, home + u"/.local/state"_s, u"/"_s,
                                        u"/"_s};
        QTest::newRow("downloads at /, a hidden file at the top")
            << home << rootDownloads << u"/.hidden.iso"_s << true;
        QTest::newRow("downloads at /, a hidden folder")
            << home << rootDownloads << u"/mnt/.x/y.iso"_s << true;
        QTest::newRow("downloads at /, a home's profile")
            << home << rootDownloads << home + u"/.thunderbird/x"_s << true;
    }

    void hiddenEntriesAreProtectedFromEveryRoot()
    {
        QFETCH(QString, userHome);
        QFETCH(QStringList, safe);
        QFETCH(QString, path);
        QFETCH(bool, isProtected);
        const ProtectionRule rule(userHome, safe, {});
        QCOMPARE(rule.isProtected(path), isProtected);
    }

    void usableCleanupRoots_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<bool>("mayHoldHome");
        QTest::addColumn<bool>("usable");
        QTest::newRow("Downloads") << home + u"/Downloads"_s << false << true;
        QTest::newRow("the home") << home << false << false;
        QTest::newRow("the home with a slash") << home + u"/"_s << false << false;
        QTest::newRow("above the home") << u"/home"_s << false << false;
        QTest::newRow("the root") << u"/"_s << false << false;
        QTest::newRow("a sibling") << u"/home/adam"_s << false << true;
        QTest::newRow("elsewhere") << u"/mnt/data/dl"_s << false << true;
        QTest::newRow("nothing") << QString() << false << false;
        QTest::newRow("temporary folder") << u"/tmp/"_s << true << true;
        QTest::newRow("temporary folder holding the home") << u"/home"_s << true << true;
        QTest::newRow("temporary folder at the home") << home << true << false;
        QTest::newRow("temporary folder at the root") << u"/"_s << true << false;
    }

    void usableCleanupRoots()
    {
        QFETCH(QString, folder);
        QFETCH(bool, mayHoldHome);
        QFETCH(bool, usable);
        QCOMPARE(isUsableCleanupRoot(folder, home, mayHoldHome), usable);
    }

    // Nothing of a home that lies in the temporary folder is a temporary file.
    void aHomeInTheTemporaryFolderHoldsNoTemporaryFiles()
    {
        constexpr qint64 mib = 1'048'576;
        const QString guest = u"/tmp/guest"_s;
        const CleanupFolders folders{guest + u"/.cache"_s, guest + u"/.local/state"_s,
                                     guest + u"/Downloads"_s, u"/tmp/"_s, guest};
        QCOMPARE(
            CleanerRules::cleanupReasons(folders, QString(guest + u"/Games/x.iso"_s), 2 * mib, true)
                .reasons,
            QStringList{u"Unused for 14+ days"_s});
        QCOMPARE(CleanerRules::cleanupReasons(folders, QString(guest + u"/Downloads/x.iso"_s),
                                              2 * mib, false)
                     .reasons,
                 QStringList{u"Large download artifact"_s});
        QCOMPARE(CleanerRules::cleanupReasons(folders, u"/tmp/guest2/x"_s, 2 * mib, false).reasons,
                 QStringList{u"Temporary file"_s});
    }

    void gameLibrariesOfTheCommonLaunchers()
    {
        const QStringList libraries = linuxRule().gameLibraries();
        const QStringList expected{home + u"/Games"_s,
                                   home + u"/GOG Games"_s,
                                   home + u"/snap"_s,
                                   home + u"/.config/heroic"_s,
                                   home + u"/.local/share/lutris"_s,
                                   home + u"/.var/app/com.heroicgameslauncher.hgl"_s,
                                   home + u"/.var/app/net.lutris.Lutris"_s,
                                   home + u"/.config/itch"_s,
                                   u"/mnt/games/SteamLibrary"_s,
                                   home + u"/SteamLibrary"_s};
        for (const QString &library : expected) {
            QVERIFY2(libraries.contains(library), qPrintable(library));
        }
    }

    // Whatever lies below a protected path stays protected: a property over random suffixes.
    void protectionIsInheritedByEverythingBelow()
    {
        const ProtectionRule rule = linuxRule();
        const QStringList roots{u"/usr"_s,
                                u"/etc"_s,
                                home + u"/.ssh"_s,
                                home + u"/.config"_s,
                                home + u"/.mozilla"_s,
                                home + u"/Games"_s,
                                home + u"/x/.gnupg"_s,
                                home + u"/GOG Games"_s,
                                home + u"/snap"_s,
                                home + u"/Projects/x/.git"_s,
                                home + u"/Downloads/.hidden"_s,
                                home + u"/.cache/x/.git"_s,
                                u"/tmp/a/.b"_s};
        QRandomGenerator random(20260505);
        for (int i = 0; i < 500; ++i) {
            QString suffix;
            const int depth = random.bounded(1, 6);
            for (int d = 0; d < depth; ++d) {
                suffix += u'/';
                const int length = random.bounded(1, 8);
                for (int c = 0; c < length; ++c) {
                    suffix += QChar(u"abcXYZ._- é"_s.at(random.bounded(11)));
                }
            }
            const QString root = roots.at(random.bounded(roots.size()));
            QVERIFY2(rule.isProtected(QString(root + suffix)), qPrintable(root + suffix));
        }
    }

    // A property over random paths in every folder the scan reaches, against a plain reading of
    // the two rules: a component that starts with a dot protects; below the state folder only a
    // *.log file or what lies in a log or logs folder is not protected.
    void hiddenComponentsAndStateAreProtectedWherever()
    {
        const ProtectionRule rule = linuxRule();
        const QString state = home + u"/.local/state"_s;
        const QStringList bases{
            home + u"/Projects"_s, home + u"/Downloads"_s, home + u"/.cache"_s, state, u"/tmp"_s,
            u"/mnt/data"_s};
        const QStringList parts{u"a"_s,     u".git"_s,   u"log"_s,   u"logs"_s,   u"x.log"_s,
                                u"x.LOG"_s, u".log"_s,   u"a.b"_s,   u"Logs"_s,   u".."_s,
                                u"é ü"_s,   u"x.log."_s, u"cache"_s, u".hidden"_s};
        QRandomGenerator random(20260612);
        for (int i = 0; i < 2000; ++i) {
            const QString base = bases.at(random.bounded(bases.size()));
            QStringList components;
            const int depth = random.bounded(1, 5);
            for (int d = 0; d < depth; ++d) {
                components.append(parts.at(random.bounded(parts.size())));
            }
            const QString path = base + u'/' + components.join(u'/');
            bool expected = false;
            for (const QString &component : std::as_const(components)) {
                expected = expected || component.startsWith(u'.');
            }
            if (base == state) {
                const bool log = components.constLast().endsWith(u".log"_s) ||
                                 components.first(components.size() - 1).contains(u"log"_s) ||
                                 components.first(components.size() - 1).contains(u"logs"_s);
                expected = expected || !log;
            }
            QVERIFY2(rule.isProtected(path) == expected, qPrintable(path));
        }
    }

    // The working list evicts its front entry, so it is not a true top-N selection.
    void frontEvictionKeepsThePartsOrder()
    {
        FrontEvictionList list(100);
        for (qint64 size = 1; size <= 100; ++size) {
            list.offer(size,
                       [size] { return heavyFile(u"/f"_s + QString::number(size), size, 0); });
        }
        // The front (1) is smaller: replaced, and the list sorted so that 200 is now in front.
        list.offer(200, [] { return heavyFile(u"/f200"_s, 200, 0); });
        // Now only a file larger than the largest gets in: 150 is larger than 99 entries, but not.
        int made = 0;
        list.offer(150, [&made] {
            ++made;
            return heavyFile(u"/f150"_s, 150, 0);
        });
        QCOMPARE(made, 0);
        list.offer(300, [] { return heavyFile(u"/f300"_s, 300, 0); });
        const QList<FileItem> items = list.take();
        QCOMPARE(items.size(), 100);
        QCOMPARE(items.at(0).size, 300);
        QCOMPARE(items.at(1).size, 100); // 200 was the front and got evicted by 300
        QCOMPARE(items.back().size, 2);
        for (const FileItem &item : items) {
            QVERIFY(item.size != 150 && item.size != 200 && item.size != 1);
        }
    }

    void frontEvictionSortsStably()
    {
        FrontEvictionList list(5);
        for (const QString &name : {u"a"_s, u"b"_s, u"c"_s}) {
            list.offer(7, [&name] { return heavyFile(name, 7, 0); });
        }
        list.offer(9, [] { return heavyFile(u"d"_s, 9, 0); });
        const QList<FileItem> items = list.take();
        QCOMPARE(items.size(), 4);
        QCOMPARE(items.at(0).name, u"d"_s);
        QCOMPARE(items.at(1).name, u"a"_s);
        QCOMPARE(items.at(2).name, u"b"_s);
        QCOMPARE(items.at(3).name, u"c"_s);
    }

    void heavyFileReasons_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<qint64>("size");
        QTest::addColumn<double>("days");
        QTest::addColumn<bool>("stale");
        QTest::addColumn<QStringList>("reasons");
        constexpr qint64 gib = 1'073'741'824;
        QTest::newRow("2 GiB download of yesterday")
            << home + u"/Downloads/disk.img"_s << 2 * gib << 1.0 << false
            << QStringList{u"Large file in Downloads"_s};
        QTest::newRow("exactly 1 GiB download")
            << home + u"/Downloads/disk.img"_s << gib << 1.0 << false << QStringList{};
        QTest::newRow("any folder called Downloads")
            << home + u"/old/Downloads/disk.img"_s << 2 * gib << 1.0 << false
            << QStringList{u"Large file in Downloads"_s};
        QTest::newRow("below Downloads is not in it")
            << home + u"/Downloads/sub/disk.img"_s << 2 * gib << 1.0 << false << QStringList{};
        QTest::newRow("150 MB log of 70 days")
            << home + u"/Projects/big.log"_s << qint64(150'000'000) << 70.4 << true
            << QStringList{u"Temp file over 100MB"_s, u"Not accessed in 70 days"_s};
        QTest::newRow("upper-case LOG is no temp file")
            << home + u"/Projects/big.LOG"_s << qint64(150'000'000) << 1.0 << false
            << QStringList{};
        QTest::newRow("temp file of exactly 100 MiB")
            << home + u"/Projects/x.tmp"_s << qint64(104'857'600) << 1.0 << false << QStringList{};
        QTest::newRow("all three")
            << home + u"/Downloads/swap.swp"_s << 2 * gib << 61.99 << true
            << QStringList{u"Large file in Downloads"_s, u"Temp file over 100MB"_s,
                           u"Not accessed in 61 days"_s};
    }

    void heavyFileReasons()
    {
        QFETCH(QString, path);
        QFETCH(qint64, size);
        QFETCH(double, days);
        QFETCH(bool, stale);
        QFETCH(QStringList, reasons);
        QCOMPARE(CleanerRules::heavyFileReasons(heavyFile(path, size, days), home + u"/Downloads"_s,
                                                stale),
                 reasons);
    }

    void cleanupReasons_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<qint64>("size");
        QTest::addColumn<bool>("stale");
        QTest::addColumn<QStringList>("reasons");
        QTest::addColumn<bool>("isCache");
        constexpr qint64 mib = 1'048'576;
        QTest::newRow("recent cache file") << home + u"/.cache/app/blob"_s << 2 * mib << false
                                           << QStringList{u"App cache"_s} << true;
        QTest::newRow("stale cache file")
            << home + u"/.cache/app/blob"_s << 2 * mib << true
            << QStringList{u"App cache"_s, u"Unused for 14+ days"_s} << true;
        QTest::newRow("exactly 1 MiB")
            << home + u"/.cache/app/blob"_s << mib << true << QStringList{} << false;
        QTest::newRow("500 KiB log")
            << home + u"/.local/state/app/x.log"_s << 512'000LL << true << QStringList{} << false;
        QTest::newRow("log") << home + u"/.local/state/app/x.log"_s << 2 * mib << false
                             << QStringList{u"Log file"_s, u"Temporary file"_s} << false;
        // Only logs are log files: the rest of the state folder is no log, and is protected.
        QTest::newRow("state file")
            << home + u"/.local/state/app/history"_s << 2 * mib << false << QStringList{} << false;
        QTest::newRow("stale state file") << home + u"/.local/state/app/history"_s << 2 * mib
                                          << true << QStringList{u"Unused for 14+ days"_s} << false;
        QTest::newRow("in a log folder") << home + u"/.local/state/app/log/current"_s << 2 * mib
                                         << false << QStringList{u"Log file"_s} << false;
        QTest::newRow("in a logs folder") << home + u"/.local/state/app/logs/2024/x"_s << 2 * mib
                                          << false << QStringList{u"Log file"_s} << false;
        QTest::newRow("rotated log")
            << home + u"/.local/state/app/x.log.1"_s << 2 * mib << false << QStringList{} << false;
        QTest::newRow("temp folder")
            << u"/tmp/x/blob"_s << 2 * mib << false << QStringList{u"Temporary file"_s} << false;
        QTest::newRow("download media") << home + u"/Downloads/film.mkv"_s << 2 * mib << false
                                        << QStringList{u"Large download artifact"_s} << false;
        // The rules compare extensions as they are written: no lower-casing there.
        QTest::newRow("upper-case download media")
            << home + u"/Downloads/film.MKV"_s << 2 * mib << false << QStringList{} << false;
        QTest::newRow("recent download")
            << home + u"/Downloads/notes.pdf"_s << 2 * mib << false << QStringList{} << false;
        QTest::newRow("stale download") << home + u"/Downloads/notes.pdf"_s << 2 * mib << true
                                        << QStringList{u"Unused for 14+ days"_s} << false;
        QTest::newRow("upper-case LOG download")
            << home + u"/Downloads/x.LOG"_s << 2 * mib << false << QStringList{} << false;
        QTest::newRow("swap file download") << home + u"/Downloads/x.swp"_s << 2 * mib << false
                                            << QStringList{u"Temporary file"_s} << false;
    }

    void cleanupReasons()
    {
        QFETCH(QString, path);
        QFETCH(qint64, size);
        QFETCH(bool, stale);
        QFETCH(QStringList, reasons);
        QFETCH(bool, isCache);
        const CleanupFolders folders{home + u"/.cache"_s, home + u"/.local/state"_s,
                                     home + u"/Downloads"_s, u"/tmp/"_s, home};
        const CleanupVerdict verdict = CleanerRules::cleanupReasons(folders, path, size, stale);
        QCOMPARE(verdict.reasons, reasons);
        QCOMPARE(verdict.isCache, isCache);
    }

    void readsDesktopEntries()
    {
        const QByteArray desktop = "[Desktop Action new]\nName=New Window\n"
                                   "[Desktop Entry]\nName[de]=Feuerfuchs\nName = Firefox\n";
        QCOMPARE(ApplicationFinder::desktopEntryName(desktop), u"Firefox"_s);
        QCOMPARE(ApplicationFinder::desktopEntryName("Name=Outside any group\n"), QString());
    }
};

KV_TEST_MAIN(TestCleanerRules)
#include "tst_cleanerrules.moc"
