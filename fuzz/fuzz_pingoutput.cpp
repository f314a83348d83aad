#include "FuzzCheck.h"
#include "telemetry/PingOutput.h"

#include <cmath>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::optional<double> time = PingOutput::firstRoundTripTime(fuzzBytes(data, size));
    // A round-trip time is made of digits and dots: never negative, never NaN.
    if (time) {
        FUZZ_CHECK(!std::isnan(*time) && *time >= 0);
    }
    return 0;
}
