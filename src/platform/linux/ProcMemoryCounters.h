#pragma once

#include "platform/MemoryCounters.h"
#include "platform/SystemRoots.h"

namespace platform {

/// Memory figures from /proc/meminfo and the zram devices under /sys/block, read below the
/// given roots.
class ProcMemoryCounters final : public MemoryCounters {
public:
    explicit ProcMemoryCounters(SystemRoots roots);

    [[nodiscard]] Sample sample() override;

private:
    [[nodiscard]] quint64 zramBytes() const;

    SystemRoots m_roots;
};

} // namespace platform
