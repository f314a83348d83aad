#pragma once

#include "platform/DisplayResolution.h"

#include <QDBusConnection>

namespace platform {

/// The main display's mode in a GNOME Wayland session, through the compositor's display
/// configuration service: the state is read, a size the main monitor does not list is refused,
/// the change is applied for this session only and then read back.
class MutterDisplayResolution final : public DisplayResolution {
public:
    explicit MutterDisplayResolution(QDBusConnection bus);

    QCoro::Task<Query> current() override;
    QCoro::Task<bool> change(QSize size) override;

private:
    QDBusConnection m_bus;
};

} // namespace platform
