#include "FakeNetwork.h"
#include "QuickDriver.h"
#include "TestEnvironment.h"
#include "TestFiles.h"
#include "app/AppContext.h"
#include "cleaner/DiskScanner.h"
#include "core/AppStateManager.h"
#include "core/SettingsStore.h"
#include "optimizer/SystemOptimizer.h"
#include "platform/Clock.h"
#include "sessions/PDFReportGenerator.h"
#include "sessions/SessionLogger.h"
#include "telemetry/SystemMonitor.h"

#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <optional>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

// The compositor's own tool, run by the test; its answer, or nothing when it failed.
std::optional<QByteArray> ask(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(10000) || process.exitStatus() != QProcess::NormalExit ||
        process.exitCode() != 0) {
        qWarning().noquote() << program << arguments << "failed:" << process.readAllStandardError();
        return std::nullopt;
    }
    return process.readAllStandardOutput();
}

// The size sway reports for an output, from "swaymsg -t get_outputs".
QSize swayOutputSize(const QString &name)
{
    const QJsonArray outputs =
        QJsonDocument::fromJson(
            ask(u"swaymsg"_s, {u"-t"_s, u"get_outputs"_s, u"-r"_s}).value_or(QByteArray()))
            .array();
    for (const QJsonValue &value : outputs) {
        const QJsonObject output = value.toObject();
        if (output.value(u"name").toString() == name) {
            const QJsonObject mode = output.value(u"current_mode").toObject();
            return {mode.value(u"width").toInt(), mode.value(u"height").toInt()};
        }
    }
    return {};
}

// Mutter's serial, each monitor's current size and each logical monitor's position, in its
// order, from GetCurrentState as gdbus prints it.
struct MutterState {
    quint32 serial = 0;
    QList<QSize> current;
    QList<QPoint> positions;
};

MutterState mutterState()
{
    const QString text =
        QString::fromUtf8(ask(u"gdbus"_s, {u"call"_s, u"--session"_s, u"--dest"_s,
                                           u"org.gnome.Mutter.DisplayConfig"_s, u"--object-path"_s,
                                           u"/org/gnome/Mutter/DisplayConfig"_s, u"--method"_s,
                                           u"org.gnome.Mutter.DisplayConfig.GetCurrentState"_s})
                              .value_or(QByteArray()));
    MutterState state;
    static const QRegularExpression serial(u"^\\(uint32 (\\d+),"_s);
    state.serial = serial.match(text).captured(1).toUInt();
    static const QRegularExpression currentMode(
        u"\\('(\\d+)x(\\d+)@[^']*', \\d+, \\d+, [0-9.]+, [0-9.]+, \\[[^\\]]*\\], "
        "\\{[^}]*'is-current': <true>"_s);
    for (auto it = currentMode.globalMatch(text); it.hasNext();) {
        const QRegularExpressionMatch match = it.next();
        state.current.append(QSize(match.captured(1).toInt(), match.captured(2).toInt()));
    }
    static const QRegularExpression logicalMonitor(
        u"\\((-?\\d+), (-?\\d+), [0-9.]+, (?:uint32 )?\\d+, (?:true|false), \\[\\('"_s);
    for (auto it = logicalMonitor.globalMatch(text); it.hasNext();) {
        const QRegularExpressionMatch match = it.next();
        state.positions.append(QPoint(match.captured(1).toInt(), match.captured(2).toInt()));
    }
    return state;
}

// The current mode of KWin's first output, from "kscreen-doctor -o" (the current mode carries a
// star).
QSize kscreenCurrentSize()
{
    const QString text =
        QString::fromUtf8(ask(u"kscreen-doctor"_s, {u"-o"_s}).value_or(QByteArray()))
            .remove(QRegularExpression(u"\\x1b\\[[0-9;]*m"_s));
    static const QRegularExpression current(u"(\\d+)x(\\d+)@[0-9.]+\\*"_s);
    const QRegularExpressionMatch match = current.match(text);
    return match.hasMatch() ? QSize(match.captured(1).toInt(), match.captured(2).toInt()) : QSize();
}

// Every window ("con" or floating) of sway's tree, depth first.
void collectWindows(const QJsonObject &node, QList<QJsonObject> &windows)
{
    if (node.contains(u"pid")) {
        windows.append(node);
    }
    for (const auto *key : {"nodes", "floating_nodes"}) {
        for (const QJsonValue &child : node.value(QLatin1StringView(key)).toArray()) {
            collectWindows(child.toObject(), windows);
        }
    }
}

QList<QJsonObject> swayWindows()
{
    QList<QJsonObject> windows;
    collectWindows(QJsonDocument::fromJson(
                       ask(u"swaymsg"_s, {u"-t"_s, u"get_tree"_s, u"-r"_s}).value_or(QByteArray()))
                       .object(),
                   windows);
    return windows;
}

} // namespace

