#include "FuzzCheck.h"
#include "platform/linux/NetlinkCounters.h"
#include "platform/linux/ProcNetRoute.h"

using platform::NetlinkCounters;
using platform::ProcNetRoute;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray table = fuzzBytes(data, size);
    // An interface named in the table is one whitespace-free word of it.
    for (const QString &name :
         {ProcNetRoute::defaultInterface(table), NetlinkCounters::defaultRouteFromIpv4Table(table),
          NetlinkCounters::defaultRouteFromIpv6Table(table)}) {
        FUZZ_CHECK(name.size() <= table.size());
        for (const QChar c : name) {
            FUZZ_CHECK(!c.isSpace());
        }
    }
    return 0;
}
