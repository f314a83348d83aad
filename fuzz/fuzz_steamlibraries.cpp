#include "FuzzCheck.h"
#include "cleaner/ApplicationFinder.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray text = fuzzBytes(data, size);
    for (const QString &folder : ApplicationFinder::parseLibraryFolders(text)) {
        FUZZ_CHECK(!folder.isEmpty());
    }
    (void)ApplicationFinder::desktopEntryName(text);
    return 0;
}
