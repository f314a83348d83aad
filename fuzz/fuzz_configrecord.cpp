#include "FuzzCheck.h"
#include "core/ConfigInfo.h"

#include <cmath>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::optional<ConfigInfo> config = ConfigInfo::decode(fuzzBytes(data, size));
    // A record that reads back is written again as the same record.
    if (config) {
        FUZZ_CHECK(std::isfinite(config->installDate));
        FUZZ_CHECK(ConfigInfo::decode(config->encode()) == config);
    }
    return 0;
}
