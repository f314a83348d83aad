#pragma once

#include "platform/DisplaySleepInhibitor.h"

#include <QDBusConnection>
#include <QDBusObjectPath>

#include <memory>

namespace platform {

/// Idle inhibition on the session bus, from the first service that grants it: the desktop
/// portal, the freedesktop ScreenSaver service, then GNOME's session manager; else from the
/// last resort given, when there is one.
class DBusDisplaySleepInhibitor final : public DisplaySleepInhibitor {
public:
    static inline const QString applicationName = QStringLiteral("Kestrelvanta");
    static inline const QString reason = QStringLiteral("Game Mode keeps the display awake");

    explicit DBusDisplaySleepInhibitor(QDBusConnection bus,
                                       std::unique_ptr<DisplaySleepInhibitor> lastResort = {});

    QCoro::Task<QString> inhibit() override;
    QCoro::Task<> release() override;
    [[nodiscard]] bool isHeld() const override { return m_held != Held::Nothing; }

private:
    enum class Held { Nothing, PortalRequest, ScreenSaverCookie, SessionManagerCookie, LastResort };

    QCoro::Task<QString> inhibitOnBus();

    QDBusConnection m_bus;
    std::unique_ptr<DisplaySleepInhibitor> m_lastResort;
    Held m_held = Held::Nothing;
    bool m_asking = false;          ///< an inhibition is being asked for
    bool m_releaseWhenHeld = false; ///< it was released meanwhile: give back what it brings
    QDBusObjectPath m_request;
    uint m_cookie = 0;
};

} // namespace platform
