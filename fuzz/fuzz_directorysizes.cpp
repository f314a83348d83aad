#include "FuzzCheck.h"
#include "platform/linux/FreedesktopTrash.h"

using platform::FreedesktopTrash;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray contents = fuzzBytes(data, size);
    const QByteArray name = "A%20Folder";
    const QByteArray kept = FreedesktopTrash::keptDirectorySizes(contents, name);
    // Only whole lines of three fields are kept, none for the name that gets a new one, and the
    // cache never grows by being read.
    FUZZ_CHECK(kept.size() <= contents.size() + 1);
    FUZZ_CHECK(kept.size() <= FreedesktopTrash::maximumDirectorySizesBytes + 1);
    FUZZ_CHECK(kept.isEmpty() || kept.endsWith('\n'));
    for (const QByteArray &line : kept.split('\n')) {
        if (line.isEmpty()) {
            continue;
        }
        const QList<QByteArray> fields = line.split(' ');
        FUZZ_CHECK(fields.size() == 3 && fields.at(2) != name);
    }
    return 0;
}
