#include "TestEnvironment.h"
#include "platform/linux/X11WindowOcclusion.h"

#include <QGuiApplication>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

#include <cstdlib>
#include <xcb/xcb.h>

using platform::X11WindowOcclusion;

// The X server's word on whether a window is covered, in a private X server: windows of this
// test's own cover the watched one wholly, partly, and not at all.
class TestWindowOcclusion : public QObject {
    Q_OBJECT

    xcb_connection_t *m_x = nullptr;
    xcb_screen_t *m_screen = nullptr;

    // A window at (x, y) that the window manager leaves alone, mapped and on top.
    xcb_window_t window(int x, int y, int width, int height)
    {
        const xcb_window_t id = xcb_generate_id(m_x);
        const quint32 values[] = {m_screen->black_pixel, 1};
        xcb_create_window(m_x, XCB_COPY_FROM_PARENT, id, m_screen->root, qint16(x), qint16(y),
                          quint16(width), quint16(height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                          m_screen->root_visual, XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT,
                          values);
        // Known to the server before another connection names it.
        std::free(xcb_get_input_focus_reply(m_x, xcb_get_input_focus(m_x), nullptr));
        return id;
    }

    void map(xcb_window_t id)
    {
        xcb_map_window(m_x, id);
        std::free(xcb_get_input_focus_reply(m_x, xcb_get_input_focus(m_x), nullptr));
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (qEnvironmentVariableIsEmpty("KV_PRIVATE_X")) {
            QSKIP("needs the private X server of ewmh_session.sh");
        }
        m_x = xcb_connect(nullptr, nullptr);
        QVERIFY(!xcb_connection_has_error(m_x));
        m_screen = xcb_setup_roots_iterator(xcb_get_setup(m_x)).data;
    }

    void cleanupTestCase()
    {
        if (m_x) {
            xcb_disconnect(m_x);
        }
    }

    void coveredOnlyWhenWhollyHidden()
    {
        const xcb_window_t watched = window(10, 10, 200, 150);
        X11WindowOcclusion occlusion(watched);
        QVERIFY(occlusion.isWatching());
        QSignalSpy changes(&occlusion, &X11WindowOcclusion::coveredChanged);
        map(watched);
        QTest::qWait(100);
        QVERIFY(!occlusion.isCovered());

        const xcb_window_t corner = window(0, 0, 100, 100);
        map(corner);
        QTest::qWait(100);
        QVERIFY(!occlusion.isCovered());
        QCOMPARE(changes.size(), 0);

        const xcb_window_t cover = window(0, 0, 400, 300);
        map(cover);
        QTRY_VERIFY(occlusion.isCovered());
        QCOMPARE(changes.size(), 1);
        QCOMPARE(changes.at(0).at(0).toBool(), true);

        xcb_unmap_window(m_x, cover);
        xcb_flush(m_x);
        QTRY_VERIFY(!occlusion.isCovered());
        QCOMPARE(changes.size(), 2);
        QCOMPARE(changes.at(1).at(0).toBool(), false);
        for (const xcb_window_t id : {cover, corner, watched}) {
            xcb_destroy_window(m_x, id);
        }
        xcb_flush(m_x);
    }

    // A window the server does not know, or no server: never covered.
    void nothingToWatch()
    {
        X11WindowOcclusion unknown(0x7ffffff0);
        QVERIFY(!unknown.isWatching());
        QVERIFY(!unknown.isCovered());
        X11WindowOcclusion noServer(0x200001, ":9999");
        QVERIFY(!noServer.isWatching());
        QVERIFY(!noServer.isCovered());
    }
};

KV_TEST_MAIN(TestWindowOcclusion)
#include "tst_windowocclusion.moc"
