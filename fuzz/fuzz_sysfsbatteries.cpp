#include "FuzzCheck.h"
#include "FuzzFiles.h"
#include "platform/linux/SysfsBatteries.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    // One accessory's attributes: scope, model_name, capacity, capacity_level.
    const QList<QByteArray> pieces = fuzzPieces(fuzzBytes(data, size), 4);
    const QString folder = u"class/power_supply/hid-battery/"_s;
    fuzzWrite(folder + u"scope", pieces.at(0));
    fuzzWrite(folder + u"model_name", pieces.at(1));
    fuzzWrite(folder + u"capacity", pieces.at(2));
    fuzzWrite(folder + u"capacity_level", pieces.at(3));
    const QList<platform::PeripheralBattery> batteries =
        platform::SysfsBatteries(fuzzFolder()).read();
    FUZZ_CHECK(batteries.size() <= 1);
    for (const platform::PeripheralBattery &battery : batteries) {
        // A percentage, or -1 for a level the device does not give in figures.
        FUZZ_CHECK(battery.battery >= -1 && battery.battery <= 100);
        FUZZ_CHECK(!battery.name.isEmpty());
    }
    return 0;
}
