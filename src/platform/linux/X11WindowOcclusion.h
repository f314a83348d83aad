#pragma once

#include "platform/WindowOcclusion.h"

#include <QByteArray>
#include <QSocketNotifier>

#include <memory>

struct xcb_connection_t;

namespace platform {

/// The X server's visibility notifications for one window, over a connection of its own: the
/// window is covered once the server reports it fully obscured, and no longer when it reports it
/// partly or wholly visible again. (Under a compositor every window counts as visible.)
class X11WindowOcclusion final : public WindowOcclusion {
    Q_OBJECT

public:
    /// Watches `window` on the display named `display` (empty: $DISPLAY). Without a server, or
    /// for a window it does not know, the window is never covered.
    X11WindowOcclusion(quint32 window, const QByteArray &display = {});
    ~X11WindowOcclusion() override;
    X11WindowOcclusion(const X11WindowOcclusion &) = delete;
    X11WindowOcclusion &operator=(const X11WindowOcclusion &) = delete;

    [[nodiscard]] bool isCovered() const override { return m_covered; }
    /// Whether the server accepted the watch.
    [[nodiscard]] bool isWatching() const { return m_notifier != nullptr; }

private:
    void readEvents();

    xcb_connection_t *m_connection = nullptr;
    quint32 m_window = 0;
    std::unique_ptr<QSocketNotifier> m_notifier;
    bool m_covered = false;
};

} // namespace platform
