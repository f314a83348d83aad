#pragma once

#include "PseudoFileReader.h"
#include "platform/MemoryCounters.h"
#include "platform/SystemRoots.h"

#include <QString>

#include <dirent.h>
#include <map>
#include <memory>

namespace platform {

/// Memory figures from /proc/meminfo and the zram devices under /sys/block, read below the
/// given roots. The files and the device folder stay open between samples: a sample is then
/// little more than the kernel writing the figures.
class ProcMemoryCounters final : public MemoryCounters {
public:
    explicit ProcMemoryCounters(SystemRoots roots);
    ~ProcMemoryCounters() override;
    ProcMemoryCounters(const ProcMemoryCounters &) = delete;
    ProcMemoryCounters &operator=(const ProcMemoryCounters &) = delete;

    [[nodiscard]] Sample sample() override;

private:
    [[nodiscard]] quint64 zramBytes();

    SystemRoots m_roots;
    PseudoFileReader m_meminfo;
    DIR *m_block = nullptr;
    // Each zram device's mm_stat, by device name; devices that went away are dropped.
    std::map<QString, std::unique_ptr<PseudoFileReader>> m_zram;
};

} // namespace platform
