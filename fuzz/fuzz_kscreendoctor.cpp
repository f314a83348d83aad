#include "WaylandOutputCheck.h"
#include "platform/linux/KscreenDoctorQuery.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    checkWaylandOutput(platform::KscreenDoctorQuery::mainOutput(fuzzBytes(data, size)));
    return 0;
}
