// A list of recycled memory that never makes a thread wait.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <utility>

namespace kv {

#ifdef NDEBUG
inline constexpr bool recyclesMemory = true;
#else
inline constexpr bool recyclesMemory = false;  // every block is the heap's own: its checks see each use after free
#endif

/// A list of free blocks that one thread at a time takes as a whole: whoever finds it taken goes to the heap instead
/// of waiting. All blocks of a list have one size, and come from std::malloc.
class FreeList {
 public:
    /// @return null where the list is empty or taken
    void* Pop() noexcept {
        Block* head = top_.exchange(Taken(), std::memory_order_acquire);
        if (head == Taken()) return nullptr;
        top_.store(head ? head->next : nullptr, std::memory_order_release);
        return head;
    }
    /// @param most how many blocks the list keeps. @return false where the block stays the caller's
    bool Push(void* memory, std::uint32_t most) noexcept {
        Block* head = top_.exchange(Taken(), std::memory_order_acquire);
        if (head == Taken()) return false;
        const std::uint32_t length = head ? head->length : 0;
        if (length < most) {
            auto* block = static_cast<Block*>(memory);
            *block = {head, length + 1};
            head = block;
        }
        top_.store(head, std::memory_order_release);
        return length < most;
    }
    /// Frees the list and leaves it taken for good.
    void Close() noexcept {
        Block* block = top_.exchange(Taken(), std::memory_order_acquire);
        while (block && block != Taken()) std::free(std::exchange(block, block->next));
    }

 private:
    struct Block {
        Block* next;
        std::uint32_t length;  // of the list that begins here
    };

    Block* Taken() noexcept { return reinterpret_cast<Block*>(this); }  // an address that no block has

    std::atomic<Block*> top_{nullptr};
};

}  // namespace kv
