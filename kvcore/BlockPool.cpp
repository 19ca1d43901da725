#include "kvcore/BlockPool.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "kvcore/Platform.h"

namespace kv {
namespace {

#ifdef NDEBUG
constexpr bool recycles = true;
#else
constexpr bool recycles = false;  // every block is the heap's own, so that its checks see each use after free
#endif

constexpr std::size_t granularity = 16;
constexpr std::size_t sizeClasses = 32;
constexpr std::size_t shards = 16;

/// How many blocks of a size a shard keeps: at most 8 KiB.
constexpr std::uint32_t ListLimit(std::size_t size) noexcept {
    return static_cast<std::uint32_t>(std::min<std::size_t>(64, 8 * 1024 / size));
}

struct FreeBlock {
    FreeBlock* next;
    std::uint32_t length;  // of the list that begins here
};

/// A list of free blocks that one thread at a time takes as a whole: whoever finds it taken goes to the heap instead
/// of waiting. Threads are spread over shards, so that this is rare.
class FreeList {
 public:
    void* Pop() noexcept {
        FreeBlock* head = top_.exchange(Taken(), std::memory_order_acquire);
        if (head == Taken()) return nullptr;
        top_.store(head ? head->next : nullptr, std::memory_order_release);
        return head;
    }
    bool Push(void* memory, std::uint32_t listLimit) noexcept {
        FreeBlock* head = top_.exchange(Taken(), std::memory_order_acquire);
        if (head == Taken()) return false;
        const std::uint32_t length = head ? head->length : 0;
        if (length < listLimit) {
            auto* block = static_cast<FreeBlock*>(memory);
            *block = {head, length + 1};
            head = block;
        }
        top_.store(head, std::memory_order_release);
        return length < listLimit;
    }
    /// Frees the list and leaves it taken for good.
    void Close() noexcept {
        FreeBlock* block = top_.exchange(Taken(), std::memory_order_acquire);
        while (block && block != Taken()) std::free(std::exchange(block, block->next));
    }

 private:
    FreeBlock* Taken() noexcept { return reinterpret_cast<FreeBlock*>(this); }  // an address that no block has

    std::atomic<FreeBlock*> top_{nullptr};
};

struct alignas(64) Shard {
    std::array<FreeList, sizeClasses> lists;
};

constinit std::array<Shard, shards> pool;

FreeList& ListFor(std::size_t size) noexcept {
    return pool[(GetCurrentThreadId() >> 2) % shards].lists[(size - 1) / granularity];
}

constexpr bool IsPooled(std::size_t size) noexcept {
    return recycles && size - 1 < granularity * sizeClasses;
}

}  // namespace

void* TakeBlock(std::size_t size) noexcept {
    if (!IsPooled(size)) return std::malloc(size);
    if (void* block = ListFor(size).Pop()) return block;
    return std::malloc((size + granularity - 1) / granularity * granularity);
}

void GiveBlock(void* block, std::size_t size) noexcept {
    if (!block || !IsPooled(size) || !ListFor(size).Push(block, ListLimit(size))) std::free(block);
}

void CloseBlockPool() noexcept {
    for (auto& shard : pool)
        for (auto& list : shard.lists) list.Close();
}

}  // namespace kv
