#include "kvcore/Arena.h"

#include <algorithm>
#include <cstdlib>
#include <new>

#include "kvcore/Pages.h"

namespace kv {
namespace {

/// The first block of an arena; each further one is eight times as large, up to the size that is recycled.
constexpr std::size_t firstBlock = 512;

}  // namespace

Arena* Arena::Make() {
    return new Arena;
}

void Arena::ReleaseReference() noexcept {
    if (references_.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    while (block_) {
        Block* const freed = std::exchange(block_, block_->previous);
        if (freed->size == pageSize) {
            GivePage(freed);
        } else {
            std::free(freed);
        }
    }
    while (own_) std::free(std::exchange(own_, own_->previous));
    delete this;
}

void* Arena::TakeFromNewBlock(std::size_t size) {
    static_assert(sizeof(Block) % alignment == 0);
    if (size > SIZE_MAX / 2) throw std::bad_alloc();
    if (size > pageSize / 4) {
        auto* const own = static_cast<Block*>(std::malloc(sizeof(Block) + size));
        if (!own) throw std::bad_alloc();
        *own = {own_, size};
        own_ = own;
        return own + 1;
    }
    std::size_t blockSize = block_ ? block_->size * 8 : firstBlock;
    while (blockSize < sizeof(Block) + size + alignment) blockSize *= 8;
    blockSize = std::min(blockSize, pageSize);
    void* const memory = blockSize == pageSize ? TakePage() : std::malloc(blockSize);
    if (!memory) throw std::bad_alloc();
    block_ = ::new (memory) Block{block_, blockSize};
    next_ = reinterpret_cast<std::byte*>(block_ + 1);
    end_ = static_cast<std::byte*>(memory) + blockSize;
    return Take(size);
}

}  // namespace kv
