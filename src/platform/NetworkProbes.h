#pragma once

#include <QByteArray>
#include <QCoro/QCoroTask>
#include <QString>

#include <memory>
#include <optional>

namespace platform {

class ToolRunner;

/// The tools behind the network monitor's identity and latency probes. Each call runs on the
/// thread it is made from (which needs an event loop) and completes there; calls may come from
/// several threads at once.
class NetworkProbes {
public:
    virtual ~NetworkProbes() = default;

    /// One echo round trip to a public resolver: the tool's whole output, or nothing when it
    /// could not be started.
    virtual QCoro::Task<std::optional<QByteArray>> pingOnce() = 0;

    /// The Wi-Fi network's name as it is shown: the SSID, "Connected" when the link
    /// reports an empty (or switched-off) name, "WiFi" when there is no link line or the tool
    /// cannot run. Nothing when the tool's output cannot be read as text.
    virtual QCoro::Task<std::optional<QString>> wifiName(QString interfaceName) = 0;

    /// The Wi-Fi standard ("802.11ax", …) of the current link, or nothing when unknown.
    virtual QCoro::Task<std::optional<QString>> wifiStandard(QString interfaceName) = 0;

    /// The probes of this system, running their tools through the given runner.
    [[nodiscard]] static std::unique_ptr<NetworkProbes> create(ToolRunner &runner);
    /// The same with a tool runner of its own.
    [[nodiscard]] static std::unique_ptr<NetworkProbes> create();

protected:
    NetworkProbes() = default;
    NetworkProbes(const NetworkProbes &) = default;
    NetworkProbes &operator=(const NetworkProbes &) = default;
};

} // namespace platform
