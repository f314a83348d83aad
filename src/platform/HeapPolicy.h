#pragma once

namespace platform {

/// How the process's memory allocator treats the blocks this program allocates.
class HeapPolicy {
public:
    /// Large blocks (pictures: the layers, backdrops and charts, the largest a window's size) get
    /// pages of their own, handed back to the system as soon as they are freed. Left to itself the
    /// allocator raises that threshold after the first such block is freed, and the next pictures
    /// then come from the heaps of the threads that drew them, where freed pages stay resident.
    /// Call it first thing in main(), before any thread starts.
    static void returnLargeBlocksPromptly();

    /// The size from which a block gets pages of its own.
    static constexpr int largeBlockBytes = 128 * 1024;
};

} // namespace platform
