#include "FuzzCheck.h"
#include "platform/linux/XdgUserDirs.h"

using platform::XdgUserDirs;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString home = u"/home/player"_s;
    const QHash<QString, QString> dirs = XdgUserDirs::parse(fuzzBytes(data, size), home);
    // Every folder is absolute, under the home folder or written as an absolute path.
    for (auto it = dirs.cbegin(); it != dirs.cend(); ++it) {
        FUZZ_CHECK(it.key().startsWith(u"XDG_") && it.key().endsWith(u"_DIR"));
        FUZZ_CHECK(it.value().startsWith(u'/'));
    }
    return 0;
}
