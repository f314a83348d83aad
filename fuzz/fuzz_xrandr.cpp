#include "FuzzCheck.h"
#include "platform/linux/XrandrQuery.h"

using platform::XrandrQuery;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::optional<XrandrQuery::Output> output =
        XrandrQuery::mainOutput(fuzzBytes(data, size));
    // The main display is a named output showing a mode of real size.
    if (output) {
        FUZZ_CHECK(!output->name.isEmpty());
        FUZZ_CHECK(output->size.width() > 0 && output->size.height() > 0);
    }
    return 0;
}
