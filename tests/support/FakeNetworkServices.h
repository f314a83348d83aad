#pragma once

#include "platform/NetworkServices.h"

/// The connection to configure, as the test sets it.
class FakeNetworkServices final : public platform::NetworkServices {
public:
    ActiveService service{QStringLiteral("Wi-Fi"), {}};
    int asked = 0;

    QCoro::Task<ActiveService> activeService() override
    {
        ++asked;
        co_return ActiveService(service);
    }
};
