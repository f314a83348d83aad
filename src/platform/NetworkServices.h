#pragma once

#include <QCoro/QCoroTask>
#include <QString>

#include <memory>

namespace platform {

class ToolRunner;

/// Which network connection DNS settings are applied to.
class NetworkServices {
public:
    /// The connection to configure, as the root helper's "set-dns" takes it (a connection UUID
    /// or an interface name); empty when none was found. fetchError says why the system could
    /// not be asked at all.
    struct ActiveService {
        QString target;
        QString fetchError;
    };

    virtual ~NetworkServices() = default;

    virtual QCoro::Task<ActiveService> activeService() = 0;

    /// The system's connections, asked through the given runner (which must outlive it).
    static std::unique_ptr<NetworkServices> create(ToolRunner &runner);

protected:
    NetworkServices() = default;
    NetworkServices(const NetworkServices &) = default;
    NetworkServices &operator=(const NetworkServices &) = default;
};

} // namespace platform
