#include "RecordingToolRunner.h"
#include "TestFiles.h"
#include "platform/linux/DisplayBackendChoice.h"
#include "platform/linux/KscreenDoctorQuery.h"
#include "platform/linux/SwayOutputsQuery.h"
#include "platform/linux/WaylandToolDisplayResolution.h"
#include "platform/linux/WlrRandrQuery.h"

#include <QCoreApplication>
#include <QCoro/QCoroTask>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace Qt::StringLiterals;
using platform::DisplayBackendChoice;
using platform::ToolRequest;
using platform::ToolResult;
using platform::WaylandOutput;
using Variables = QHash<QString, QString>;

namespace {

QByteArray fixture(const QString &relative)
{
    const QByteArray content =
        TestFiles::read(QStringLiteral(KV_FIXTURES_DIR "/linux/") + relative);
    if (content.isEmpty()) {
        qFatal("missing fixture");
    }
    return content;
}

QProcessEnvironment environment(const QHash<QString, QString> &values)
{
    QProcessEnvironment result;
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        result.insert(it.key(), it.value());
    }
    return result;
}

// Answers each query with the next output in the list (the last one repeats), every other
// request with the given exit status.
struct Script {
    QList<QByteArray> queries;
    int changeExit = 0;
    int asked = 0;

    ToolResult operator()(const ToolRequest &request, bool isQuery)
    {
        if (!isQuery) {
            return RecordingToolRunner::finished(changeExit);
        }
        const QByteArray output = queries.at(std::min<qsizetype>(asked, queries.size() - 1));
        ++asked;
        Q_UNUSED(request)
        return RecordingToolRunner::finished(0, output);
    }
};

// The fixture with its current mode replaced by another one of the same output.
QByteArray withCurrentMode(QByteArray text, const QByteArray &from, const QByteArray &to)
{
    return text.replace(from, to);
}

} // namespace

