#include "FuzzCheck.h"
#include "cleaner/ApplicationFinder.h"
#include "platform/SteamLibrary.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray text = fuzzBytes(data, size);
    for (const QString &folder : platform::SteamLibrary::parseLibraryFolders(text)) {
        FUZZ_CHECK(!folder.isEmpty());
    }
    // A manifest's name, and a window class's app id, which becomes part of a file name.
    (void)platform::SteamLibrary::valveValue(text, "name");
    const QString appId = platform::SteamLibrary::appIdOfWindowClass(QString::fromUtf8(text));
    for (const QChar c : appId) {
        FUZZ_CHECK(c >= u'0' && c <= u'9');
    }
    (void)ApplicationFinder::desktopEntryName(text);
    return 0;
}
