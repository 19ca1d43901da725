#pragma once

#include <atomic>
#include <cstddef>

namespace mova::test {

/// Blocks of memory that end before a page which nobody may touch, and whose pages nobody may touch any more once they
/// are freed: a write or read beyond a block, or after its end, stops the program where it happens. Addresses are not
/// used again.
class GuardedHeap {
 public:
    /// A block; null where there is no memory or no address left, or while so many blocks are alive that the system's
    /// table of mappings would be full.
    void* Take(std::size_t size);
    /// Whether a block is one of these.
    bool Owns(const void* block) const noexcept;
    std::size_t SizeOf(const void* block) const noexcept;
    /// Gives a block back. Stops the program where what lies between its end and the next page was written to.
    void Give(void* block);
    /// Uses addresses again from the first on, where no block is alive.
    void Restart() noexcept;

 private:
    std::byte* Space();

    std::atomic<std::byte*> space_ = nullptr;
    std::atomic<std::size_t> used_ = 0;
    std::atomic<std::size_t> alive_ = 0;
};

}  // namespace mova::test
