#include "FuzzCheck.h"
#include "optimizer/PingSummary.h"

#include <cmath>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::optional<double> average = PingSummary::averageMilliseconds(fuzzBytes(data, size));
    // The average is digits and dots in the summary line: never negative, never NaN.
    if (average) {
        FUZZ_CHECK(!std::isnan(*average) && *average >= 0);
    }
    return 0;
}
