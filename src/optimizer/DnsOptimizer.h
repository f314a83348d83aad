#pragma once

#include "OptimizerCompletion.h"
#include "OptimizerPublisher.h"
#include "platform/LatencyProbe.h"
#include "platform/NetworkServices.h"
#include "platform/PrivilegedRunner.h"

#include <QCoro/QCoroTask>
#include <QHash>
#include <QObject>
#include <QString>
#include <QStringList>

#include <optional>

/// The DNS side of the optimizer: switching the active connection to a public provider and
/// back to its network's own servers, flushing the cache, and tuning the network by measuring
/// each provider and picking the fastest.
class DnsOptimizer : public QObject {
    Q_OBJECT

public:
    static inline const QString baselineHost = QStringLiteral("1.1.1.1");
    static inline const QString fallbackService = QStringLiteral("Wi-Fi");
    /// Why DNS cannot change while no connection was found.
    static inline const QString noConnectionText = QStringLiteral("No network connection found");

    /// The public resolvers, primary first.
    static const QHash<QString, QStringList> providers;
    /// The same providers' IPv6 resolvers, set beside the others so that a dual-stack
    /// connection does not keep asking its network's own servers over IPv6.
    static const QHash<QString, QStringList> ipv6Providers;

    /// The parts must outlive the optimizer.
    DnsOptimizer(platform::PrivilegedRunner &privileged, platform::NetworkServices &networkServices,
                 platform::LatencyProbe &latency, OptimizerPublisher &publisher,
                 QObject *parent = nullptr);

    QCoro::Task<> setDNS(QString providerName, OptimizerCompletion completion);
    QCoro::Task<> flushDNS(OptimizerCompletion completion);
    /// Gives the active connection back the DNS servers its network hands out, undoing setDNS.
    QCoro::Task<> restoreAutomaticDNS(OptimizerCompletion completion);
    /// Returns at once; the benchmark starts on the next turn of the event loop.
    QCoro::Task<> autoTuneNetwork(OptimizerCompletion completion);

private:
    QCoro::Task<> runAutoTuneNetwork(OptimizerCompletion completion);
    /// Switches the active connection to the provider; with thenFlush the cache is flushed in
    /// the same start of the helper, once the switch has succeeded. The switch's outcome.
    QCoro::Task<platform::PrivilegedOutcome> applyProvider(QString providerName,
                                                           bool thenFlush = false);
    QCoro::Task<std::optional<double>> measureLatency(QString host);
    /// The connection to configure; nothing when none was found, where the placeholder
    /// fallbackService would stand for it (and must reach no system change).
    QCoro::Task<std::optional<QString>> getActiveNetworkInterface();

    platform::PrivilegedRunner &m_privileged;
    platform::NetworkServices &m_networkServices;
    platform::LatencyProbe &m_latency;
    OptimizerPublisher &m_publisher;
};
