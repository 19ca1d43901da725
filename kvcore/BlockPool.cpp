#include "kvcore/BlockPool.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>

#include "kvcore/FreeList.h"
#include "kvcore/Platform.h"

namespace kv {
namespace {

constexpr std::size_t granularity = 16;
constexpr std::size_t sizeClasses = 32;
constexpr std::size_t shards = 16;

/// How many blocks of a size a shard keeps: at most 8 KiB.
constexpr std::uint32_t ListLimit(std::size_t size) noexcept {
    return static_cast<std::uint32_t>(std::min<std::size_t>(64, 8 * 1024 / size));
}

/// Threads are spread over shards, so that one rarely finds a list taken.
struct alignas(64) Shard {
    std::array<FreeList, sizeClasses> lists;
};

constinit std::array<Shard, shards> pool;

FreeList& ListFor(std::size_t size) noexcept {
    return pool[(GetCurrentThreadId() >> 2) % shards].lists[(size - 1) / granularity];
}

constexpr bool IsPooled(std::size_t size) noexcept {
    return recyclesMemory && size - 1 < granularity * sizeClasses;
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
