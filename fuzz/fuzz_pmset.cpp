#include "FuzzCheck.h"
#include "platform/macos/PmsetParser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString output = QString::fromUtf8(fuzzBytes(data, size));
    for (const platform::PeripheralBattery &battery :
         platform::PmsetParser::parseAccessories(output)) {
        // The level is the line's own integer, out of range or not; the name is never empty.
        FUZZ_CHECK(!battery.name.isEmpty());
    }
    return 0;
}
