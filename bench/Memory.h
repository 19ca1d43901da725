// How much memory the process has.
#pragma once

#include <cstddef>
#include <functional>

namespace bench {

/// What all blocks in use on the process's heaps take, the heaps' own bookkeeping included.
std::size_t HeapBytes();

/// By how much a piece of work raises what the process has in memory at the most, temporarily or not.
/// @param work takes at least a few MiB: the system counts in pages.
std::size_t PeakGrowth(const std::function<void()>& work);

}  // namespace bench
