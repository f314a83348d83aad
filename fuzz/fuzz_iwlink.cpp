#include "FuzzCheck.h"
#include "platform/linux/LinuxNetworkProbes.h"

using platform::LinuxNetworkProbes;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray output = fuzzBytes(data, size);
    // A name is always shown: the SSID, "Connected" or "WiFi".
    FUZZ_CHECK(!LinuxNetworkProbes::nameFromIwLink(output).isEmpty());
    const std::optional<QString> standard = LinuxNetworkProbes::standardFromIwLink(output);
    if (standard) {
        static const QStringList known = {u"802.11be"_s, u"802.11ax"_s, u"802.11ac"_s,
                                          u"802.11n"_s};
        FUZZ_CHECK(known.contains(*standard));
    }
    return 0;
}
