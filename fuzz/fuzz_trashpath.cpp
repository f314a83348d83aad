#include "FuzzCheck.h"
#include "platform/linux/FreedesktopTrash.h"

using platform::FreedesktopTrash;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray path = fuzzBytes(data, size);
    const QByteArray encoded = FreedesktopTrash::encodePath(path);
    // The "Path=" value is one line of plain ASCII that decodes to the very bytes of the path.
    for (const char c : encoded) {
        FUZZ_CHECK(c > ' ' && c < 0x7f && c != '=' && c != '\\');
    }
    FUZZ_CHECK(QByteArray::fromPercentEncoding(encoded) == path);
    FUZZ_CHECK(encoded.size() <= 3 * path.size());
    return 0;
}
