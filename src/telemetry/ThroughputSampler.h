#pragma once

#include "platform/NetworkCounters.h"

#include <QDateTime>
#include <QList>
#include <QString>

#include <memory>
#include <optional>
#include <utility>

/// The counter side of the network monitor: reads the chosen interface's byte totals, keeps the
/// baseline of the previous sample and turns two readings into rates.
class ThroughputSampler {
public:
    /// One second's rates, in bytes per second, with the differences they come from.
    struct Rates {
        double down = 0;
        double up = 0;
        quint64 receivedDiff = 0;
        quint64 sentDiff = 0;
    };
    /// What a sample found.
    struct Sample {
        enum class Kind {
            NoTime,      ///< no time has passed since the baseline: nothing happened
            NewBaseline, ///< the counted interface changed: its totals became the baseline
            Measured,    ///< rates since the baseline
        };
        Kind kind = Kind::NoTime;
        Rates rates;
    };

    ThroughputSampler(std::unique_ptr<platform::NetworkCounters> counters, QDateTime created);

    /// The totals of the primary interface (or the fallback's sum).
    std::pair<quint64, quint64> read();
    /// Reads the counters and keeps them, with the time, as the baseline of the next sample.
    void takeBaseline(const QDateTime &now);
    /// Reads the counters and gives the rates since the baseline, which moves to now. When the
    /// counted interface is another than the baseline's (a VPN coming up, a cable pulled), the
    /// difference of two interfaces' totals is no traffic: the new totals become the baseline.
    Sample sample(const QDateTime &now);

    [[nodiscard]] QString primaryInterface() const { return m_primaryInterface; }
    void setPrimaryInterface(const QString &name) { m_primaryInterface = name; }
    [[nodiscard]] int sampleCount() const { return m_sampleCount; }
    [[nodiscard]] QList<platform::InterfaceBytes> debugInterfaceData() const
    {
        return m_debugInterfaceData;
    }
    [[nodiscard]] std::pair<quint64, quint64> lastBytes() const
    {
        return {m_lastBytesReceived, m_lastBytesSent};
    }

    /// The default route's interface when its counters are non-zero; else the first of
    /// "en0"…"en5" with traffic; else the largest total (the earliest on ties).
    [[nodiscard]] static std::optional<platform::InterfaceBytes>
    findPrimaryInterface(const QList<platform::InterfaceBytes> &interfaces,
                         const QString &defaultRouteInterface = {});
    /// (sum of the last min(samples, n) history values + current) / (k + 1); current alone for
    /// an empty history.
    [[nodiscard]] static double applyMovingAverage(double current, const QList<double> &history,
                                                   int samples);

private:
    std::pair<quint64, quint64> fallback();

    /// Which totals read() gave: an interface's name, the fallback's sum of all of them, or
    /// nothing at all.
    QString m_readSource;
    QString m_baselineSource;

    std::unique_ptr<platform::NetworkCounters> m_counters;
    quint64 m_lastBytesReceived = 0;
    quint64 m_lastBytesSent = 0;
    QDateTime m_lastCheckTime;
    QList<platform::InterfaceBytes> m_debugInterfaceData;
    QString m_primaryInterface = QStringLiteral("en0");
    int m_sampleCount = 0;
};
