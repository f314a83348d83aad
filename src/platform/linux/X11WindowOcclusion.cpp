#include "X11WindowOcclusion.h"

#include <QGuiApplication>

#include <cstdlib>
#include <xcb/xcb.h>

namespace platform {

namespace {

// Never covered: no X server, or one that cannot tell.
class NoWindowOcclusion final : public WindowOcclusion {
public:
    [[nodiscard]] bool isCovered() const override { return false; }
};

} // namespace

std::unique_ptr<WindowOcclusion> WindowOcclusion::create(quintptr nativeWindow)
{
    if (QGuiApplication::platformName() == u"xcb" && nativeWindow != 0) {
        return std::make_unique<X11WindowOcclusion>(quint32(nativeWindow));
    }
    return std::make_unique<NoWindowOcclusion>();
}

X11WindowOcclusion::X11WindowOcclusion(quint32 window, const QByteArray &display)
    : m_window(window)
{
    m_connection = xcb_connect(display.isEmpty() ? nullptr : display.constData(), nullptr);
    if (xcb_connection_has_error(m_connection)) {
        return;
    }
    // Each client chooses its own events on a window: this selection leaves the toolkit's alone.
    const quint32 mask = XCB_EVENT_MASK_VISIBILITY_CHANGE;
    const xcb_void_cookie_t selected =
        xcb_change_window_attributes_checked(m_connection, window, XCB_CW_EVENT_MASK, &mask);
    if (xcb_generic_error_t *error = xcb_request_check(m_connection, selected)) {
        std::free(error);
        return;
    }
    m_notifier = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(m_connection),
                                                   QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &X11WindowOcclusion::readEvents);
}

X11WindowOcclusion::~X11WindowOcclusion()
{
    m_notifier.reset();
    xcb_disconnect(m_connection);
}

void X11WindowOcclusion::readEvents()
{
    bool covered = m_covered;
    while (xcb_generic_event_t *event = xcb_poll_for_event(m_connection)) {
        if ((event->response_type & 0x7f) == XCB_VISIBILITY_NOTIFY) {
            const auto *visibility = reinterpret_cast<xcb_visibility_notify_event_t *>(event);
            if (visibility->window == m_window) {
                covered = visibility->state == XCB_VISIBILITY_FULLY_OBSCURED;
            }
        }
        std::free(event);
    }
    if (xcb_connection_has_error(m_connection)) {
        // The server went away: stop listening, and let everything run.
        m_notifier.reset();
        covered = false;
    }
    if (covered != m_covered) {
        m_covered = covered;
        Q_EMIT coveredChanged(covered);
    }
}

} // namespace platform
