#include "SystemMonitor.h"

#include <QPointer>
#include <QRandomGenerator>

namespace {

void appendTrimmed(QList<double> &history, double value)
{
    history.append(value);
    if (history.size() > SystemMonitor::maxHistory) {
        history.removeFirst();
    }
}

} // namespace

SystemMonitor::SystemMonitor(QObject *parent)
    : SystemMonitor(platform::Clock::system(), platform::MemoryCounters::create(), nullptr,
                    platform::AccessoryBatteries::create(), parent)
{
    m_runner = platform::ToolRunner::create();
    m_ping = platform::Ping::create(*m_runner);
}

SystemMonitor::SystemMonitor(platform::Clock &clock,
                             std::unique_ptr<platform::MemoryCounters> memory,
                             std::unique_ptr<platform::Ping> ping,
                             std::unique_ptr<platform::AccessoryBatteries> batteries,
                             QObject *parent)
    : QObject(parent)
    , m_clock(clock)
    , m_memory(std::move(memory))
    , m_ping(std::move(ping))
    , m_batteries(std::move(batteries))
    , m_pingSampler(new PingSampler([this] { return m_ping->echoOnce(pingHost); }, this))
{
    connect(m_pingSampler, &PingSampler::measured, this, [this](double milliseconds) {
        m_pingLatency = milliseconds;
        Q_EMIT pingLatencyChanged();
    });
}

SystemMonitor::~SystemMonitor() = default;

const platform::Timer *SystemMonitor::monitorTimer() const
{
    return m_streams.empty() ? nullptr : m_streams.back()->timer.get();
}

void SystemMonitor::startMonitoring()
{
    fetchRAMStats();
    auto stream = std::make_unique<SamplingStream>();
    stream->timer = m_clock.createTimer();
    stream->pingStream = m_pingSampler->addStream();
    SamplingStream &added = *stream;
    connect(added.timer.get(), &platform::Timer::timeout, this, [this, &added] { tick(added); });
    added.timer->start(sampleInterval);
    // The earlier timers stay alive and keep firing; only the newest is "the" timer.
    m_streams.push_back(std::move(stream));
}

void SystemMonitor::tick(SamplingStream &stream)
{
    fetchRAMStats();
    fetchPing(stream);
}

RAMStats SystemMonitor::statsFrom(const platform::MemoryCounters::Sample &sample)
{
    RAMStats stats;
    stats.total = double(sample.totalBytes) * bytesToGiB;
    stats.active = double(sample.activeBytes) * bytesToGiB;
    stats.wired = double(sample.wiredBytes) * bytesToGiB;
    stats.compressed = double(sample.compressedBytes) * bytesToGiB;
    stats.used = stats.active + stats.wired + stats.compressed;
    stats.available = stats.total - stats.used;
    // A sample that could not be read has no total: it reads as nothing in use.
    stats.percent = stats.total > 0 ? stats.used / stats.total * 100 : 0;
    return stats;
}

double SystemMonitor::syntheticProcessorLoad(quint64 randomBits)
{
    // The top 53 bits fill a double's mantissa exactly; dividing by their largest value rather
    // than by 2^53 lets the draw reach 60 itself.
    constexpr quint64 largest = (quint64(1) << 53) - 1;
    return 20.0 + 40.0 * (double(randomBits >> 11) / double(largest));
}

void SystemMonitor::fetchRAMStats()
{
    m_ramStats = statsFrom(m_memory->sample());
    Q_EMIT ramStatsChanged();
    appendTrimmed(m_ramHistory, m_ramStats.percent);
    Q_EMIT ramHistoryChanged();
    appendTrimmed(m_cpuHistory, syntheticProcessorLoad(QRandomGenerator::system()->generate64()));
    Q_EMIT cpuHistoryChanged();
}

void SystemMonitor::fetchPing(const SamplingStream &stream)
{
    m_pingSampler->probe(stream.pingStream);
}

void SystemMonitor::getPeripheralBatteries()
{
    fetchBatteries();
}

QCoro::Task<> SystemMonitor::fetchBatteries()
{
    const QPointer<SystemMonitor> self(this);
    QList<PeripheralBattery> batteries = co_await m_batteries->read();
    if (!self) {
        co_return;
    }
    m_peripheralBatteries = std::move(batteries);
    Q_EMIT peripheralBatteriesChanged();
}

QVariant SystemMonitor::pingLatencyValue() const
{
    return m_pingLatency ? QVariant(*m_pingLatency) : QVariant();
}
