#pragma once

#include <cstddef>

namespace kv {

/// A block of memory for a small object; recently freed blocks are handed out again first, which costs a fraction of
/// the heap. Blocks above 256 bytes come from the heap. Any thread may free what another one took.
/// @return null where there is no memory.
void* TakeBlock(std::size_t size) noexcept;
/// Gives a block back. @param size the size that it was taken with; @param block may be null.
void GiveBlock(void* block, std::size_t size) noexcept;
/// Returns all recycled blocks to the heap; afterwards nothing is recycled any more. For the module's unloading, when
/// no other thread runs its code.
void CloseBlockPool() noexcept;

}  // namespace kv
