#include "XdgScreensaverInhibitor.h"

#include <xcb/xcb.h>

namespace platform {

XdgScreensaverInhibitor::XdgScreensaverInhibitor(ToolRunner &runner, QByteArray display)
    : m_runner(runner)
    , m_display(std::move(display))
{
}

XdgScreensaverInhibitor::~XdgScreensaverInhibitor()
{
    closeWindow();
}

ToolRequest XdgScreensaverInhibitor::request(const QString &verb, quint32 window)
{
    ToolRequest request;
    request.program = QStringLiteral("xdg-screensaver");
    request.arguments = {verb, QStringLiteral("0x") + QString::number(window, 16)};
    request.timeout = std::chrono::seconds(10);
    return request;
}

bool XdgScreensaverInhibitor::openWindow()
{
    int screenNumber = 0;
    m_connection =
        xcb_connect(m_display.isEmpty() ? nullptr : m_display.constData(), &screenNumber);
    if (xcb_connection_has_error(m_connection) != 0) {
        closeWindow();
        return false;
    }
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(m_connection));
    for (int i = 0; i < screenNumber && screens.rem > 0; ++i) {
        xcb_screen_next(&screens);
    }
    if (screens.rem == 0) {
        closeWindow();
        return false;
    }
    // Never mapped: it exists only to be named, and lives as long as the connection.
    m_window = xcb_generate_id(m_connection);
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, m_window, screens.data->root, 0, 0, 1, 1,
                      0, XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    static constexpr char title[] = "Kestrelvanta";
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_window, XCB_ATOM_WM_NAME,
                        XCB_ATOM_STRING, 8, sizeof title - 1, title);
    xcb_flush(m_connection);
    return true;
}

void XdgScreensaverInhibitor::closeWindow()
{
    if (m_connection) {
        xcb_disconnect(m_connection);
        m_connection = nullptr;
    }
    m_window = 0;
}

QCoro::Task<QString> XdgScreensaverInhibitor::inhibit()
{
    if (m_held) {
        co_return QString();
    }
    if (!openWindow()) {
        co_return QStringLiteral("no X display for xdg-screensaver");
    }
    const ToolResult result = co_await m_runner.run(request(QStringLiteral("suspend"), m_window));
    if (!result.succeeded()) {
        closeWindow();
        co_return result.outcome == ToolResult::Outcome::FailedToStart
            ? QStringLiteral("xdg-screensaver is not installed")
            : QStringLiteral("xdg-screensaver refused");
    }
    m_held = true;
    co_return QString();
}

QCoro::Task<> XdgScreensaverInhibitor::release()
{
    if (!m_held) {
        co_return;
    }
    m_held = false;
    co_await m_runner.run(request(QStringLiteral("resume"), m_window));
    // Gone with the window, whatever resume said.
    closeWindow();
}

} // namespace platform
