#pragma once

#include "GPUStats.h"
#include "PingSampler.h"
#include "RAMStats.h"
#include "platform/AccessoryBatteries.h"
#include "platform/Clock.h"
#include "platform/MemoryCounters.h"
#include "platform/PeripheralBattery.h"
#include "platform/Ping.h"
#include "platform/ToolRunner.h"

#include <QCoro/QCoroTask>
#include <QList>
#include <QObject>
#include <QVariant>

#include <memory>
#include <optional>
#include <vector>

/// The dashboard's telemetry: a memory sample every second with its history, a processor-load
/// series, the round-trip time to the internet, and the batteries of connected accessories.
///
/// The processor series is deliberately synthetic (a random load from 20 to 60 percent each
/// second; real processor load is measured only while a session is recorded), and the graphics
/// record is fixed. Every published property changes on the main thread.
class SystemMonitor : public QObject {
    Q_OBJECT

    /// The latest memory sample; all zero before the first.
    Q_PROPERTY(RAMStats ramStats READ ramStats NOTIFY ramStatsChanged)
    /// Fixed for the whole run.
    Q_PROPERTY(GPUStats gpuStats READ gpuStats CONSTANT)
    /// Milliseconds to the internet, or undefined until the first answer.
    Q_PROPERTY(QVariant pingLatency READ pingLatencyValue NOTIFY pingLatencyChanged)
    Q_PROPERTY(QList<platform::PeripheralBattery> peripheralBatteries READ peripheralBatteries
                   NOTIFY peripheralBatteriesChanged)
    /// Percentages, oldest first, at most maxHistory of each.
    Q_PROPERTY(QList<double> cpuHistory READ cpuHistory NOTIFY cpuHistoryChanged)
    Q_PROPERTY(QList<double> ramHistory READ ramHistory NOTIFY ramHistoryChanged)

public:
    using PeripheralBattery = platform::PeripheralBattery;

    static constexpr int maxHistory = 30;
    static constexpr double bytesToGiB = 9.313225746154785e-10;
    static constexpr std::chrono::milliseconds sampleInterval{1000};
    /// The anycast resolver whose round-trip time stands for "the internet".
    static inline const QString pingHost = QStringLiteral("1.1.1.1");

    /// The real machine and the system clock.
    explicit SystemMonitor(QObject *parent = nullptr);
    /// For tests: the given clock and sources.
    SystemMonitor(platform::Clock &clock, std::unique_ptr<platform::MemoryCounters> memory,
                  std::unique_ptr<platform::Ping> ping,
                  std::unique_ptr<platform::AccessoryBatteries> batteries,
                  QObject *parent = nullptr);
    ~SystemMonitor() override;

    [[nodiscard]] RAMStats ramStats() const { return m_ramStats; }
    [[nodiscard]] GPUStats gpuStats() const { return m_gpuStats; }
    [[nodiscard]] std::optional<double> pingLatency() const { return m_pingLatency; }
    [[nodiscard]] QList<PeripheralBattery> peripheralBatteries() const
    {
        return m_peripheralBatteries;
    }
    [[nodiscard]] QList<double> cpuHistory() const { return m_cpuHistory; }
    [[nodiscard]] QList<double> ramHistory() const { return m_ramHistory; }

    /// Samples memory at once, then every second. Calling it again adds another sampling timer
    /// beside the first, which keeps running: samples then arrive twice a second.
    Q_INVOKABLE void startMonitoring();

    /// Asks the system for the accessories' batteries in the background and publishes the list
    /// when it arrives, replacing the previous one.
    Q_INVOKABLE void getPeripheralBatteries();

    /// The newest sampling timer, null before startMonitoring().
    [[nodiscard]] const platform::Timer *monitorTimer() const;

    /// The memory sample the counters give, in the monitor's units.
    [[nodiscard]] static RAMStats statsFrom(const platform::MemoryCounters::Sample &sample);
    /// The processor series' value for 64 random bits: uniform over 20.0 … 60.0 with both ends
    /// included (no bits set give 20.0, all bits set 60.0).
    [[nodiscard]] static double syntheticProcessorLoad(quint64 randomBits);

Q_SIGNALS:
    void ramStatsChanged();
    void pingLatencyChanged();
    void peripheralBatteriesChanged();
    void cpuHistoryChanged();
    void ramHistoryChanged();

private:
    // One timer started by startMonitoring(), with its own ping stream so that a slow answer
    // never piles up probes behind it.
    struct SamplingStream {
        std::unique_ptr<platform::Timer> timer;
        int pingStream = 0;
    };

    void tick(SamplingStream &stream);
    void fetchRAMStats();
    void fetchPing(const SamplingStream &stream);
    QCoro::Task<> fetchBatteries();
    [[nodiscard]] QVariant pingLatencyValue() const;

    platform::Clock &m_clock;
    std::unique_ptr<platform::ToolRunner> m_runner;
    std::unique_ptr<platform::MemoryCounters> m_memory;
    std::unique_ptr<platform::Ping> m_ping;
    std::unique_ptr<platform::AccessoryBatteries> m_batteries;
    PingSampler *m_pingSampler; ///< a child
    std::vector<std::unique_ptr<SamplingStream>> m_streams;

    RAMStats m_ramStats;
    GPUStats m_gpuStats{QStringLiteral("Apple Silicon"), 0};
    std::optional<double> m_pingLatency;
    QList<PeripheralBattery> m_peripheralBatteries;
    QList<double> m_cpuHistory;
    QList<double> m_ramHistory;
};
