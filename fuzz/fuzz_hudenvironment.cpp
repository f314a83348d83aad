#include "FuzzCheck.h"
#include "platform/linux/EnvironmentdHud.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray content = fuzzBytes(data, size);
    const std::optional<QString> value = platform::EnvironmentdHud::valueIn(content);
    if (value) {
        FUZZ_CHECK(content.contains("MANGOHUD="));
        FUZZ_CHECK(!value->contains(u'\n'));
    }
    return 0;
}
