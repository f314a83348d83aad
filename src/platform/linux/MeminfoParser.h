#pragma once

#include "platform/MemoryCounters.h"

#include <QByteArrayView>

namespace platform {

/// Reads the kernel's memory report (/proc/meminfo) and the zram device statistics (mm_stat)
/// into the figures the monitors use.
class MeminfoParser {
public:
    /// The figures in the text of /proc/meminfo, plus the memory that zram devices occupy. A
    /// field the kernel does not report counts as zero, so text without a single known field
    /// gives the all-zero sample.
    [[nodiscard]] static MemoryCounters::Sample parse(QByteArrayView meminfo,
                                                      quint64 zramBytes = 0);

    /// The memory one zram device occupies, compressed data and allocator overhead together
    /// (mm_stat's third column, in bytes); zero when the text does not have it.
    [[nodiscard]] static quint64 zramUsedBytes(QByteArrayView mmStat);
};

} // namespace platform
