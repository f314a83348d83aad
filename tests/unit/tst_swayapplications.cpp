#include "FakeRunningApplications.h"
#include "TestFiles.h"
#include "platform/linux/SwayRunningApplications.h"
#include "platform/linux/SwayTreeQuery.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

using namespace Qt::StringLiterals;
using platform::SwayTreeQuery;

namespace {

QByteArray fixture(const QString &name)
{
    const QByteArray content =
        TestFiles::read(QStringLiteral(KV_FIXTURES_DIR "/linux/swaymsg/") + name);
    if (content.isEmpty()) {
        qFatal("missing fixture");
    }
    return content;
}

// The captured tree with its pids replaced: the program's own window by this test's pid, the
// game's by another process of this user's.
QByteArray treeWithPids(qint32 ownWindowPid, qint32 gamePid)
{
    QByteArray tree = fixture(u"get_tree-game.json"_s);
    tree.replace("\"pid\": 1001",
                 QByteArray(QByteArray("\"pid\": ") + QByteArray::number(ownWindowPid)));
    tree.replace("\"pid\": 1002",
                 QByteArray(QByteArray("\"pid\": ") + QByteArray::number(gamePid)));
    return tree;
}

} // namespace

/// Game detection on sway: the windows of its tree, named by their desktop entries.
class TestSwayApplications : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void treeWindows()
    {
        const QList<SwayTreeQuery::Window> windows =
            SwayTreeQuery::windows(fixture(u"get_tree-game.json"_s));
        QCOMPARE(windows.size(), 3);
        QCOMPARE(windows.at(0).appId, u"app.kestrelvanta.Kestrelvanta"_s);
        QCOMPARE(windows.at(0).pid, 1001);
        QVERIFY(!windows.at(0).focused);
        QCOMPARE(windows.at(1).appId, u"org.example.StarGame"_s);
        QCOMPARE(windows.at(1).pid, 1002);
        QVERIFY(windows.at(1).focused);
        // An XWayland window: no app_id, its class instead.
        QVERIFY(windows.at(2).appId.isEmpty());
        QCOMPARE(windows.at(2).windowClass, u"steam"_s);
        QCOMPARE(windows.at(2).instance, u"steamwebhelper"_s);
    }

    void oddTrees_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QList<qint32>>("pids");
        QTest::newRow("empty") << QByteArray() << QList<qint32>{};
        QTest::newRow("not JSON") << QByteArray("Error: unable to connect\n") << QList<qint32>{};
        QTest::newRow("a list") << QByteArray("[]") << QList<qint32>{};
        QTest::newRow("pid as text")
            << QByteArray(R"({"type":"root","nodes":[{"type":"con","pid":"12"}]})")
            << QList<qint32>{};
        QByteArray deep = R"({"type":"con","pid":5,"nodes":[)";
        for (int i = 0; i < 100; ++i) {
            deep += R"({"type":"workspace","nodes":[)";
        }
        deep += R"({"type":"con","pid":6})";
        for (int i = 0; i < 100; ++i) {
            deep += "]}";
        }
        deep += "]}";
        // Only the shallow window of the deep tree.
        QTest::newRow("deeper than sway nests") << deep << QList<qint32>{5};
    }

    void oddTrees()
    {
        QFETCH(QByteArray, text);
        QFETCH(QList<qint32>, pids);
        QList<qint32> found;
        for (const SwayTreeQuery::Window &window : SwayTreeQuery::windows(text)) {
            found.append(window.pid);
        }
        QCOMPARE(found, pids);
    }

    void applicationsNamedByTheirEntries()
    {
        QTemporaryDir entries;
        QVERIFY(TestFiles::write(entries.filePath(u"org.example.StarGame.desktop"_s),
                                 "[Desktop Entry]\nType=Application\nName=Star Game\n"
                                 "Exec=stargame\n"));
        const qint32 own = qint32(::getpid());
        // The parent (the test runner) stands for the game: a live process of this user's.
        const qint32 game = qint32(::getppid());
        const QByteArray tree = treeWithPids(own, game);
        auto fallback = std::make_unique<FakeRunningApplications>();
        FakeRunningApplications *fallbackHandle = fallback.get();
        platform::SwayRunningApplications applications(
            [&] { return tree; }, platform::DesktopEntryIndex(QStringList{entries.path()}), own,
            std::move(fallback));
        const QList<platform::RunningApplication> found = applications.applications();
        // The program's own window is left out; no process has the XWayland window's pid.
        QCOMPARE(found.size(), 1);
        QCOMPARE(found.at(0).pid, game);
        QCOMPARE(found.at(0).name, u"Star Game"_s);
        QCOMPARE(found.at(0).bundleIdentifier, u"org.example.StarGame"_s);
        QVERIFY(found.at(0).startTime > 0);
        QCOMPARE(applications.frontmostPid(), std::optional<qint32>(game));
        QCOMPARE(fallbackHandle->scans, 0);
    }

    void withoutAnEntryTheAppIdNamesTheWindow()
    {
        const qint32 game = qint32(::getppid());
        const QByteArray tree = treeWithPids(1, game);
        platform::SwayRunningApplications applications([&] { return tree; },
                                                       platform::DesktopEntryIndex(QStringList()),
                                                       qint32(::getpid()), nullptr);
        const QList<platform::RunningApplication> found = applications.applications();
        QVERIFY(!found.isEmpty());
        const auto it = std::find_if(found.cbegin(), found.cend(),
                                     [game](const auto &app) { return app.pid == game; });
        QVERIFY(it != found.cend());
        QCOMPARE(it->name, u"org.example.StarGame"_s);
        QCOMPARE(it->bundleIdentifier, u"org.example.StarGame"_s);
    }

    void xwaylandWindowsOfProtonGamesAndWindowsPrograms()
    {
        // Two XWayland windows of live processes of this user's (the test runner and this test):
        // a Proton game, named by its manifest, and a Windows program without an entry.
        const qint32 game = qint32(::getppid());
        const qint32 program = qint32(::getpid());
        const auto node = [](qint32 pid, const char *windowClass) -> QByteArray {
            return QByteArray("{\"type\": \"con\", \"pid\": ") + QByteArray::number(pid) +
                   ", \"app_id\": null, \"focused\": false, \"shell\": \"xwayland\", "
                   "\"window_properties\": {\"class\": \"" +
                   windowClass + "\", \"instance\": \"" + windowClass + "\"}, \"nodes\": []}";
        };
        const QByteArray tree = "{\"type\": \"root\", \"nodes\": [" +
                                node(game, "steam_app_1091500") + ", " +
                                node(program, "Witcher3.exe") + "], \"floating_nodes\": []}";
        QTemporaryDir home;
        const QString root = home.filePath(u"Steam"_s);
        QVERIFY(QDir().mkpath(root + u"/steamapps"_s));
        QVERIFY(TestFiles::write(root + u"/steamapps/libraryfolders.vdf"_s,
                                 "\"libraryfolders\"\n{\n\t\"1\"\n\t{\n\t\t\"path\"\t\t\"" +
                                     QByteArray(KV_FIXTURES_DIR "/steam/library-b") +
                                     "\"\n\t}\n}\n"));
        platform::SwayRunningApplications applications([&] { return tree; },
                                                       platform::DesktopEntryIndex(QStringList()),
                                                       1, nullptr, u"/proc"_s, ::getuid(), {root});
        const QList<platform::RunningApplication> found = applications.applications();
        QCOMPARE(found.size(), 2);
        QCOMPARE(found.at(0).pid, game);
        QCOMPARE(found.at(0).name, u"Cyberpunk 2077"_s);
        QCOMPARE(found.at(0).bundleIdentifier, u"steam_app_1091500"_s);
        QCOMPARE(found.at(1).name, u"Witcher3"_s);
    }

    void withoutSwayTheFallbackAnswers()
    {
        auto fallback = std::make_unique<FakeRunningApplications>();
        fallback->running = {{42, u"Game Launcher"_s, u"launcher"_s, true}};
        platform::SwayRunningApplications applications([] { return QByteArray(); },
                                                       platform::DesktopEntryIndex(QStringList()),
                                                       1, std::move(fallback));
        QCOMPARE(applications.applications().size(), 1);
        QCOMPARE(applications.frontmostPid(), std::nullopt);
    }

    void noSwayListeningAnswersNothing()
    {
        QTemporaryDir folder;
        QVERIFY(platform::SwayRunningApplications::askForTree(folder.filePath(u"sway-ipc.sock"_s))
                    .isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestSwayApplications)
#include "tst_swayapplications.moc"
