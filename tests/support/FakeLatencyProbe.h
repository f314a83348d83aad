#pragma once

#include "platform/LatencyProbe.h"

#include <QHash>
#include <QStringList>

/// Ping summaries per host; a host without one gets the output of a ping that heard nothing.
class FakeLatencyProbe final : public platform::LatencyProbe {
public:
    QHash<QString, QByteArray> outputs;
    QStringList hosts;

    /// A summary line with this average, in iputils' format.
    static QByteArray summary(double averageMs)
    {
        return QByteArrayLiteral("3 packets transmitted, 3 received, 0% packet loss\n"
                                 "rtt min/avg/max/mdev = 1.000/") +
               QByteArray::number(averageMs, 'f', 3) + QByteArrayLiteral("/90.000/0.500 ms\n");
    }

    QCoro::Task<std::optional<QByteArray>> measure(QString host) override
    {
        hosts.append(host);
        co_return std::optional<QByteArray>(
            outputs.value(host, QByteArrayLiteral("3 packets transmitted, 0 received\n")));
    }
};
