#include "platform/HeapPolicy.h"

#include <malloc.h>

namespace platform {

void HeapPolicy::returnLargeBlocksPromptly()
{
    // Setting the threshold explicitly also turns off glibc's raising of it.
    mallopt(M_MMAP_THRESHOLD, largeBlockBytes);
}

} // namespace platform
