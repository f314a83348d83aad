#pragma once

#include "platform/ProcessorTicks.h"

/// Processor counters the test sets; counts how often they were read.
class FakeProcessorTicks final : public platform::ProcessorTicks {
public:
    QList<Counters> next;
    int reads = 0;

    QList<Counters> sample() override
    {
        ++reads;
        return next;
    }
};
