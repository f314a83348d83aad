#include "FuzzCheck.h"
#include "platform/linux/DesktopEntryIndex.h"

using platform::DesktopEntryIndex;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::optional<DesktopEntryIndex::Entry> entry =
        DesktopEntryIndex::parse(fuzzBytes(data, size), u"org.example.Game"_s);
    if (entry) {
        FUZZ_CHECK(entry->id == u"org.example.Game");
    }
    return 0;
}
