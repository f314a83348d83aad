#include "WaylandIdleInhibitor.h"

#include "idle-inhibit-unstable-v1-client-protocol.h"

#include <QDeadlineTimer>
#include <QGuiApplication>
#include <QWindow>
#include <qpa/qplatformnativeinterface.h>

#include <chrono>
#include <cstring>
#include <poll.h>
#include <utility>

namespace platform {

namespace {

QPlatformNativeInterface *nativeInterface()
{
    // A program without a GUI application has no windows to bind to.
    return qobject_cast<QGuiApplication *>(QCoreApplication::instance())
               ? QGuiApplication::platformNativeInterface()
               : nullptr;
}

wl_display *applicationDisplay()
{
    QPlatformNativeInterface *native = nativeInterface();
    return native && WaylandIdleInhibitor::runsNatively()
               ? static_cast<wl_display *>(
                     native->nativeResourceForIntegration(QByteArrayLiteral("wl_display")))
               : nullptr;
}

// The program's own window: the first visible top-level one.
wl_surface *windowSurface()
{
    QPlatformNativeInterface *native = nativeInterface();
    if (!native) {
        return nullptr;
    }
    const QWindowList windows = QGuiApplication::topLevelWindows();
    for (QWindow *window : windows) {
        if (window->isVisible() && window->type() == Qt::Window) {
            if (auto *surface = static_cast<wl_surface *>(
                    native->nativeResourceForWindow(QByteArrayLiteral("surface"), window))) {
                return surface;
            }
        }
    }
    return nullptr;
}

void registryGlobal(void *data, wl_registry *registry, uint32_t name, const char *interface,
                    uint32_t /*version*/)
{
    auto **manager = static_cast<zwp_idle_inhibit_manager_v1 **>(data);
    if (!*manager && std::strcmp(interface, zwp_idle_inhibit_manager_v1_interface.name) == 0) {
        *manager = static_cast<zwp_idle_inhibit_manager_v1 *>(
            wl_registry_bind(registry, name, &zwp_idle_inhibit_manager_v1_interface, 1));
    }
}

void registryGlobalRemove(void * /*data*/, wl_registry * /*registry*/, uint32_t /*name*/) {}

constexpr wl_registry_listener registryListener = {registryGlobal, registryGlobalRemove};

void syncDone(void *data, wl_callback * /*callback*/, uint32_t /*serial*/)
{
    *static_cast<bool *>(data) = true;
}

constexpr wl_callback_listener syncListener = {syncDone};

// Dispatches the queue until the compositor has answered everything asked on it so far, for
// at most the deadline: a compositor that does not answer must not hold the window up. Reads
// alongside Qt's own reader, which libwayland coordinates.
bool roundTrip(wl_display *display, wl_display *wrapper, wl_event_queue *queue,
               std::chrono::milliseconds limit)
{
    bool answered = false;
    wl_callback *callback = wl_display_sync(wrapper);
    wl_callback_add_listener(callback, &syncListener, &answered);
    const QDeadlineTimer deadline(limit);
    bool failed = false;
    while (!answered && !failed) {
        if (wl_display_prepare_read_queue(display, queue) != 0) {
            failed = wl_display_dispatch_queue_pending(display, queue) < 0;
            continue;
        }
        wl_display_flush(display);
        pollfd socket{wl_display_get_fd(display), POLLIN, 0};
        if (::poll(&socket, 1, int(deadline.remainingTime())) <= 0) {
            wl_display_cancel_read(display);
            break;
        }
        failed = wl_display_read_events(display) != 0 ||
                 wl_display_dispatch_queue_pending(display, queue) < 0;
    }
    wl_callback_destroy(callback);
    return answered;
}

} // namespace

WaylandIdleInhibitor::~WaylandIdleInhibitor()
{
    if (!connectionAlive()) {
        return; // the connection went with the application, and everything on it
    }
    releaseNow();
    if (m_manager) {
        zwp_idle_inhibit_manager_v1_destroy(m_manager);
    }
    wl_event_queue_destroy(m_queue);
}

bool WaylandIdleInhibitor::runsNatively()
{
    return QGuiApplication::platformName().startsWith(QLatin1StringView("wayland"));
}

QCoro::Task<QString> WaylandIdleInhibitor::inhibit()
{
    co_return inhibitNow();
}

QCoro::Task<> WaylandIdleInhibitor::release()
{
    releaseNow();
    co_return;
}

QString WaylandIdleInhibitor::inhibitNow()
{
    if (isHeld()) {
        return {};
    }
    wl_display *display = applicationDisplay();
    if (!display) {
        return QStringLiteral("no Wayland connection");
    }
    wl_surface *surface = windowSurface();
    if (!surface) {
        return QStringLiteral("no window to keep the display awake for");
    }
    if (m_display != display) {
        // Asked once per connection, on a queue of our own, so that waiting for the compositor's
        // list dispatches only our registry, never the window's events.
        if (m_display) {
            return QStringLiteral("the Wayland connection changed");
        }
        m_display = display;
        m_queue = wl_display_create_queue(display);
        auto *wrapper = static_cast<wl_display *>(wl_proxy_create_wrapper(display));
        wl_proxy_set_queue(reinterpret_cast<wl_proxy *>(wrapper), m_queue);
        wl_registry *registry = wl_display_get_registry(wrapper);
        wl_registry_add_listener(registry, &registryListener, &m_manager);
        const bool answered = roundTrip(display, wrapper, m_queue, std::chrono::seconds(1));
        wl_proxy_wrapper_destroy(wrapper);
        wl_registry_destroy(registry);
        if (!answered && !m_manager) {
            // Asked again next time.
            wl_event_queue_destroy(std::exchange(m_queue, nullptr));
            m_display = nullptr;
            return QStringLiteral("the compositor did not answer");
        }
    }
    if (!m_manager) {
        return QStringLiteral("the compositor offers no idle inhibition");
    }
    m_inhibitor = zwp_idle_inhibit_manager_v1_create_inhibitor(m_manager, surface);
    wl_display_flush(display);
    return {};
}

void WaylandIdleInhibitor::releaseNow()
{
    if (m_inhibitor && connectionAlive()) {
        zwp_idle_inhibitor_v1_destroy(m_inhibitor);
        wl_display_flush(m_display);
    }
    m_inhibitor = nullptr;
}

bool WaylandIdleInhibitor::connectionAlive() const
{
    return m_display && applicationDisplay() == m_display;
}

} // namespace platform