/// The display mode on Wayland sessions: which tool is chosen, what it is asked, and how its
/// answers are read.
class TestWaylandResolution : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // ---- Choosing the tool ----

    void choice_data()
    {
        QTest::addColumn<Variables>("variables");
        QTest::addColumn<int>("backend");
        using B = DisplayBackendChoice::Backend;
        QTest::newRow("X11") << Variables{{u"DISPLAY"_s, u":0"_s}} << int(B::Xrandr);
        QTest::newRow("nothing at all") << Variables{} << int(B::Xrandr);
        QTest::newRow("Wayland without X, Sway")
            << Variables{{u"WAYLAND_DISPLAY"_s, u"wayland-1"_s},
                         {u"XDG_CURRENT_DESKTOP"_s, u"sway"_s}}
            << int(B::WlrRandr);
        QTest::newRow("sway, which names its IPC socket")
            << Variables{{u"WAYLAND_DISPLAY"_s, u"wayland-1"_s},
                         {u"SWAYSOCK"_s, u"/run/user/1000/sway-ipc.1000.42.sock"_s},
                         {u"XDG_CURRENT_DESKTOP"_s, u"sway"_s}}
            << int(B::Sway);
        QTest::newRow("sway's socket in an X session")
            << Variables{{u"DISPLAY"_s, u":0"_s},
                         {u"SWAYSOCK"_s, u"/run/user/1000/sway-ipc.1000.42.sock"_s}}
            << int(B::Xrandr);
        QTest::newRow("Wayland with XWayland, Plasma")
            << Variables{{u"WAYLAND_DISPLAY"_s, u"wayland-0"_s},
                         {u"DISPLAY"_s, u":1"_s},
                         {u"XDG_SESSION_TYPE"_s, u"wayland"_s},
                         {u"XDG_CURRENT_DESKTOP"_s, u"KDE"_s}}
            << int(B::KscreenDoctor);
        QTest::newRow("Wayland without X, Plasma")
            << Variables{{u"WAYLAND_DISPLAY"_s, u"wayland-0"_s},
                         {u"XDG_CURRENT_DESKTOP"_s, u"KDE"_s}}
            << int(B::KscreenDoctor);
        QTest::newRow("GNOME on Wayland")
            << Variables{{u"WAYLAND_DISPLAY"_s, u"wayland-0"_s},
                         {u"DISPLAY"_s, u":0"_s},
                         {u"XDG_SESSION_TYPE"_s, u"wayland"_s},
                         {u"XDG_CURRENT_DESKTOP"_s, u"ubuntu:GNOME"_s}}
            << int(B::Mutter);
        QTest::newRow("an X session that also has a Wayland socket")
            << Variables{{u"WAYLAND_DISPLAY"_s, u"wayland-0"_s},
                         {u"DISPLAY"_s, u":0"_s},
                         {u"XDG_SESSION_TYPE"_s, u"x11"_s},
                         {u"XDG_CURRENT_DESKTOP"_s, u"KDE"_s}}
            << int(B::Xrandr);
        QTest::newRow("Wayland under XWayland's DISPLAY, Hyprland")
            << Variables{{u"WAYLAND_DISPLAY"_s, u"wayland-1"_s},
                         {u"DISPLAY"_s, u":0"_s},
                         {u"XDG_SESSION_TYPE"_s, u"wayland"_s},
                         {u"XDG_CURRENT_DESKTOP"_s, u"Hyprland"_s}}
            << int(B::WlrRandr);
    }

    void choice()
    {
        QFETCH(Variables, variables);
        QFETCH(int, backend);
        QCOMPARE(int(DisplayBackendChoice::choose(environment(variables))), backend);
    }

    // ---- kscreen-doctor ----

    void kscreenDoctorQuery_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QSize>("size");
        QTest::addColumn<int>("rate");
        QTest::addColumn<int>("modes");
        QTest::newRow("primary listed second")
            << u"laptop-external-primary.txt"_s << u"DP-2"_s << QSize(2560, 1440) << 144 << 5;
        QTest::newRow("priority and numeric ids")
            << u"plasma6-priority.txt"_s << u"DP-1"_s << QSize(2560, 1440) << 60 << 4;
        QTest::newRow("switched off") << u"all-disabled.txt"_s << QString() << QSize() << 0 << 0;
        QTest::newRow("not JSON") << u"not-a-document.txt"_s << QString() << QSize() << 0 << 0;
    }

    void kscreenDoctorQuery()
    {
        QFETCH(QString, file);
        QFETCH(QString, name);
        QFETCH(QSize, size);
        QFETCH(int, rate);
        QFETCH(int, modes);
        const auto output =
            platform::KscreenDoctorQuery::mainOutput(fixture(u"kscreen-doctor/"_s + file));
        if (name.isEmpty()) {
            QVERIFY(!output);
            return;
        }
        QVERIFY(output);
        QCOMPARE(output->name, name);
        QVERIFY(output->current);
        QCOMPARE(output->current->size, size);
        QCOMPARE(qRound(output->current->refreshRate), rate);
        QCOMPARE(output->modes.size(), modes);
    }

    // Refresh rates too large for an int are compared as they are: the current mode is still
    // the one kept, not the first whose rate happens to round alike. The kscreen-doctor input is
    // the one the fuzz target found.
    void absurdRefreshRatesAreComparedWhole()
    {
        const auto found = platform::KscreenDoctorQuery::mainOutput(
            fixture(u"kscreen-doctor/fuzz-huge-refresh-rate.txt"_s));
        QVERIFY(found && found->current);
        QCOMPARE(found->modeFor(QSize(1920, 1200))->id, u"3"_s);

        platform::WaylandOutput output;
        output.name = u"DP-1"_s;
        output.modes = {{u"a"_s, QSize(1920, 1080), 1e17}, {u"b"_s, QSize(1920, 1080), 6e16}};
        output.current = output.modes.at(1);
        QCOMPARE(output.modeFor(QSize(1920, 1080))->id, u"b"_s);
    }

    void kscreenDoctorChangeKeepsTheRefreshRate()
    {
        const QByteArray before = fixture(u"kscreen-doctor/laptop-external-primary.txt"_s);
        Script script{{before, withCurrentMode(before, "\"currentModeId\": \"12\"",
                                               "\"currentModeId\": \"14\"")}};
        RecordingToolRunner runner;
        runner.answer = [&](const ToolRequest &request) {
            return script(request, request.arguments == QStringList{u"--json"_s});
        };
        platform::WaylandToolDisplayResolution display(
            runner, platform::WaylandToolDisplayResolution::kscreenDoctor());
        QVERIFY(QCoro::waitFor(display.change(QSize(1920, 1080))));
        QCOMPARE(runner.commandLines(),
                 (QList<QStringList>{{u"kscreen-doctor"_s, u"--json"_s},
                                     {u"kscreen-doctor"_s, u"output.DP-2.mode.1920x1080@144"_s},
                                     {u"kscreen-doctor"_s, u"--json"_s}}));
    }

    void kscreenDoctorChangeWithoutTheRateTakesTheHighest()
    {
        // 60 Hz now; the 1920x1080 modes are 60 and 50 Hz, and 3840x2160 only has 60.
        const QByteArray before = fixture(u"kscreen-doctor/plasma6-priority.txt"_s);
        RecordingToolRunner runner;
        runner.answer = [&](const ToolRequest &request) {
            if (request.arguments == QStringList{u"--json"_s}) {
                return RecordingToolRunner::finished(0, before);
            }
            return RecordingToolRunner::finished(0);
        };
        platform::WaylandToolDisplayResolution display(
            runner, platform::WaylandToolDisplayResolution::kscreenDoctor());
        // The compositor did not switch: the read-back still shows 2560x1440.
        QVERIFY(!QCoro::waitFor(display.change(QSize(1920, 1080))));
        QCOMPARE(runner.commandLines().at(1),
                 (QStringList{u"kscreen-doctor"_s, u"output.DP-1.mode.1920x1080@60"_s}));
    }

    void kscreenDoctorRefusesASizeTheDisplayLacks()
    {
        RecordingToolRunner runner;
        runner.answer = [](const ToolRequest &) {
            return RecordingToolRunner::finished(
                0, fixture(u"kscreen-doctor/laptop-external-primary.txt"_s));
        };
        platform::WaylandToolDisplayResolution display(
            runner, platform::WaylandToolDisplayResolution::kscreenDoctor());
        QVERIFY(!QCoro::waitFor(display.change(QSize(1024, 768))));
        QCOMPARE(runner.requests.size(), 1);
    }

    void kscreenDoctorFailures()
    {
        RecordingToolRunner runner;
        runner.answer = [](const ToolRequest &) { return ToolResult{}; };
        platform::WaylandToolDisplayResolution display(
            runner, platform::WaylandToolDisplayResolution::kscreenDoctor());
        const auto query = QCoro::waitFor(display.current());
        QVERIFY(!query.size);
        QCOMPARE(query.error, u"kscreen-doctor could not be run"_s);
        QVERIFY(!QCoro::waitFor(display.change(QSize(1920, 1080))));

        // The change command itself fails: nothing is read back.
        RecordingToolRunner refusing;
        refusing.answer = [](const ToolRequest &request) {
            return request.arguments == QStringList{u"--json"_s}
                       ? RecordingToolRunner::finished(
                             0, fixture(u"kscreen-doctor/laptop-external-primary.txt"_s))
                       : RecordingToolRunner::finished(1);
        };
        platform::WaylandToolDisplayResolution refused(
            refusing, platform::WaylandToolDisplayResolution::kscreenDoctor());
        QVERIFY(!QCoro::waitFor(refused.change(QSize(1920, 1080))));
        QCOMPARE(refusing.requests.size(), 2);
        QCOMPARE(QCoro::waitFor(refused.current()).size, QSize(2560, 1440));
    }

    // ---- wlr-randr ----

    void wlrRandrQuery_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QSize>("size");
        QTest::addColumn<int>("modes");
        QTest::newRow("first output off")
            << u"sway-two-outputs.txt"_s << u"HDMI-A-1"_s << QSize(2560, 1440) << 6;
        QTest::newRow("preferred and current")
            << u"preferred-current.txt"_s << u"Virtual-1"_s << QSize(1280, 800) << 3;
        QTest::newRow("no modes") << u"headless-no-mode.txt"_s << QString() << QSize() << 0;
        QTest::newRow("no compositor") << u"not-wlroots.txt"_s << QString() << QSize() << 0;
    }

    void wlrRandrQuery()
    {
        QFETCH(QString, file);
        QFETCH(QString, name);
        QFETCH(QSize, size);
        QFETCH(int, modes);
        const auto output = platform::WlrRandrQuery::mainOutput(fixture(u"wlr-randr/"_s + file));
        if (name.isEmpty()) {
            QVERIFY(!output);
            return;
        }
        QVERIFY(output);
        QCOMPARE(output->name, name);
        QVERIFY(output->current);
        QCOMPARE(output->current->size, size);
        QCOMPARE(output->modes.size(), modes);
    }

    void wlrRandrChangeAndReadBack()
    {
        const QByteArray before = fixture(u"wlr-randr/sway-two-outputs.txt"_s);
        QByteArray after = before;
        after.replace("2560x1440 px, 59.951000 Hz (current)", "2560x1440 px, 59.951000 Hz");
        after.replace("1920x1080 px, 60.000000 Hz\n", "1920x1080 px, 60.000000 Hz (current)\n");
        Script script{{before, after}};
        RecordingToolRunner runner;
        runner.answer = [&](const ToolRequest &request) {
            return script(request, request.arguments.isEmpty());
        };
        platform::WaylandToolDisplayResolution display(
            runner, platform::WaylandToolDisplayResolution::wlrRandr());
        QVERIFY(QCoro::waitFor(display.change(QSize(1920, 1080))));
        QCOMPARE(runner.commandLines(),
                 (QList<QStringList>{
                     {u"wlr-randr"_s},
                     {u"wlr-randr"_s, u"--output"_s, u"HDMI-A-1"_s, u"--mode"_s, u"1920x1080"_s},
                     {u"wlr-randr"_s}}));
        QCOMPARE(QCoro::waitFor(display.current()).size, QSize(1920, 1080));
    }

    void wlrRandrChangeThatDidNotTakeIsAFailure()
    {
        RecordingToolRunner runner;
        runner.answer = [](const ToolRequest &) {
            return RecordingToolRunner::finished(0, fixture(u"wlr-randr/sway-two-outputs.txt"_s));
        };
        platform::WaylandToolDisplayResolution display(
            runner, platform::WaylandToolDisplayResolution::wlrRandr());
        QVERIFY(!QCoro::waitFor(display.change(QSize(1920, 1080))));
        QCOMPARE(runner.requests.size(), 3);
        // A size the output does not list is never sent.
        runner.requests.clear();
        QVERIFY(!QCoro::waitFor(display.change(QSize(1600, 900))));
        QCOMPARE(runner.requests.size(), 1);
        QVERIFY(!QCoro::waitFor(display.change(QSize())));
    }

    void wlrRandrMissing()
    {
        RecordingToolRunner runner;
        runner.answer = [](const ToolRequest &) { return ToolResult{}; };
        platform::WaylandToolDisplayResolution display(
            runner, platform::WaylandToolDisplayResolution::wlrRandr());
        const auto query = QCoro::waitFor(display.current());
        QVERIFY(!query.size);
        QCOMPARE(query.error, u"wlr-randr could not be run"_s);
        QVERIFY(!QCoro::waitFor(display.change(QSize(1920, 1080))));
    }

    void wlrRandrWithoutACompositorReadsNoSize()
    {
        RecordingToolRunner runner;
        runner.answer = [](const ToolRequest &) {
            return RecordingToolRunner::finished(1, {}, "failed to connect to display\n");
        };
        platform::WaylandToolDisplayResolution display(
            runner, platform::WaylandToolDisplayResolution::wlrRandr());
        const auto query = QCoro::waitFor(display.current());
        QVERIFY(!query.size);
    }
    // ---- swaymsg ----

    void swayOutputsQuery_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QSize>("size");
        QTest::addColumn<int>("modes");
        QTest::addColumn<bool>("anySize");
        const QByteArray headless = fixture(u"swaymsg/get_outputs-headless.json"_s);
        const QByteArray monitor = fixture(u"swaymsg/get_outputs-monitor.json"_s);
        QTest::newRow("headless outputs")
            << headless << u"HEADLESS-1"_s << QSize(2560, 1440) << 0 << true;
        QTest::newRow("a monitor with its modes")
            << monitor << u"DP-1"_s << QSize(2560, 1440) << 5 << false;
        QJsonDocument firstOff = QJsonDocument::fromJson(headless);
        QJsonArray outputs = firstOff.array();
        QJsonObject first = outputs.at(0).toObject();
        first.insert(u"active"_s, false);
        outputs.replace(0, first);
        firstOff.setArray(outputs);
        QTest::newRow("the first output switched off")
            << firstOff.toJson() << u"HEADLESS-2"_s << QSize(1920, 1080) << 0 << true;
    }

    void swayOutputsQuery()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, name);
        QFETCH(QSize, size);
        QFETCH(int, modes);
        QFETCH(bool, anySize);
        const auto output = platform::SwayOutputsQuery::mainOutput(text);
        QVERIFY(output);
        QCOMPARE(output->name, name);
        QVERIFY(output->current);
        QCOMPARE(output->current->size, size);
        QCOMPARE(output->modes.size(), modes);
        QCOMPARE(output->anySize, anySize);
    }

    void swayOutputsQueryReadsNothingFromOddText_data()
    {
        QTest::addColumn<QByteArray>("text");
        QByteArray hostile = fixture(u"swaymsg/get_outputs-headless.json"_s);
        hostile.replace("\"HEADLESS-1\"", "\"HEADLESS-1; exit\"");
        QTest::newRow("a name sway would read as two commands") << hostile;
        QByteArray allOff = fixture(u"swaymsg/get_outputs-headless.json"_s);
        allOff.replace("\"active\": true", "\"active\": false");
        QTest::newRow("every output off") << allOff;
        QTest::newRow("an error object") << QByteArray(R"({"success":false,"error":"x"})");
        QTest::newRow("not JSON") << QByteArray("swaymsg: unable to connect to sway-ipc\n");
        QTest::newRow("empty") << QByteArray();
    }

    void swayOutputsQueryReadsNothingFromOddText()
    {
        QFETCH(QByteArray, text);
        QVERIFY(!platform::SwayOutputsQuery::mainOutput(text));
    }

    void swaymsgChangeKeepsTheRateAndReadsBack()
    {
        const QByteArray before = fixture(u"swaymsg/get_outputs-monitor.json"_s);
        QByteArray after = before;
        after.replace(R"("current_mode": {
      "width": 2560,
      "height": 1440,
      "refresh": 143912
    })",
                      R"("current_mode": {
      "width": 1920,
      "height": 1080,
      "refresh": 143855
    })");
        QVERIFY(after != before);
        Script script{{before, after}};
        RecordingToolRunner runner;
        runner.answer = [&](const ToolRequest &request) {
            return script(request, request.arguments.first() == u"-t");
        };
        platform::WaylandToolDisplayResolution display(
            runner, platform::WaylandToolDisplayResolution::swaymsg());
        QVERIFY(QCoro::waitFor(display.change(QSize(1920, 1080))));
        const QStringList query{u"swaymsg"_s, u"-t"_s, u"get_outputs"_s, u"-r"_s};
        QCOMPARE(runner.commandLines(),
                 (QList<QStringList>{query,
                                     {u"swaymsg"_s, u"--"_s, u"output"_s, u"DP-1"_s, u"mode"_s,
                                      u"1920x1080@143.855Hz"_s},
                                     query}));
        // The monitor does not list 1600x900: nothing is sent.
        runner.requests.clear();
        QVERIFY(!QCoro::waitFor(display.change(QSize(1600, 900))));
        QCOMPARE(runner.commandLines(), (QList<QStringList>{query}));
    }

    void swaymsgSetsAnySizeOnAHeadlessOutput()
    {
        const QByteArray before = fixture(u"swaymsg/get_outputs-headless.json"_s);
        QByteArray after = before;
        after.replace("\"width\": 2560,\n      \"height\": 1440",
                      "\"width\": 1920,\n      \"height\": 1080");
        QVERIFY(after != before);
        Script script{{before, after}};
        RecordingToolRunner runner;
        runner.answer = [&](const ToolRequest &request) {
            return script(request, request.arguments.first() == u"-t");
        };
        platform::WaylandToolDisplayResolution display(
            runner, platform::WaylandToolDisplayResolution::swaymsg());
        QVERIFY(QCoro::waitFor(display.change(QSize(1920, 1080))));
        QCOMPARE(runner.commandLines().at(1),
                 (QStringList{u"swaymsg"_s, u"--"_s, u"output"_s, u"HEADLESS-1"_s, u"mode"_s,
                              u"1920x1080@60.000Hz"_s}));
    }

    void swaymsgRefusalOrOtherModeIsAFailure()
    {
        const QByteArray before = fixture(u"swaymsg/get_outputs-headless.json"_s);
        // sway answers the command with an error and keeps the mode.
        Script script{{before}, 2};
        RecordingToolRunner runner;
        runner.answer = [&](const ToolRequest &request) {
            return script(request, request.arguments.first() == u"-t");
        };
        platform::WaylandToolDisplayResolution display(
            runner, platform::WaylandToolDisplayResolution::swaymsg());
        QVERIFY(!QCoro::waitFor(display.change(QSize(1920, 1080))));
        QCOMPARE(runner.requests.size(), 2);
        // sway accepts but shows another mode.
        Script accepted{{before}, 0};
        runner.requests.clear();
        runner.answer = [&](const ToolRequest &request) {
            return accepted(request, request.arguments.first() == u"-t");
        };
        QVERIFY(!QCoro::waitFor(display.change(QSize(1920, 1080))));
        QCOMPARE(runner.requests.size(), 3);
        // The output vanished before the read-back.
        Script vanished{{before, "[]"}, 0};
        runner.requests.clear();
        runner.answer = [&](const ToolRequest &request) {
            return vanished(request, request.arguments.first() == u"-t");
        };
        QVERIFY(!QCoro::waitFor(display.change(QSize(1920, 1080))));
    }

    // The output switched vanished before the read-back, and the one that is main now happens
    // to show the size asked for: that is no change of ours.
    void anotherOutputShowingTheSizeIsAFailure()
    {
        const QByteArray before = fixture(u"swaymsg/get_outputs-headless.json"_s);
        QJsonArray outputs = QJsonDocument::fromJson(before).array();
        outputs.removeFirst(); // HEADLESS-1 goes; HEADLESS-2 shows 1920x1080
        Script script{{before, QJsonDocument(outputs).toJson()}, 0};
        RecordingToolRunner runner;
        runner.answer = [&](const ToolRequest &request) {
            return script(request, request.arguments.first() == u"-t");
        };
        platform::WaylandToolDisplayResolution display(
            runner, platform::WaylandToolDisplayResolution::swaymsg());
        QVERIFY(!QCoro::waitFor(display.change(QSize(1920, 1080))));
        QCOMPARE(runner.requests.size(), 3);

        // Plasma: the external monitor goes, and the laptop's panel shows 1920x1080.
        const QByteArray plasma = fixture(u"kscreen-doctor/laptop-external-primary.txt"_s);
        QJsonObject document = QJsonDocument::fromJson(plasma).object();
        QJsonArray remaining;
        for (const QJsonValue &value : document.value(u"outputs").toArray()) {
            QJsonObject output = value.toObject();
            if (output.value(u"name").toString() == u"eDP-1") {
                output.insert(u"currentModeId", u"2"_s);
                remaining.append(output);
            }
        }
        document.insert(u"outputs", remaining);
        Script unplugged{{plasma, plasma, QJsonDocument(document).toJson()}, 0};
        RecordingToolRunner kscreen;
        kscreen.answer = [&](const ToolRequest &request) {
            return unplugged(request, request.arguments == QStringList{u"--json"_s});
        };
        platform::WaylandToolDisplayResolution plasmaDisplay(
            kscreen, platform::WaylandToolDisplayResolution::kscreenDoctor());
        QCOMPARE(QCoro::waitFor(plasmaDisplay.current()).size, QSize(2560, 1440));
        QVERIFY(!QCoro::waitFor(plasmaDisplay.change(QSize(1920, 1080))));
        QCOMPARE(kscreen.commandLines().at(2),
                 (QStringList{u"kscreen-doctor"_s, u"output.DP-2.mode.1920x1080@144"_s}));
        QCOMPARE(QCoro::waitFor(plasmaDisplay.current()).size, QSize(1920, 1080));
    }
};

QTEST_GUILESS_MAIN(TestWaylandResolution)
#include "tst_waylandresolution.moc"
