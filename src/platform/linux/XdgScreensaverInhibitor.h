#pragma once

#include "platform/DisplaySleepInhibitor.h"
#include "platform/ToolRunner.h"

#include <QByteArray>

struct xcb_connection_t;

namespace platform {

/// The last way to keep an X11 display awake, where no desktop service offers inhibition:
/// "xdg-screensaver suspend WINDOW". The window is an invisible one of our own on a connection
/// of our own, so the suspension also ends if this program goes away.
class XdgScreensaverInhibitor final : public DisplaySleepInhibitor {
public:
    /// display: an X display name such as ":1" (empty: $DISPLAY).
    XdgScreensaverInhibitor(ToolRunner &runner, QByteArray display);
    ~XdgScreensaverInhibitor() override;
    XdgScreensaverInhibitor(const XdgScreensaverInhibitor &) = delete;
    XdgScreensaverInhibitor &operator=(const XdgScreensaverInhibitor &) = delete;

    QCoro::Task<QString> inhibit() override;
    QCoro::Task<> release() override;
    [[nodiscard]] bool isHeld() const override { return m_held; }

    /// The window named to xdg-screensaver while held, else 0.
    [[nodiscard]] quint32 window() const { return m_held ? m_window : 0; }
    [[nodiscard]] static ToolRequest request(const QString &verb, quint32 window);

private:
    bool openWindow();
    void closeWindow();

    ToolRunner &m_runner;
    QByteArray m_display;
    xcb_connection_t *m_connection = nullptr;
    quint32 m_window = 0;
    bool m_held = false;
};

} // namespace platform
