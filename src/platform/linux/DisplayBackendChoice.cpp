#include "DisplayBackendChoice.h"

#include "MutterDisplayResolution.h"
#include "WaylandToolDisplayResolution.h"
#include "XrandrDisplayResolution.h"

#include <QDBusConnection>
#include <QStringList>

namespace platform {

std::unique_ptr<DisplayResolution> DisplayResolution::create(ToolRunner &runner)
{
    switch (DisplayBackendChoice::choose(QProcessEnvironment::systemEnvironment())) {
    case DisplayBackendChoice::Backend::KscreenDoctor:
        return std::make_unique<WaylandToolDisplayResolution>(
            runner, WaylandToolDisplayResolution::kscreenDoctor());
    case DisplayBackendChoice::Backend::Mutter:
        return std::make_unique<MutterDisplayResolution>(QDBusConnection::sessionBus());
    case DisplayBackendChoice::Backend::Sway:
        return std::make_unique<WaylandToolDisplayResolution>(
            runner, WaylandToolDisplayResolution::swaymsg());
    case DisplayBackendChoice::Backend::WlrRandr:
        return std::make_unique<WaylandToolDisplayResolution>(
            runner, WaylandToolDisplayResolution::wlrRandr());
    case DisplayBackendChoice::Backend::Xrandr:
        break;
    }
    return std::make_unique<XrandrDisplayResolution>(runner);
}

bool DisplayBackendChoice::isWaylandSession(const QProcessEnvironment &environment)
{
    const QString type = environment.value(QStringLiteral("XDG_SESSION_TYPE"));
    if (type == u"wayland") {
        return true;
    }
    if (type == u"x11") {
        return false;
    }
    return !environment.value(QStringLiteral("WAYLAND_DISPLAY")).isEmpty() &&
           environment.value(QStringLiteral("DISPLAY")).isEmpty();
}

DisplayBackendChoice::Backend DisplayBackendChoice::choose(const QProcessEnvironment &environment)
{
    if (!isWaylandSession(environment)) {
        return Backend::Xrandr;
    }
    const QStringList desktops = environment.value(QStringLiteral("XDG_CURRENT_DESKTOP"))
                                     .toLower()
                                     .split(u':', Qt::SkipEmptyParts);
    if (desktops.contains(u"kde")) {
        return Backend::KscreenDoctor;
    }
    // GNOME's compositor only takes mode changes over its own D-Bus interface.
    if (desktops.contains(u"gnome")) {
        return Backend::Mutter;
    }
    // sway tells its clients where its IPC socket is; wlr-randr cannot read the modes of its
    // headless and nested outputs.
    if (!environment.value(QStringLiteral("SWAYSOCK")).isEmpty()) {
        return Backend::Sway;
    }
    return Backend::WlrRandr;
}

} // namespace platform