// The real program's window and optimizer, natively on Wayland inside a compositor of the
// test's own (tests/wayland/*_session.sh); the compositor's own tools check what happened.
class TestWaylandSession : public QObject {
    Q_OBJECT

private:
    QString m_compositor = qEnvironmentVariable("KV_COMPOSITOR");
    QTemporaryDir m_folder;
    FakeNetwork m_network; ///< no real network traffic from the dashboard
    std::unique_ptr<AppContext> m_context;
    std::unique_ptr<QQmlEngine> m_engine;
    std::unique_ptr<QQuickWindow> m_window;
    std::unique_ptr<QuickDriver> m_driver;

    void click(const QString &name)
    {
        QQuickItem *target = nullptr;
        QTRY_VERIFY((target = m_driver->item(name)));
        m_driver->click(target);
    }

    QString textOf(const QString &name) const
    {
        QQuickItem *found = m_driver->item(name);
        return found ? found->property("text").toString() : QString();
    }

    QStringList reportLines() const
    {
        QStringList lines;
        for (QQuickItem *row : QuickDriver::itemsIn(m_window->contentItem(), u"reportAction"_s)) {
            lines.append(row->property("text").toString());
        }
        return lines;
    }

    // Mutter's virtual monitors offer their own mode only: 1920x1080 is never sent to the
    // 2560x1440 one, and Revert applies its own mode through ApplyMonitorsConfig, which Mutter
    // accepts and reports (it counts no new serial for a configuration it already shows).
    void lowerResOnMonitorsWithOneModeEach()
    {
        const MutterState before = mutterState();
        QCOMPARE(before.current, (QList<QSize>{{2560, 1440}, {1920, 1080}}));
        click(u"tabOptimizers"_s);
        click(u"lowerResButton"_s);
        QTRY_COMPARE_WITH_TIMEOUT(textOf(u"toolsStatus"_s),
                                  u"Resolution failed to change to 1920x1080"_s, 20000);
        const MutterState refused = mutterState();
        QCOMPARE(refused.current, before.current);
        QCOMPARE(refused.serial, before.serial);
        click(u"revertResButton"_s);
        QTRY_COMPARE_WITH_TIMEOUT(textOf(u"toolsStatus"_s), u"Resolution changed to 2560x1440"_s,
                                  20000);
        QCOMPARE(mutterState().current, before.current);
    }

    // Mutter's test monitors, nested in an X server, each offer 2560x1440 and 1920x1080: the
    // main one switches and the one beside it moves along, then both come back, as Mutter
    // itself reports.
    void lowerResOnMonitorsWithSeveralModes()
    {
        const MutterState before = mutterState();
        QCOMPARE(before.current, (QList<QSize>{{2560, 1440}, {2560, 1440}}));
        QCOMPARE(before.positions, (QList<QPoint>{{0, 0}, {2560, 0}}));
        click(u"tabOptimizers"_s);
        click(u"lowerResButton"_s);
        QTRY_COMPARE_WITH_TIMEOUT(textOf(u"toolsStatus"_s), u"Resolution changed to 1920x1080"_s,
                                  20000);
        const MutterState lowered = mutterState();
        QCOMPARE(lowered.current, (QList<QSize>{{1920, 1080}, {2560, 1440}}));
        QCOMPARE(lowered.positions, (QList<QPoint>{{0, 0}, {1920, 0}}));
        click(u"revertResButton"_s);
        QTRY_COMPARE_WITH_TIMEOUT(textOf(u"toolsStatus"_s), u"Resolution changed to 2560x1440"_s,
                                  20000);
        const MutterState reverted = mutterState();
        QCOMPARE(reverted.current, before.current);
        QCOMPARE(reverted.positions, before.positions);
    }

    // KWin's virtual output offers its own mode only: 1920x1080 is never sent, and Revert sets
    // the output's own mode again through kscreen-doctor.
    void lowerResOnAnOutputWithOneMode()
    {
        QCOMPARE(kscreenCurrentSize(), QSize(2560, 1440));
        click(u"tabOptimizers"_s);
        click(u"lowerResButton"_s);
        QTRY_COMPARE_WITH_TIMEOUT(textOf(u"toolsStatus"_s),
                                  u"Resolution failed to change to 1920x1080"_s, 20000);
        QCOMPARE(kscreenCurrentSize(), QSize(2560, 1440));
        click(u"revertResButton"_s);
        QTRY_COMPARE_WITH_TIMEOUT(textOf(u"toolsStatus"_s), u"Resolution changed to 2560x1440"_s,
                                  20000);
        QCOMPARE(kscreenCurrentSize(), QSize(2560, 1440));
    }

