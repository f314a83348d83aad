#include "FuzzCheck.h"
#include "platform/linux/ProcessRunningApplications.h"

using platform::ProcessRunningApplications;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString application = ProcessRunningApplications::unitApplication(fuzzBytes(data, size));
    // A desktop file id names a file in a folder: never a path of its own.
    for (const QString &id : ProcessRunningApplications::candidateIds(application)) {
        FUZZ_CHECK(!id.isEmpty());
        FUZZ_CHECK(!id.contains(u'/'));
    }
    return 0;
}
