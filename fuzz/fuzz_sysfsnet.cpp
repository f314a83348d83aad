#include "FuzzCheck.h"
#include "FuzzFiles.h"
#include "platform/linux/LinuxConnectionPath.h"

using platform::LinuxConnectionPath;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    // The interface's uevent, type, flags and operstate, then the name the route table gave.
    const QList<QByteArray> pieces = fuzzPieces(fuzzBytes(data, size), 5);
    const QString folder = u"class/net/eth0/"_s;
    fuzzWrite(folder + u"uevent", pieces.at(0));
    fuzzWrite(folder + u"type", pieces.at(1));
    fuzzWrite(folder + u"flags", pieces.at(2));
    fuzzWrite(folder + u"operstate", pieces.at(3));
    const QString name = QString::fromUtf8(pieces.at(4));
    (void)LinuxConnectionPath::classify(fuzzFolder(), u"eth0"_s);
    (void)LinuxConnectionPath::classify(fuzzFolder(), name);
    (void)LinuxConnectionPath::isUpAndRunning(fuzzFolder(), u"eth0"_s);
    // A name that is not one folder's never reaches outside the interfaces' folder.
    if (name.contains(u'/') || name.isEmpty()) {
        FUZZ_CHECK(!LinuxConnectionPath::isUpAndRunning(fuzzFolder(), name));
        FUZZ_CHECK(LinuxConnectionPath::classify(fuzzFolder(), name) ==
                   platform::PathStatus::Medium::Other);
    }
    return 0;
}
