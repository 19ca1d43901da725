#pragma once

#include <cstddef>
#include <new>

namespace kv {

/// A block of memory for a small object; recently freed blocks are handed out again first, which costs a fraction of
/// the heap. Blocks above 512 bytes come from the heap. Any thread may free what another one took.
/// @return null where there is no memory.
void* TakeBlock(std::size_t size) noexcept;
/// Gives a block back. @param size the size that it was taken with; @param block may be null.
void GiveBlock(void* block, std::size_t size) noexcept;
/// Returns all recycled blocks to the heap; afterwards nothing is recycled any more. For the module's unloading, when
/// no other thread runs its code.
void CloseBlockPool() noexcept;

/// Lets a container of the standard library take its memory from the recycled blocks while it is small.
template <class T>
struct BlockAllocator {
    using value_type = T;

    BlockAllocator() noexcept = default;
    template <class Other>
    BlockAllocator(const BlockAllocator<Other>&) noexcept {}

    T* allocate(std::size_t count) {
        void* block = count <= static_cast<std::size_t>(-1) / sizeof(T) ? TakeBlock(count * sizeof(T)) : nullptr;
        if (!block) throw std::bad_alloc();
        return static_cast<T*>(block);
    }
    void deallocate(T* block, std::size_t count) noexcept { GiveBlock(block, count * sizeof(T)); }

    friend bool operator==(const BlockAllocator&, const BlockAllocator&) noexcept = default;
};

}  // namespace kv
