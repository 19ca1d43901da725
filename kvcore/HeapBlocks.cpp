// The block pool of native builds: every block is the heap's own, so that the sanitizers see each use after free.
#include <cstdlib>

#include "kvcore/BlockPool.h"

namespace kv {

void* TakeBlock(std::size_t size) noexcept {
    return std::malloc(size);
}

void GiveBlock(void* block, std::size_t) noexcept {
    std::free(block);
}

}  // namespace kv
