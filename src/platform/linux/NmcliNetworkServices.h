#pragma once

#include "platform/NetworkServices.h"

namespace platform {

/// NetworkManager's active connections through nmcli, addressed by UUID (a connection's name is
/// whatever its network calls itself); without one, the interface of the default route.
class NmcliNetworkServices final : public NetworkServices {
public:
    NmcliNetworkServices(ToolRunner &runner, QString procRoot);

    QCoro::Task<ActiveService> activeService() override;

private:
    ToolRunner &m_runner;
    QString m_procRoot;
};

} // namespace platform
