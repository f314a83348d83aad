#pragma once

#include "SessionRecord.h"
#include "platform/Clock.h"
#include "platform/MemoryCounters.h"
#include "platform/ProcessorTicks.h"

#include <QList>
#include <QObject>

#include <chrono>
#include <memory>
#include <vector>

/// Records a gaming session: while active, one sample of processor and memory load a second,
/// all kept in memory until the next start. The first sample comes one second after start().
class SessionLogger : public QObject {
    Q_OBJECT

    /// The samples of the current or last session, oldest first.
    Q_PROPERTY(QList<SessionRecord> records READ records NOTIFY recordsChanged)
    Q_PROPERTY(int recordCount READ recordCount NOTIFY recordsChanged)
    Q_PROPERTY(bool isActive READ isActive NOTIFY isActiveChanged)
    /// When start() was last called; invalid before the first start.
    Q_PROPERTY(QDateTime startTime READ startTime NOTIFY startTimeChanged)

public:
    static constexpr std::chrono::milliseconds sampleInterval{1000};

    /// This machine's counters and the system clock.
    explicit SessionLogger(QObject *parent = nullptr);
    /// For tests: the given clock and counters.
    SessionLogger(platform::Clock &clock, std::unique_ptr<platform::ProcessorTicks> processors,
                  std::unique_ptr<platform::MemoryCounters> memory, QObject *parent = nullptr);
    ~SessionLogger() override;

    [[nodiscard]] const QList<SessionRecord> &records() const { return m_records; }
    [[nodiscard]] int recordCount() const { return int(m_records.size()); }
    [[nodiscard]] bool isActive() const { return m_isActive; }
    [[nodiscard]] QDateTime startTime() const { return m_startTime; }
    /// The sampling timer while recording, null otherwise.
    [[nodiscard]] const platform::Timer *loggingTimer() const { return m_loggingTimer.get(); }
    /// The clock the samples are stamped with.
    [[nodiscard]] platform::Clock &clock() const { return m_clock; }

    /// Begins a session: clears the records, notes the start time and samples every second.
    /// A timer still running from a session nobody stopped is replaced but keeps sampling, so
    /// such a session then gains two samples a second.
    Q_INVOKABLE void start();
    /// Ends the session: stops and drops the sampling timer and clears isActive. The records
    /// and the start time stay until the next start().
    Q_INVOKABLE void stop();

    /// The processor load as the mean over processors of (user + system + nice) ÷ total ticks,
    /// in percent 0…100: since the counters are cumulative, the average since boot. Processors
    /// that counted no ticks add 0; no processors give 0.
    [[nodiscard]] static double cpuUsage(const QList<platform::ProcessorTicks::Counters> &cpus);
    /// Active, wired and compressed memory as a percentage 0…100 of the total; 0 without a total.
    [[nodiscard]] static double ramUsage(const platform::MemoryCounters::Sample &memory);

Q_SIGNALS:
    void recordsChanged();
    void isActiveChanged();
    void startTimeChanged();

private:
    void logSample();
    void setActive(bool active);

    platform::Clock &m_clock;
    std::unique_ptr<platform::ProcessorTicks> m_processors;
    std::unique_ptr<platform::MemoryCounters> m_memory;
    QList<SessionRecord> m_records;
    bool m_isActive = false;
    QDateTime m_startTime;
    std::unique_ptr<platform::Timer> m_loggingTimer;
    // Timers replaced by a start() without a stop() in between: nobody can stop them any more,
    // and they keep sampling into the records for as long as the logger lives.
    std::vector<std::unique_ptr<platform::Timer>> m_replacedTimers;
};
