#include "WaylandOutputCheck.h"
#include "platform/linux/WlrRandrQuery.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    checkWaylandOutput(platform::WlrRandrQuery::mainOutput(fuzzBytes(data, size)));
    return 0;
}
