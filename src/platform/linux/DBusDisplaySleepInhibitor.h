#pragma once

#include "platform/DisplaySleepInhibitor.h"

#include <QDBusConnection>
#include <QDBusObjectPath>

namespace platform {

/// Idle inhibition on the session bus, from the first service that grants it: the desktop
/// portal, the freedesktop ScreenSaver service, then GNOME's session manager.
class DBusDisplaySleepInhibitor final : public DisplaySleepInhibitor {
public:
    static inline const QString applicationName = QStringLiteral("Kestrelvanta");
    static inline const QString reason = QStringLiteral("Game Mode keeps the display awake");

    explicit DBusDisplaySleepInhibitor(QDBusConnection bus);

    QCoro::Task<QString> inhibit() override;
    QCoro::Task<> release() override;
    [[nodiscard]] bool isHeld() const override { return m_held != Held::Nothing; }

private:
    enum class Held { Nothing, PortalRequest, ScreenSaverCookie, SessionManagerCookie };

    QDBusConnection m_bus;
    Held m_held = Held::Nothing;
    QDBusObjectPath m_request;
    uint m_cookie = 0;
};

} // namespace platform
