#include "FuzzCheck.h"
#include "platform/macos/PmsetParser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString output = QString::fromUtf8(fuzzBytes(data, size));
    for (const platform::PeripheralBattery &battery :
         platform::PmsetParser::parseAccessories(output)) {
        FUZZ_CHECK(battery.battery >= 0 && battery.battery <= 100);
    }
    return 0;
}
