#include "FuzzCheck.h"
#include "platform/linux/ProcStatTicks.h"

using platform::ProcStatTicks;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray text = fuzzBytes(data, size);
    const QList<ProcStatTicks::Counters> cpus = ProcStatTicks::parse(text);
    // One processor per "cpuN" line at most.
    FUZZ_CHECK(cpus.size() <= text.count("cpu"));
    return 0;
}