    // Whether sway says this process's window keeps the outputs from idling.
    static bool ourInhibitIdle()
    {
        const QList<QJsonObject> windows = swayWindows();
        return std::any_of(windows.cbegin(), windows.cend(), [](const QJsonObject &window) {
            return window.value(u"pid").toInteger() == ::getpid() &&
                   window.value(u"inhibit_idle").toBool();
        });
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (QGuiApplication::platformName() != u"wayland" || m_compositor.isEmpty()) {
            QSKIP("runs inside a compositor of its own: tests/wayland/*_session.sh");
        }
        QVERIFY(m_folder.isValid());
        // As the program's main() names itself: the window's app_id is the desktop entry's id.
        QGuiApplication::setDesktopFileName(u"app.kestrelvanta.Kestrelvanta"_s);
        // A game the user installed: its desktop entry names its window's app_id.
        const QString entries = qEnvironmentVariable("XDG_DATA_HOME") + u"/applications"_s;
        QVERIFY(QDir().mkpath(entries));
        QVERIFY(TestFiles::write(entries + u"/org.example.StarGame.desktop"_s,
                                 "[Desktop Entry]\nType=Application\nName=Star Game\n"
                                 "Exec=stargame\n"));
        QVERIFY(TestFiles::write(m_folder.filePath(u"config.json"_s),
                                 R"({"firstRunComplete":true,"installDate":1})"));
        m_context = std::make_unique<AppContext>(m_folder.path(), platform::Clock::system(),
                                                 nullptr, m_network.parts());
        m_engine = std::make_unique<QQmlEngine>();
        m_window.reset(m_context->createWindow(*m_engine));
        QVERIFY(m_window);
        m_driver = std::make_unique<QuickDriver>(m_window.get());
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get(), 20000));
        QTRY_VERIFY(m_driver->item(u"screenTabBar"_s));
    }

    void theCompositorShowsTheWindow()
    {
        if (m_compositor != u"sway") {
            // Mutter alone lists no windows, and KWin only through scripts: the window was
            // configured and shown (exposed). Qt counts a window whose frame callback is late
            // as not exposed, which a loaded machine can make it for a moment.
            QTRY_VERIFY_WITH_TIMEOUT(m_window->isExposed(), 10000);
            return;
        }
        // sway lists the window under the desktop entry's id, with this process's pid.
        QList<QJsonObject> ours;
        QTRY_VERIFY_WITH_TIMEOUT(
            [&] {
                ours.clear();
                for (const QJsonObject &window : swayWindows()) {
                    if (window.value(u"pid").toInteger() == ::getpid()) {
                        ours.append(window);
                    }
                }
                return ours.size() == 1;
            }(),
            10000);
        QCOMPARE(ours.first().value(u"app_id").toString(), u"app.kestrelvanta.Kestrelvanta"_s);
        QCOMPARE(ours.first().value(u"shell").toString(), u"xdg_shell"_s);
        QVERIFY(ours.first().value(u"visible").toBool());

        // And its pixels are on the output: grim photographs the first one.
        const QString picture = m_folder.filePath(u"screen.png"_s);
        QTest::qWait(500);
        QVERIFY(ask(u"grim"_s, {u"-o"_s, u"HEADLESS-1"_s, picture}));
        const QImage image(picture);
        QCOMPARE(image.size(), QSize(2560, 1440));
        const QJsonObject rect = ours.first().value(u"rect").toObject();
        const QRect window(rect.value(u"x").toInt(), rect.value(u"y").toInt(),
                           rect.value(u"width").toInt(), rect.value(u"height").toInt());
        QVERIFY(window.width() >= 1000 && window.height() >= 650);
        // The window's dark navy background, not the compositor's empty black.
        const QColor centre = image.pixelColor(window.center());
        QVERIFY2(centre != QColor(Qt::black), qPrintable(centre.name()));
        QVERIFY2(centre.blue() > centre.red(), qPrintable(centre.name()));
    }

    void lowerResAndRevert()
    {
        if (m_compositor == u"mutter") {
            lowerResOnMonitorsWithOneModeEach();
            return;
        }
        if (m_compositor == u"mutter-nested") {
            lowerResOnMonitorsWithSeveralModes();
            return;
        }
        if (m_compositor == u"kwin") {
            lowerResOnAnOutputWithOneMode();
            return;
        }
        QCOMPARE(swayOutputSize(u"HEADLESS-1"_s), QSize(2560, 1440));
        click(u"tabOptimizers"_s);
        click(u"lowerResButton"_s);
        QTRY_COMPARE_WITH_TIMEOUT(textOf(u"toolsStatus"_s), u"Resolution changed to 1920x1080"_s,
                                  20000);
        QCOMPARE(swayOutputSize(u"HEADLESS-1"_s), QSize(1920, 1080));
        // Only the main output changes.
        QCOMPARE(swayOutputSize(u"HEADLESS-2"_s), QSize(1920, 1080));
        click(u"revertResButton"_s);
        QTRY_COMPARE_WITH_TIMEOUT(textOf(u"toolsStatus"_s), u"Resolution changed to 2560x1440"_s,
                                  20000);
        QCOMPARE(swayOutputSize(u"HEADLESS-1"_s), QSize(2560, 1440));
    }

    void gameModeReport()
    {
        SystemOptimizer *optimizer = m_context->systemOptimizer();
        click(u"gameModeButton"_s);
        QTRY_COMPARE_WITH_TIMEOUT(textOf(u"reportTitle"_s), u"Game Mode enabled"_s, 60000);
        // Nothing is muted without a sound server, and the privileged steps cannot run here:
        // the two lines the sequence always writes remain.
        QCOMPARE(reportLines(), (QStringList{u"Prevented display sleep during gameplay"_s,
                                             u"Muted system output for focus mode"_s}));
        // No portal or screen saver service runs here: the window's own surface keeps the
        // compositor from idling where it offers the idle-inhibit protocol (sway, KWin), and
        // Mutter, which does not, leaves the switch off.
        QCOMPARE(optimizer->antiShutEnabled(), !m_compositor.startsWith(u"mutter"_s));
        if (m_compositor == u"sway") {
            QTRY_VERIFY_WITH_TIMEOUT(ourInhibitIdle(), 5000);
        }
        click(u"gameModeButton"_s);
        QTRY_COMPARE_WITH_TIMEOUT(textOf(u"reportTitle"_s), u"Game Mode disabled"_s, 60000);
        QCOMPARE(reportLines(), QStringList{u"Game Mode disabled"_s});
        QVERIFY(!optimizer->antiShutEnabled());
        if (m_compositor == u"sway") {
            QTRY_VERIFY_WITH_TIMEOUT(!ourInhibitIdle(), 5000);
        }
    }

    void antiShutSwitchOnSway()
    {
        if (m_compositor != u"sway") {
            QSKIP("sway reports each window's idle inhibition in its tree");
        }
        SystemOptimizer *optimizer = m_context->systemOptimizer();
        QVERIFY(!ourInhibitIdle());
        click(u"antiShutTile"_s);
        QTRY_VERIFY(optimizer->antiShutEnabled());
        QTRY_VERIFY_WITH_TIMEOUT(ourInhibitIdle(), 5000);
        click(u"antiShutTile"_s);
        QTRY_VERIFY(!optimizer->antiShutEnabled());
        QTRY_VERIFY_WITH_TIMEOUT(!ourInhibitIdle(), 5000);
    }

    void aNativeGameWindowIsDetected()
    {
        QProcess game;
        game.start(QStringLiteral(KV_WAYLAND_WINDOW), {u"org.example.StarGame"_s});
        QVERIFY(game.waitForStarted());
        const auto stop = qScopeGuard([&game] {
            game.kill();
            game.waitForFinished();
        });
        SystemOptimizer *optimizer = m_context->systemOptimizer();
        if (m_compositor != u"sway") {
            // Without a list of windows the process fallback stays, and a window that was not
            // launched from the desktop's menu is not claimed to be a game.
            QTest::qWait(1000);
            click(u"refreshGamesButton"_s);
            QTest::qWait(200);
            QVERIFY(optimizer->detectedGames().isEmpty());
            QCOMPARE(m_driver->item(u"gamePicker"_s)->property("count").toInt(), 1);
            return;
        }
        // sway's tree is the list: a native Wayland window, named by its desktop entry.
        QTRY_VERIFY_WITH_TIMEOUT(
            [&] {
                const QList<QJsonObject> windows = swayWindows();
                return std::any_of(windows.cbegin(), windows.cend(), [&](const QJsonObject &w) {
                    return w.value(u"pid").toInteger() == game.processId();
                });
            }(),
            10000);
        click(u"refreshGamesButton"_s);
        QTRY_COMPARE_WITH_TIMEOUT(optimizer->detectedGames().size(), 1, 5000);
        const RunningAppInfo found = optimizer->detectedGames().first();
        QCOMPARE(found.id, qint32(game.processId()));
        QCOMPARE(found.name, u"Star Game"_s);
        QCOMPARE(found.bundleIdentifier, u"org.example.StarGame"_s);
        QTRY_COMPARE(m_driver->item(u"gamePicker"_s)->property("count").toInt(), 2);
    }

    void cleanupTestCase()
    {
        m_window.reset();
        m_engine.reset();
        m_context.reset();
    }
};

KV_TEST_MAIN(TestWaylandSession)
#include "tst_waylandsession.moc"
