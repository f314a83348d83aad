#pragma once

#include "platform/MemoryCounters.h"

/// Memory figures the test sets; counts how often they were read.
class FakeMemoryCounters final : public platform::MemoryCounters {
public:
    Sample next;
    int reads = 0;
    /// Added to next.totalBytes and next.activeBytes after every read, so samples differ.
    quint64 stepBytes = 0;

    Sample sample() override
    {
        ++reads;
        const Sample current = next;
        next.totalBytes += stepBytes;
        next.activeBytes += stepBytes;
        return current;
    }
};
