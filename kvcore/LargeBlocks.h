#pragma once

#include <cstddef>

namespace kv {

/// The size of a large block in bytes.
inline constexpr std::size_t largeBlockSize = 256 * 1024;

/// A block of memory of that size, for what grows by chains of blocks. A page that the system hands out for the first
/// time costs more than filling it, so up to 16 MiB of freed blocks are handed out again. Any thread may free what
/// another one took.
/// @return null where there is no memory.
void* TakeLargeBlock() noexcept;
/// Gives a block back, which may be null.
void GiveLargeBlock(void* block) noexcept;
/// Returns the recycled blocks to the heap. For the module's unloading, when no other thread runs its code.
void FreeLargeBlocks() noexcept;

}  // namespace kv
