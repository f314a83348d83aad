#pragma once

#include <QList>
#include <QtGlobal>

#include <memory>

namespace platform {

/// Each processor's time counters, cumulative since boot, in the kernel's ticks.
class ProcessorTicks {
public:
    struct Counters {
        quint64 user = 0;
        quint64 system = 0;
        quint64 idle = 0;
        quint64 nice = 0;

        friend bool operator==(const Counters &, const Counters &) = default;
    };

    virtual ~ProcessorTicks() = default;

    /// One entry per online processor, in processor order; empty when the counters cannot be
    /// read.
    [[nodiscard]] virtual QList<Counters> sample() = 0;

    /// The counters of this machine.
    static std::unique_ptr<ProcessorTicks> create();

protected:
    ProcessorTicks() = default;
    ProcessorTicks(const ProcessorTicks &) = default;
    ProcessorTicks &operator=(const ProcessorTicks &) = default;
};

} // namespace platform
