#pragma once

#include "platform/DisplaySleepInhibitor.h"

struct wl_display;
struct wl_event_queue;
struct zwp_idle_inhibit_manager_v1;
struct zwp_idle_inhibitor_v1;

namespace platform {

/// The last way to keep a Wayland display awake, where no desktop service offers inhibition
/// (sway without a portal): the compositor's idle-inhibit protocol, bound to the surface of
/// the program's own window. The compositor honours it while that window is visible, and it
/// ends with the program's connection.
class WaylandIdleInhibitor final : public DisplaySleepInhibitor {
public:
    WaylandIdleInhibitor() = default;
    ~WaylandIdleInhibitor() override;
    WaylandIdleInhibitor(const WaylandIdleInhibitor &) = delete;
    WaylandIdleInhibitor &operator=(const WaylandIdleInhibitor &) = delete;

    QCoro::Task<QString> inhibit() override;
    QCoro::Task<> release() override;
    [[nodiscard]] bool isHeld() const override { return m_inhibitor != nullptr; }

    /// Whether the program's windows are on a Wayland connection of its own.
    [[nodiscard]] static bool runsNatively();

private:
    QString inhibitNow();
    void releaseNow();
    /// Whether the connection bound to is still the application's (it goes with it).
    [[nodiscard]] bool connectionAlive() const;

    wl_display *m_display = nullptr;
    wl_event_queue *m_queue = nullptr;
    zwp_idle_inhibit_manager_v1 *m_manager = nullptr;
    zwp_idle_inhibitor_v1 *m_inhibitor = nullptr;
};

} // namespace platform
