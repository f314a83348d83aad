#include "FuzzCheck.h"
#include "core/AppSettings.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::optional<AppSettings> settings = AppSettings::decode(fuzzBytes(data, size));
    // A record that reads back is written again as the same record.
    if (settings) {
        FUZZ_CHECK(AppSettings::decode(settings->encode()) == settings);
    }
    return 0;
}
