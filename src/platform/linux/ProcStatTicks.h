#pragma once

#include "PseudoFileReader.h"
#include "platform/ProcessorTicks.h"
#include "platform/SystemRoots.h"

#include <QByteArrayView>

namespace platform {

/// Processor counters from the "cpuN" lines of /proc/stat, read below the given roots. The file
/// stays open between samples.
///
/// The kernel counts guest time inside user and nice time, and splits what other systems call
/// system time into system, irq and softirq; idle time waiting for input and output is idle.
class ProcStatTicks final : public ProcessorTicks {
public:
    explicit ProcStatTicks(SystemRoots roots);

    [[nodiscard]] QList<Counters> sample() override;

    /// The counters of every well-formed "cpuN" line, ordered by processor number. The total
    /// "cpu" line, lines of other kinds and lines whose first four counters are not numbers are
    /// skipped; counters a line lacks count as zero.
    [[nodiscard]] static QList<Counters> parse(QByteArrayView stat);

private:
    PseudoFileReader m_stat;
};

} // namespace platform
