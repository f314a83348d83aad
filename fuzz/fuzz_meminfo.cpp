#include "FuzzCheck.h"
#include "platform/linux/MeminfoParser.h"

using platform::MeminfoParser;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray text = fuzzBytes(data, size);
    const platform::MemoryCounters::Sample sample = MeminfoParser::parse(text);
    // Huge figures saturate rather than wrap around: memory is never less than any of its
    // parts, and the zram bytes given are always counted in full.
    const platform::MemoryCounters::Sample withZram = MeminfoParser::parse(text, 4096);
    FUZZ_CHECK(withZram.compressedBytes >= 4096);
    FUZZ_CHECK(withZram.compressedBytes >= sample.compressedBytes);
    FUZZ_CHECK(withZram.totalBytes == sample.totalBytes);
    (void)MeminfoParser::zramUsedBytes(text);
    return 0;
}
