// The library's memory in the hands of the tests: what is alive, and calls for more that are refused.
#pragma once

namespace mova::test {

/// Stands, from then on, between the library and where its memory comes from: the C runtime's blocks and pages through
/// the library's import table; BSTRs, arrays and task memory, taken by whomever, through the platform's spy, their
/// cache off.
void WatchMemory();

/// Guards the blocks from then on, in place of those guarded before, where the environment has MOVA_GUARD_MEMORY
/// (GuardedHeap.h).
void GuardMemory();

/// How many blocks could not be guarded since, when they were to be.
long UnguardedBlocks();

/// How many watched blocks are alive, counted from when watching began: the library's own, and those of the platform's
/// memory, of which the platform keeps some for itself where threads and proxies come and go.
long LiveBlocks();
long LiveBlocksOfPlatform();

/// While one lives, this thread is granted so many blocks of memory, is refused the next one, and then granted all.
/// (Where memory has run out for good, the runtime cannot throw its first exception.)
class MemoryShortage {
 public:
    explicit MemoryShortage(long granted);
    ~MemoryShortage();
    MemoryShortage(const MemoryShortage&) = delete;
    MemoryShortage& operator=(const MemoryShortage&) = delete;

    /// Whether a block has been refused since.
    bool WasFelt() const;
};

}  // namespace mova::test
