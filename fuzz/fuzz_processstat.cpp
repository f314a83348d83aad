#include "FuzzCheck.h"
#include "platform/linux/ProcessIdentity.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    (void)platform::ProcessIdentity::startTimeIn(fuzzBytes(data, size));
    return 0;
}
