#include "NmcliNetworkServices.h"

#include "NmcliConnections.h"
#include "ProcNetRoute.h"
#include "PseudoFile.h"
#include "platform/ToolRunner.h"

namespace platform {

std::unique_ptr<NetworkServices> NetworkServices::create(ToolRunner &runner)
{
    return std::make_unique<NmcliNetworkServices>(runner, QStringLiteral("/proc"));
}

NmcliNetworkServices::NmcliNetworkServices(ToolRunner &runner, QString procRoot)
    : m_runner(runner)
    , m_procRoot(std::move(procRoot))
{
}

QCoro::Task<NetworkServices::ActiveService> NmcliNetworkServices::activeService()
{
    ToolRequest request;
    request.program = QStringLiteral("nmcli");
    request.arguments = {
        QStringLiteral("-t"),         QStringLiteral("-f"),   QStringLiteral("UUID,TYPE,DEVICE"),
        QStringLiteral("connection"), QStringLiteral("show"), QStringLiteral("--active")};
    request.timeout = std::chrono::seconds(5);
    const ToolResult result = co_await m_runner.run(std::move(request));
    ActiveService service;
    // Only what nmcli printed counts: it lists the active connections and may still end with a
    // non-zero status (a warning, a device that vanished meanwhile).
    service.target = NmcliConnections::firstWiredOrWireless(result.outputBytes());
    if (service.target.isEmpty()) {
        const std::optional<QByteArray> routes = PseudoFile::read(m_procRoot + u"/net/route");
        service.target = routes ? ProcNetRoute::defaultInterface(*routes) : QString();
    }
    if (service.target.isEmpty()) {
        service.fetchError =
            result.outcome == ToolResult::Outcome::FailedToStart
                ? QStringLiteral("nmcli could not be started and there is no default route")
                : QStringLiteral("no active connection and no default route");
    }
    co_return service;
}

} // namespace platform
