#pragma once

#include <QtGlobal>

#include <memory>

namespace platform {

/// The machine's memory figures, in bytes. "Wired" is memory the kernel cannot page out or
/// reclaim; "compressed" is what compressed swap in memory occupies.
class MemoryCounters {
public:
    struct Sample {
        quint64 totalBytes = 0;
        quint64 activeBytes = 0;
        quint64 wiredBytes = 0;
        quint64 compressedBytes = 0;
        quint64 freeBytes = 0;
        quint64 inactiveBytes = 0;

        friend bool operator==(const Sample &, const Sample &) = default;
    };

    virtual ~MemoryCounters() = default;

    /// Reads the current figures; a source that cannot be read gives the all-zero sample.
    [[nodiscard]] virtual Sample sample() = 0;

    /// The counters of this machine.
    static std::unique_ptr<MemoryCounters> create();

protected:
    MemoryCounters() = default;
    MemoryCounters(const MemoryCounters &) = default;
    MemoryCounters &operator=(const MemoryCounters &) = default;
};

} // namespace platform
