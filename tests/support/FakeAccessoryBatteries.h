#pragma once

#include "platform/AccessoryBatteries.h"

/// Accessory batteries the test chooses, answered at once.
class FakeAccessoryBatteries final : public platform::AccessoryBatteries {
public:
    QList<platform::PeripheralBattery> batteries;
    int reads = 0;

    QCoro::Task<QList<platform::PeripheralBattery>> read() override
    {
        ++reads;
        // A copy: QCoro moves whatever co_return names, members included.
        co_return QList<platform::PeripheralBattery>(batteries);
    }
};
