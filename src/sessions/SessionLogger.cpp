#include "SessionLogger.h"

#include <algorithm>

SessionLogger::SessionLogger(QObject *parent)
    : SessionLogger(platform::Clock::system(), platform::ProcessorTicks::create(),
                    platform::MemoryCounters::create(), parent)
{
}

SessionLogger::SessionLogger(platform::Clock &clock,
                             std::unique_ptr<platform::ProcessorTicks> processors,
                             std::unique_ptr<platform::MemoryCounters> memory, QObject *parent)
    : QObject(parent)
    , m_clock(clock)
    , m_processors(std::move(processors))
    , m_memory(std::move(memory))
{
}

SessionLogger::~SessionLogger() = default;

void SessionLogger::start()
{
    setActive(true);
    m_records.clear();
    Q_EMIT recordsChanged();
    m_startTime = m_clock.now();
    Q_EMIT startTimeChanged();

    if (m_loggingTimer) {
        m_replacedTimers.push_back(std::move(m_loggingTimer));
    }
    m_loggingTimer = m_clock.createTimer();
    // The timer belongs to the logger and dies with it, so the callback never outlives it.
    connect(m_loggingTimer.get(), &platform::Timer::timeout, this, &SessionLogger::logSample);
    m_loggingTimer->start(sampleInterval);
}

void SessionLogger::stop()
{
    if (m_loggingTimer) {
        m_loggingTimer->stop();
        m_loggingTimer.reset();
    }
    setActive(false);
}

void SessionLogger::logSample()
{
    SessionRecord record;
    record.id = QUuid::createUuid();
    record.time = m_clock.now();
    record.cpu = cpuUsage(m_processors ? m_processors->sample()
                                       : QList<platform::ProcessorTicks::Counters>());
    record.ramPercent =
        ramUsage(m_memory ? m_memory->sample() : platform::MemoryCounters::Sample());
    m_records.append(record);
    Q_EMIT recordsChanged();
}

void SessionLogger::setActive(bool active)
{
    if (m_isActive != active) {
        m_isActive = active;
        Q_EMIT isActiveChanged();
    }
}

double SessionLogger::cpuUsage(const QList<platform::ProcessorTicks::Counters> &cpus)
{
    if (cpus.isEmpty()) {
        return 0;
    }
    double sum = 0;
    for (const platform::ProcessorTicks::Counters &cpu : cpus) {
        const double busy = double(cpu.user) + double(cpu.system) + double(cpu.nice);
        const double total = busy + double(cpu.idle);
        if (total > 0) {
            sum += busy / total * 100;
        }
    }
    return std::clamp(sum / double(cpus.size()), 0.0, 100.0);
}

double SessionLogger::ramUsage(const platform::MemoryCounters::Sample &memory)
{
    if (memory.totalBytes == 0) {
        return 0;
    }
    const double used =
        double(memory.activeBytes) + double(memory.wiredBytes) + double(memory.compressedBytes);
    return std::clamp(used / double(memory.totalBytes) * 100, 0.0, 100.0);
}
