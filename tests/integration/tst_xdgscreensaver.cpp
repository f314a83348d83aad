#include "RecordingToolRunner.h"
#include "platform/linux/XdgScreensaverInhibitor.h"

#include <QCoreApplication>
#include <QCoro/QCoroTask>
#include <QTest>

#include <cstdlib>
#include <xcb/xcb.h>

using namespace Qt::StringLiterals;
using platform::ToolRequest;

namespace {

// Whether the X server of $DISPLAY knows the window, asked over a connection of the test's own.
bool windowExists(quint32 window)
{
    xcb_connection_t *connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection) != 0) {
        xcb_disconnect(connection);
        return false;
    }
    xcb_get_window_attributes_reply_t *reply = xcb_get_window_attributes_reply(
        connection, xcb_get_window_attributes(connection, window), nullptr);
    const bool exists = reply != nullptr;
    std::free(reply);
    xcb_disconnect(connection);
    return exists;
}

} // namespace

/// The last way of keeping an X display awake, with the tool replaced by a recording runner
/// and a real window in a private X server.
class TestXdgScreensaver : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void withoutAnXServerThereIsAReason()
    {
        RecordingToolRunner runner;
        platform::XdgScreensaverInhibitor inhibitor(runner, "/nonexistent/kv:0");
        QCOMPARE(QCoro::waitFor(inhibitor.inhibit()), u"no X display for xdg-screensaver"_s);
        QVERIFY(!inhibitor.isHeld());
        QVERIFY(runner.requests.isEmpty());
        QCoro::waitFor(inhibitor.release());
        QVERIFY(runner.requests.isEmpty());
    }

    void suspendsForItsOwnWindowAndResumes()
    {
        if (qEnvironmentVariableIsEmpty("KV_PRIVATE_X")) {
            QSKIP("opens a window: run only through ewmh_session.sh");
        }
        RecordingToolRunner runner;
        platform::XdgScreensaverInhibitor inhibitor(runner, {});
        QCOMPARE(QCoro::waitFor(inhibitor.inhibit()), QString());
        QVERIFY(inhibitor.isHeld());
        const quint32 window = inhibitor.window();
        QVERIFY(window != 0);
        QVERIFY(windowExists(window));
        const QString id = u"0x"_s + QString::number(window, 16);
        QCOMPARE(runner.commandLines(),
                 QList<QStringList>{(QStringList{u"xdg-screensaver"_s, u"suspend"_s, id})});

        // Held: a second request changes nothing.
        QCOMPARE(QCoro::waitFor(inhibitor.inhibit()), QString());
        QCOMPARE(runner.requests.size(), 1);

        QCoro::waitFor(inhibitor.release());
        QVERIFY(!inhibitor.isHeld());
        QCOMPARE(runner.commandLines().last(),
                 (QStringList{u"xdg-screensaver"_s, u"resume"_s, id}));
        QTRY_VERIFY(!windowExists(window));
    }

    void aRefusalLeavesNothingBehind()
    {
        if (qEnvironmentVariableIsEmpty("KV_PRIVATE_X")) {
            QSKIP("opens a window: run only through ewmh_session.sh");
        }
        RecordingToolRunner missing;
        missing.answer = [](const ToolRequest &) { return platform::ToolResult{}; };
        platform::XdgScreensaverInhibitor notInstalled(missing, {});
        QCOMPARE(QCoro::waitFor(notInstalled.inhibit()), u"xdg-screensaver is not installed"_s);
        QVERIFY(!notInstalled.isHeld());
        QCOMPARE(notInstalled.window(), 0U);

        RecordingToolRunner failing;
        failing.answer = [](const ToolRequest &) { return RecordingToolRunner::finished(3); };
        platform::XdgScreensaverInhibitor refused(failing, {});
        QCOMPARE(QCoro::waitFor(refused.inhibit()), u"xdg-screensaver refused"_s);
        QVERIFY(!refused.isHeld());
        QCoro::waitFor(refused.release());
        QCOMPARE(failing.requests.size(), 1);
    }
};

QTEST_GUILESS_MAIN(TestXdgScreensaver)
#include "tst_xdgscreensaver.moc"
