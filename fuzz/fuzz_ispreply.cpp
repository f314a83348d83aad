#include "FuzzCheck.h"
#include "telemetry/NetworkMonitor.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::optional<NetworkMonitor::IspRecord> record =
        NetworkMonitor::parseIspRecord(fuzzBytes(data, size));
    // The ISP is one word of "org".
    if (record) {
        FUZZ_CHECK(!record->ispName.contains(u' '));
    }
    return 0;
}
