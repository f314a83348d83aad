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
        co_return batteries;
    }
};
