#include "kvcore/LargeBlocks.h"

#include <array>
#include <atomic>
#include <cstdlib>

namespace kv {
namespace {

#ifdef NDEBUG
constexpr std::size_t kept = 64;
#else
constexpr std::size_t kept = 0;  // every block is the heap's own, so that its checks see each use after free
#endif

constinit std::array<std::atomic<void*>, kept> places{};

}  // namespace

void* TakeLargeBlock() noexcept {
    for (auto& place : places)
        if (place.load(std::memory_order_relaxed))
            if (void* block = place.exchange(nullptr, std::memory_order_acquire)) return block;
    return std::malloc(largeBlockSize);
}

void GiveLargeBlock(void* block) noexcept {
    if (!block) return;
    for (auto& place : places) {
        void* none = nullptr;
        if (!place.load(std::memory_order_relaxed) &&
            place.compare_exchange_strong(none, block, std::memory_order_release, std::memory_order_relaxed))
            return;
    }
    std::free(block);
}

void FreeLargeBlocks() noexcept {
    for (auto& place : places) std::free(place.exchange(nullptr, std::memory_order_acquire));
}

}  // namespace kv
