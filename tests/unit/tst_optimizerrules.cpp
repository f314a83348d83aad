#include "RecordingToolRunner.h"
#include "TestFiles.h"
#include "optimizer/GameRules.h"
#include "optimizer/PingSummary.h"
#include "platform/linux/DesktopEntryIndex.h"
#include "platform/linux/EnvironmentdHud.h"
#include "platform/linux/NmcliConnections.h"
#include "platform/linux/NmcliNetworkServices.h"
#include "platform/linux/ProcNetRoute.h"
#include "platform/linux/XrandrDisplayResolution.h"
#include "platform/linux/XrandrQuery.h"

#include <QCoro/QCoroTask>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

QByteArray fixture(const QString &relative)
{
    const QByteArray content = TestFiles::read(QStringLiteral(KV_FIXTURES_DIR "/") + relative);
    if (content.isEmpty()) {
        qFatal("missing fixture");
    }
    return content;
}

platform::RunningApplication app(qint32 pid, const QString &name, const QString &bundle = {},
                                 bool regular = true)
{
    return {pid, name, bundle, regular};
}

} // namespace

/// The optimizer's rules and the Linux backend's text readers, from tables and captured output.
class TestOptimizerRules : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void pingSummary_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QVariant>("average");
        QTest::newRow("iputils loopback")
            << fixture(u"linux/ping-summary/loopback.txt"_s) << QVariant(0.024);
        QTest::newRow("macOS") << fixture(u"macos/ping-summary/three-replies.txt"_s)
                               << QVariant(13.417);
        QTest::newRow("no reply") << fixture(u"linux/ping-summary/no-reply.txt"_s) << QVariant();
        QTest::newRow("empty") << QByteArray() << QVariant();
        QTest::newRow("the per-second probe's summary")
            << fixture(u"linux/ping/reply.txt"_s) << QVariant(14.237);
        QTest::newRow("first match wins")
            << QByteArray("rtt min/avg/max/mdev = 1/2.5/3/0 ms\nrtt min/avg/max/mdev = 1/9/9/0 ms")
            << QVariant(2.5);
        QTest::newRow("average not a number")
            << QByteArray("rtt min/avg/max/mdev = 1.0/1.2.3/4/0 ms") << QVariant();
        QTest::newRow("not UTF-8")
            << QByteArray("\xff\xfe rtt min/avg/max/mdev = 1.000/2.000/3.000/0.100 ms")
            << QVariant();
    }

    void pingSummary()
    {
        QFETCH(QByteArray, output);
        QFETCH(QVariant, average);
        const std::optional<double> parsed = PingSummary::averageMilliseconds(output);
        QCOMPARE(parsed.has_value(), average.isValid());
        if (parsed) {
            QCOMPARE(*parsed, average.toDouble());
        }
    }

    void nmcli_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QString>("uuid");
        QTest::newRow("Ethernet listed before Wi-Fi")
            << fixture(u"linux/nmcli/active-ethernet-then-wifi.txt"_s)
            << u"2f0c1a6e-3b7d-4c1e-9a55-0d6f1c2b3a4e"_s;
        QTest::newRow("loopback and bridge skipped")
            << fixture(u"linux/nmcli/active-loopback-bridge-wifi.txt"_s)
            << u"9c8b7a6d-1111-4222-8333-444455556666"_s;
        QTest::newRow("VPN only") << fixture(u"linux/nmcli/active-vpn-only.txt"_s) << QString();
        QTest::newRow("nothing") << QByteArray() << QString();
        QTest::newRow("newer type names")
            << QByteArray("aaaaaaaa-0000-4000-8000-000000000001:wifi:wlan0\n")
            << u"aaaaaaaa-0000-4000-8000-000000000001"_s;
    }

    void nmcli()
    {
        QFETCH(QByteArray, output);
        QFETCH(QString, uuid);
        QCOMPARE(platform::NmcliConnections::firstWiredOrWireless(output), uuid);
    }

    void nmcliIsJudgedByItsOutputOnly_data()
    {
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QString>("target");
        const QByteArray listed = fixture(u"linux/nmcli/active-ethernet-then-wifi.txt"_s);
        const QString ethernet = u"2f0c1a6e-3b7d-4c1e-9a55-0d6f1c2b3a4e"_s;
        QTest::newRow("status 0") << 0 << listed << ethernet;
        // nmcli may list the connections and still end with a warning's status.
        QTest::newRow("status 10 with a list") << 10 << listed << ethernet;
        // Output that is not UTF-8 is no output: the default route's interface is used.
        QTest::newRow("status 0, not UTF-8") << 0 << QByteArray(listed + "\xff\n") << u"eth9"_s;
        QTest::newRow("status 8, nothing") << 8 << QByteArray() << u"eth9"_s;
    }

    void nmcliIsJudgedByItsOutputOnly()
    {
        QFETCH(int, exitCode);
        QFETCH(QByteArray, output);
        QFETCH(QString, target);
        QTemporaryDir proc;
        QVERIFY(QDir(proc.path()).mkpath(u"net"_s));
        QFile routes(proc.path() + u"/net/route"_s);
        QVERIFY(routes.open(QIODevice::WriteOnly));
        routes.write(
            "Iface\tDestination\tGateway \tFlags\tRefCnt\tUse\tMetric\tMask\t\tMTU\t"
            "Window\tIRTT\neth9\t00000000\t0102A8C0\t0003\t0\t0\t100\t00000000\t0\t0\t0\n");
        routes.close();
        RecordingToolRunner runner;
        runner.answer = [&](const platform::ToolRequest &) {
            return RecordingToolRunner::finished(exitCode, output);
        };
        platform::NmcliNetworkServices services(runner, proc.path());
        QCOMPARE(QCoro::waitFor(services.activeService()).target, target);
    }

    void displayToolOutputThatIsNotText()
    {
        // A query whose output is not UTF-8 shows no mode, and no change is attempted from it.
        RecordingToolRunner runner;
        runner.answer = [&](const platform::ToolRequest &) {
            return RecordingToolRunner::finished(0, fixture(u"linux/xrandr/xvfb-one-output.txt"_s) +
                                                        "\xc0\xaf");
        };
        platform::XrandrDisplayResolution display(runner);
        QVERIFY(!QCoro::waitFor(display.current()).size);
        QVERIFY(!QCoro::waitFor(display.change(QSize(1920, 1080))));
        QCOMPARE(runner.requests.size(), 2);
    }

    void nmcliEscapes()
    {
        QCOMPARE(platform::NmcliConnections::fields(u"a\\:b:c\\\\d:"_s),
                 (QStringList{u"a:b"_s, u"c\\d"_s, QString()}));
    }

    void defaultRoute()
    {
        QCOMPARE(platform::ProcNetRoute::defaultInterface(
                     fixture(u"linux/proc-net-route/default-via-wifi.txt"_s)),
                 u"wlp2s0"_s);
        QCOMPARE(platform::ProcNetRoute::defaultInterface(
                     fixture(u"linux/proc-net-route/no-default.txt"_s)),
                 QString());
        QCOMPARE(platform::ProcNetRoute::defaultInterface("garbage"), QString());
    }

    void xrandr_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QSize>("size");
        QTest::newRow("Xvfb") << fixture(u"linux/xrandr/xvfb-one-output.txt"_s) << u"screen"_s
                              << QSize(2560, 1440);
        QTest::newRow("Xvfb after the change")
            << fixture(u"linux/xrandr/xvfb-changed-mode.txt"_s) << u"screen"_s << QSize(1920, 1080);
        QTest::newRow("primary wins") << fixture(u"linux/xrandr/laptop-external-primary.txt"_s)
                                      << u"HDMI-1"_s << QSize(2560, 1440);
        QTest::newRow("first showing a mode")
            << fixture(u"linux/xrandr/laptop-lid-closed.txt"_s) << u"HDMI-1"_s << QSize(2560, 1440);
        // A monitor turned on its side is measured as its mode is named.
        QTest::newRow("portrait primary")
            << fixture(u"linux/xrandr/portrait-left.txt"_s) << u"DP-1"_s << QSize(1920, 1080);
        QTest::newRow("portrait after the change")
            << fixture(u"linux/xrandr/portrait-left-changed.txt"_s) << u"DP-1"_s
            << QSize(1680, 1050);
        QTest::newRow("upside down and mirrored")
            << fixture(u"linux/xrandr/inverted-reflected.txt"_s) << u"eDP-1"_s << QSize(1920, 1080);
        QTest::newRow("turned right and mirrored")
            << fixture(u"linux/xrandr/right-not-primary.txt"_s) << u"HDMI-2"_s << QSize(1920, 1200);
        QTest::newRow("a mode without height is no mode")
            << fixture(u"linux/xrandr/fuzz-zero-height.txt"_s) << QString() << QSize();
        QTest::newRow("a primary without a real mode")
            << fixture(u"linux/xrandr/zero-height-primary.txt"_s) << u"HDMI-1"_s
            << QSize(1920, 1080);
        QTest::newRow("nothing connected")
            << QByteArray("Screen 0: minimum 8 x 8\nVGA-1 disconnected\n") << QString() << QSize();
    }

    void xrandr()
    {
        QFETCH(QByteArray, output);
        QFETCH(QString, name);
        QFETCH(QSize, size);
        const auto found = platform::XrandrQuery::mainOutput(output);
        QCOMPARE(found.has_value(), !name.isEmpty());
        if (found) {
            QCOMPARE(found->name, name);
            QCOMPARE(found->size, size);
        }
    }

    void xrandrChangeOfAPortraitMonitor()
    {
        // The mode is set by its name and read back on its side: that is the change succeeding.
        RecordingToolRunner runner;
        const QByteArray before = fixture(u"linux/xrandr/portrait-left.txt"_s);
        const QByteArray after = fixture(u"linux/xrandr/portrait-left-changed.txt"_s);
        runner.answer = [&](const platform::ToolRequest &request) {
            const bool query = request.arguments == QStringList{u"--current"_s};
            const bool changed = runner.requests.size() > 2;
            return RecordingToolRunner::finished(0,
                                                 query ? (changed ? after : before) : QByteArray());
        };
        platform::XrandrDisplayResolution display(runner);
        QVERIFY(QCoro::waitFor(display.change(QSize(1680, 1050))));
        QCOMPARE(runner.commandLines().at(1),
                 (QStringList{u"xrandr"_s, u"--output"_s, u"DP-1"_s, u"--mode"_s, u"1680x1050"_s}));
        QCOMPARE(QCoro::waitFor(display.current()).size, std::optional<QSize>(QSize(1680, 1050)));
    }

    void xrandrChangeOfAnOutputThatVanishedFails()
    {
        // HDMI-1, the primary, is unplugged as it switches; the laptop's panel left as the main
        // output shows the size asked for, but that is not the change made.
        RecordingToolRunner runner;
        const QByteArray before = fixture(u"linux/xrandr/laptop-external-primary.txt"_s);
        QByteArray after = before;
        after.replace("HDMI-1 connected primary 2560x1440+0+0", "HDMI-1 disconnected");
        after.replace("   2560x1440     59.95*+\n", "");
        QVERIFY(after != before);
        runner.answer = [&](const platform::ToolRequest &request) {
            const bool query = request.arguments == QStringList{u"--current"_s};
            const bool changed = runner.requests.size() > 2;
            return RecordingToolRunner::finished(0,
                                                 query ? (changed ? after : before) : QByteArray());
        };
        platform::XrandrDisplayResolution display(runner);
        QVERIFY(!QCoro::waitFor(display.change(QSize(1920, 1200))));
        QCOMPARE(runner.commandLines().at(1), (QStringList{u"xrandr"_s, u"--output"_s, u"HDMI-1"_s,
                                                           u"--mode"_s, u"1920x1200"_s}));
        QCOMPARE(QCoro::waitFor(display.current()).size, std::optional<QSize>(QSize(1920, 1200)));
    }

    void hudFileValue_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QVariant>("value");
        QTest::newRow("on") << QByteArray("MANGOHUD=1\n") << QVariant(u"1"_s);
        QTest::newRow("off") << QByteArray("# c\nMANGOHUD=0\n") << QVariant(u"0"_s);
        QTest::newRow("quoted") << QByteArray("MANGOHUD=\"YES\"\n") << QVariant(u"YES"_s);
        QTest::newRow("last wins") << QByteArray("MANGOHUD=1\nMANGOHUD=0\n") << QVariant(u"0"_s);
        QTest::newRow("other variables") << QByteArray("MANGOHUD_CONFIG=fps\n") << QVariant();
        QTest::newRow("empty") << QByteArray() << QVariant();
    }

    void hudFileValue()
    {
        QFETCH(QByteArray, content);
        QFETCH(QVariant, value);
        const std::optional<QString> parsed = platform::EnvironmentdHud::valueIn(content);
        QCOMPARE(parsed.has_value(), value.isValid());
        if (parsed) {
            QCOMPARE(*parsed, value.toString());
        }
    }

    void hudFileRoundTrip()
    {
        QTemporaryDir config;
        platform::EnvironmentdHud hud(config.path());
        QCOMPARE(hud.storedValue(), std::nullopt);
        QVERIFY(hud.write(true));
        QCOMPARE(hud.filePath(), config.filePath(u"environment.d/90-kestrelvanta-hud.conf"_s));
        QVERIFY(TestFiles::read(hud.filePath()).contains("\nMANGOHUD=1\n"));
        QCOMPARE(hud.storedValue(), u"1"_s);
        QVERIFY(hud.write(false));
        QCOMPARE(hud.storedValue(), u"0"_s);
    }

    void hudFileInTheWay()
    {
        // A folder where the file goes, and a configuration folder that is a file.
        QTemporaryDir config;
        QVERIFY(QDir().mkpath(config.filePath(u"environment.d/90-kestrelvanta-hud.conf"_s)));
        platform::EnvironmentdHud blocked(config.path());
        QCOMPARE(blocked.storedValue(), std::nullopt);
        QVERIFY(!blocked.write(true));
        QVERIFY(TestFiles::write(config.filePath(u"plain"_s), "x"));
        platform::EnvironmentdHud unwritable(config.filePath(u"plain"_s));
        QVERIFY(!unwritable.write(true));
    }

    void desktopEntries()
    {
        QTemporaryDir data;
        const QString user = data.filePath(u"user/applications"_s);
        const QString system = data.filePath(u"system/applications"_s);
        QVERIFY(QDir().mkpath(user + u"/kde"_s));
        QVERIFY(QDir().mkpath(system));
        QVERIFY(TestFiles::write(system + u"/steam.desktop"_s,
                                 "[Desktop Entry]\nName=Steam\nName[de]=Dampf\nExec=steam\n"
                                 "StartupWMClass=Steam\n[Desktop Action x]\nName=Other\n"));
        QVERIFY(TestFiles::write(system + u"/org.example.Racer.desktop"_s,
                                 "[Desktop Entry]\nName=Racer Deluxe\n"));
        QVERIFY(TestFiles::write(user + u"/kde/chat.desktop"_s,
                                 "[Desktop Entry]\nName=Chat Thing\nStartupWMClass=chatwm\n"));
        QVERIFY(TestFiles::write(system + u"/hidden.desktop"_s,
                                 "[Desktop Entry]\nName=Hidden\nNoDisplay=true\n"));
        // The user's entry of an id hides the system's.
        QVERIFY(TestFiles::write(user + u"/override.desktop"_s,
                                 "[Desktop Entry]\nName=Mine\nHidden=true\n"));
        QVERIFY(
            TestFiles::write(system + u"/override.desktop"_s, "[Desktop Entry]\nName=Theirs\n"));
        QVERIFY(TestFiles::write(system + u"/broken.desktop"_s, "no group here\nName=x\n"));

        platform::DesktopEntryIndex index({user, system});
        const auto steam = index.lookup(u"steamwebhelper"_s, u"Steam"_s);
        QVERIFY(steam);
        QCOMPARE(steam->name, u"Steam"_s);
        QCOMPARE(steam->id, u"steam"_s);
        const auto chat = index.lookup(u"chatwm"_s, u"Chatwm"_s);
        QVERIFY(chat);
        QCOMPARE(chat->id, u"kde-chat"_s);
        const auto racer = index.lookup(u"org.example.Racer"_s, u"Racer"_s);
        QVERIFY(racer);
        QCOMPARE(racer->name, u"Racer Deluxe"_s);
        // An id is tried in lower case too, as many programs name their class in capitals.
        const auto shouted = index.lookup(u"x"_s, u"STEAM"_s);
        QVERIFY(shouted);
        QCOMPARE(shouted->id, u"steam"_s);
        QVERIFY(!index.lookup(u"x"_s, u"ORG.EXAMPLE.RACER"_s));
        QVERIFY(!index.lookup(u"hidden"_s, u"Hidden"_s));
        QVERIFY(!index.lookup(u"override"_s, u"Override"_s));
        QVERIFY(!index.lookup(u"broken"_s, u"Broken"_s));
        QVERIFY(!index.lookup(QString(), QString()));
    }

    // A pipe or a device under an entry's name is skipped, never waited on.
    void desktopEntriesThatAreNoFiles()
    {
        QTemporaryDir data;
        const QString folder = data.filePath(u"applications"_s);
        QVERIFY(QDir().mkpath(folder));
        QVERIFY(::mkfifo(QFile::encodeName(folder + u"/pipe.desktop"_s).constData(), 0600) == 0);
        QVERIFY(QFile::link(folder + u"/pipe.desktop"_s, folder + u"/linked-pipe.desktop"_s));
        QVERIFY(QFile::link(u"/dev/zero"_s, folder + u"/zero.desktop"_s));
        QVERIFY(TestFiles::write(folder + u"/real.desktop"_s, "[Desktop Entry]\nName=Real\n"));
        platform::DesktopEntryIndex index({folder});
        QVERIFY(!index.lookup(u"pipe"_s, u"Pipe"_s));
        QVERIFY(!index.lookup(u"linked-pipe"_s, u"linked-pipe"_s));
        QVERIFY(!index.lookup(u"zero"_s, u"Zero"_s));
        const auto real = index.lookup(u"real"_s, u"Real"_s);
        QVERIFY(real);
        QCOMPARE(real->name, u"Real"_s);
    }

    void gameKeywords()
    {
        QCOMPARE(GameRules::gameKeywords.size(), 17);
        QCOMPARE(GameRules::gameKeywords.constFirst(), u"steam"_s);
        QCOMPARE(GameRules::gameKeywords.constLast(), u"launcher"_s);
        QCOMPARE(GameRules::backgroundAppNames.size(), 8);
    }

    void isGame_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("bundle");
        QTest::addColumn<bool>("game");
        QTest::newRow("name holds game in capitals") << u"My GAME Thing"_s << QString() << true;
        QTest::newRow("endgame") << u"Endgame Planner"_s << QString() << true;
        QTest::newRow("bundle holds launcher") << u"Runner"_s << u"com.example.Launcher"_s << true;
        QTest::newRow("steam") << u"Steam"_s << u"steam"_s << true;
        QTest::newRow("battle.net") << u"Battle.net"_s << QString() << true;
        QTest::newRow("cs2 in bundle") << u"Counter"_s << u"cs2"_s << true;
        QTest::newRow("unity editor") << u"Unity Hub"_s << QString() << true;
        QTest::newRow("keyword split by the space") << u"ste"_s << u"am"_s << false;
        QTest::newRow("text editor") << u"Text Editor"_s << u"org.gnome.TextEditor"_s << false;
        QTest::newRow("browser") << u"Firefox"_s << u"firefox"_s << false;
    }

    void isGame()
    {
        QFETCH(QString, name);
        QFETCH(QString, bundle);
        QFETCH(bool, game);
        QCOMPARE(GameRules::isGame(name, bundle), game);
    }

    void detectionSkipsNonCandidates()
    {
        const QList<RunningAppInfo> games = GameRules::detectGames({
            app(10, u"Game One"_s),
            app(11, u"Game Dialog"_s, {}, false),
            app(0, u"Game Zero"_s),
            app(-3, u"Game Negative"_s),
            app(12, QString(), u"game.without.name"_s),
            app(13, u"Editor"_s),
            app(14, u"Epic Games Launcher"_s, u"com.epicgames.launcher"_s),
        });
        QCOMPARE(games, (QList<RunningAppInfo>{
                            {10, u"Game One"_s, QString()},
                            {14, u"Epic Games Launcher"_s, u"com.epicgames.launcher"_s}}));
    }

    void sortIgnoresCaseAndKeepsTies()
    {
        const QList<RunningAppInfo> sorted = GameRules::sortedByName({
            {1, u"Beta"_s, {}},
            {2, u"alpha"_s, {}},
            {3, u"Same"_s, u"first"_s},
            {4, u"Same"_s, u"second"_s},
            {5, u"ALPHA2"_s, {}},
        });
        QStringList order;
        for (const RunningAppInfo &game : sorted) {
            order.append(QString::number(game.id));
        }
        QCOMPARE(order, (QStringList{u"2"_s, u"5"_s, u"1"_s, u"3"_s, u"4"_s}));
    }

    void backgroundNamesAreExact_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("background");
        QTest::newRow("Google Chrome") << u"Google Chrome"_s << true;
        QTest::newRow("Google Chrome Helper") << u"Google Chrome Helper"_s << false;
        QTest::newRow("discord lower case") << u"discord"_s << false;
        QTest::newRow("Discord") << u"Discord"_s << true;
        QTest::newRow("zoom.us") << u"zoom.us"_s << true;
        QTest::newRow("Spotify ") << u"Spotify "_s << false;
    }

    void backgroundNamesAreExact()
    {
        QFETCH(QString, name);
        QFETCH(bool, background);
        QCOMPARE(GameRules::isBackgroundApp(name), background);
    }
};

QTEST_GUILESS_MAIN(TestOptimizerRules)
#include "tst_optimizerrules.moc"
