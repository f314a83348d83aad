#include "FuzzCheck.h"
#include "platform/linux/NetlinkCounters.h"

using platform::NetlinkCounters;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    // The kernel's reply is a buffer of messages; the copy lets the sanitizer see its end.
    const QByteArray buffer = fuzzBytes(data, size);
    const NetlinkCounters::DumpChunk chunk =
        NetlinkCounters::parseLinkDump(std::span<const char>(buffer.constData(), buffer.size()));
    FUZZ_CHECK(chunk.error >= 0);
    FUZZ_CHECK(chunk.interfaces.size() <= buffer.size() / 16);
    (void)NetlinkCounters::parseLinkDump(std::span<const char>(buffer.constData(), buffer.size()),
                                         1);
    return 0;
}
